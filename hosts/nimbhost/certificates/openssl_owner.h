#pragma once

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string_view>

namespace nimb::nimbhost {

/// Owns a libcrypto object; `Free` is the function that releases it.
template <typename T, void (*Free)(T*)>
struct Releaser {
    void operator()(T* object) const noexcept { Free(object); }
};
template <typename T, void (*Free)(T*)>
using Owned = std::unique_ptr<T, Releaser<T, Free>>;

using OwnedX509 = Owned<X509, X509_free>;
using OwnedKey = Owned<EVP_PKEY, EVP_PKEY_free>;
using OwnedCrl = Owned<X509_CRL, X509_CRL_free>;
using OwnedBio = Owned<BIO, BIO_free_all>;

/// A reader over bytes that must outlive it.
inline OwnedBio reader(std::string_view bytes) {
    return OwnedBio(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
}

}  // namespace nimb::nimbhost
