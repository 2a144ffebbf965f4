#include "demo_server/client_trust.h"

#include <open62541/plugin/pki_default.h>

#include <cstdio>
#include <exception>
#include <new>
#include <vector>

#include "demo_server/stack_values.h"
#include "demo_server/stderr_logger.h"

namespace nimb::plant {

namespace {

std::vector<UA_ByteString> borrowedAll(const std::vector<std::string>& items) {
    std::vector<UA_ByteString> all;
    for (const std::string& item : items) all.push_back(borrowed(item));
    return all;
}

void clear(UA_CertificateVerification& verification) noexcept {
    if (verification.clear != nullptr) verification.clear(&verification);
}

UA_StatusCode fill(UA_CertificateVerification& verification,
                   const std::vector<std::string>& trusted,
                   const std::vector<std::string>& revoked) {
    const auto trustList = borrowedAll(trusted);
    const auto revocationList = borrowedAll(revoked);
    verification.logging = silentLogger();
    return UA_CertificateVerification_Trustlist(&verification, trustList.data(), trustList.size(),
                                                nullptr, 0, revocationList.data(),
                                                revocationList.size());
}

/// The path as one word for a shell.
std::string quoted(const std::filesystem::path& path) {
    std::string text = "'";
    for (const char letter : path.string()) {
        if (letter == '\'') text += "'\\'";
        text += letter;
    }
    return text + "'";
}

ClientTrust& self(const UA_CertificateVerification* verification) noexcept {
    return *static_cast<ClientTrust*>(verification->context);
}

}  // namespace

ClientTrust::ClientTrust(const CertificateFolder& folder, Say say)
    : folder_(folder), say_(std::move(say)) {
    if (fill(stack_, {}, {}) != UA_STATUSCODE_GOOD) throw std::bad_alloc();
}

ClientTrust::~ClientTrust() { clear(stack_); }

UA_CertificateVerification ClientTrust::verification() noexcept {
    UA_CertificateVerification result = stack_;
    result.context = this;
    result.verifyCertificate = onVerify;
    result.verifyApplicationURI = onVerifyUri;
    result.clear = [](UA_CertificateVerification*) {};
    return result;
}

UA_StatusCode ClientTrust::onVerify(const UA_CertificateVerification* verification,
                                    const UA_ByteString* certificate) noexcept {
    try {
        return self(verification).verify(*certificate);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "nimb-demo-server: a client is refused: %s\n", error.what());
        return UA_STATUSCODE_BADINTERNALERROR;
    }
}

UA_StatusCode ClientTrust::onVerifyUri(const UA_CertificateVerification* verification,
                                       const UA_ByteString* certificate,
                                       const UA_String* uri) noexcept {
    const UA_CertificateVerification& stack = self(verification).stack_;
    return stack.verifyApplicationURI(&stack, certificate, uri);
}

UA_StatusCode ClientTrust::verify(const UA_ByteString& certificate) {
    const UA_StatusCode status = judge(certificate);
    if (status != UA_STATUSCODE_GOOD) {
        tellRefusal({reinterpret_cast<const char*>(certificate.data), certificate.length}, status);
    }
    return status;
}

UA_StatusCode ClientTrust::judge(const UA_ByteString& certificate) const {
    const std::vector<std::string> trusted = folder_.trusted();
    // Later versions of the stack take an empty list for "anybody".
    if (trusted.empty()) return UA_STATUSCODE_BADCERTIFICATEUNTRUSTED;
    UA_CertificateVerification lists{};
    UA_StatusCode status = fill(lists, trusted, folder_.revoked());
    if (status == UA_STATUSCODE_GOOD) status = lists.verifyCertificate(&lists, &certificate);
    clear(lists);
    return status;
}

void ClientTrust::tellRefusal(const std::string& certificate, UA_StatusCode status) {
    const std::filesystem::path file = folder_.reject(certificate);
    say_("refused a client: " + subjectOf(certificate) + " (" + UA_StatusCode_name(status) + ")");
    say_("  fingerprint " + fingerprint(certificate));
    if (!file.empty() && status == UA_STATUSCODE_BADCERTIFICATEUNTRUSTED) {
        say_("  to trust it: mv " + quoted(file) + " " + quoted(folder_.trustedFolder()));
    }
}

}  // namespace nimb::plant
