#include "nimbhost/certificates/private_key.h"

#include <openssl/err.h>
#include <openssl/pem.h>

namespace nimb::nimbhost {

namespace {

int refusePassword(char* /*buffer*/, int /*size*/, int /*writing*/, void* asked) {
    *static_cast<bool*>(asked) = true;
    return -1;
}

}  // namespace

PrivateKey::PrivateKey(std::string_view bytes) {
    bool asked = false;
    key_.reset(PEM_read_bio_PrivateKey(reader(bytes).get(), nullptr, refusePassword, &asked));
    if (!key_ && !asked) {
        const auto* der = reinterpret_cast<const unsigned char*>(bytes.data());
        key_.reset(d2i_AutoPrivateKey(nullptr, &der, static_cast<long>(bytes.size())));
    }
    if (!key_) fault_ = asked ? Fault::password : Fault::noKey;
    ERR_clear_error();
}

bool PrivateKey::belongsTo(const Certificate& certificate) const {
    const bool matches = key_ && X509_check_private_key(certificate.get(), key_.get()) == 1;
    ERR_clear_error();
    return matches;
}

bool PrivateKey::isRsa() const { return key_ && EVP_PKEY_get_base_id(key_.get()) == EVP_PKEY_RSA; }

}  // namespace nimb::nimbhost
