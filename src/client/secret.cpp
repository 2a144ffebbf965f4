#include "client/secret.h"

#include <string.h>  // NOLINT(modernize-deprecated-headers): explicit_bzero is POSIX

#include <memory>
#include <new>

#include "convert/owned.h"

namespace nimb {

namespace {

void wipe(UA_ByteString& bytes) {
    if (bytes.length != 0) {
        explicit_bzero(bytes.data, bytes.length);
    }
}

/// An empty text is not null; the stack tells exhausted memory by that alone.
UA_String copyOf(const char* text) {
    const UA_String copy = UA_String_fromChars(text);
    if (copy.data == nullptr) {
        throw std::bad_alloc();
    }
    return copy;
}

struct TokenDeleter {
    void operator()(UA_UserNameIdentityToken* token) const {
        UA_UserNameIdentityToken_delete(token);
    }
};

}  // namespace

Secret::~Secret() { explicit_bzero(text.data(), text.capacity()); }

OwnedSecretBytes::~OwnedSecretBytes() {
    wipe(bytes_);
    UA_ByteString_clear(&bytes_);
}

void setUserToken(UA_ClientConfig& config, const char* user, const char* password) {
    std::unique_ptr<UA_UserNameIdentityToken, TokenDeleter> token(UA_UserNameIdentityToken_new());
    if (token == nullptr) {
        throw std::bad_alloc();
    }
    token->userName = copyOf(user);
    token->password = copyOf(password);  // last, so that a failure leaves none to wipe
    wipePassword(config);
    UA_ExtensionObject_clear(&config.userIdentityToken);
    UA_ExtensionObject_setValue(&config.userIdentityToken, token.release(),
                                &UA_TYPES[UA_TYPES_USERNAMEIDENTITYTOKEN]);
}

void wipePassword(UA_ClientConfig& config) {
    const UA_ExtensionObject& token = config.userIdentityToken;
    if (token.encoding == UA_EXTENSIONOBJECT_DECODED &&
        token.content.decoded.type == &UA_TYPES[UA_TYPES_USERNAMEIDENTITYTOKEN]) {
        wipe(static_cast<UA_UserNameIdentityToken*>(token.content.decoded.data)->password);
    }
}

}  // namespace nimb
