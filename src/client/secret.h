#pragma once

#include <open62541/client.h>

#include <string>

namespace nimb {

/// A text that is wiped before its memory is freed. Make it from the value that a function
/// returns, so that no other copy comes about: `const Secret password{item.AsAString()};`
struct Secret {
    std::string text;
    ~Secret();
};

/// Bytes of the stack's making that are wiped before they are freed.
class OwnedSecretBytes {
  public:
    OwnedSecretBytes() = default;
    OwnedSecretBytes(const OwnedSecretBytes&) = delete;
    OwnedSecretBytes& operator=(const OwnedSecretBytes&) = delete;
    ~OwnedSecretBytes();

    UA_ByteString* get() { return &bytes_; }
    const UA_ByteString& operator*() const { return bytes_; }

  private:
    UA_ByteString bytes_{};
};

/// Makes the client log in with a user name and password from its next session on.
/// @throws std::bad_alloc  the log-in is then the one before
void setUserToken(UA_ClientConfig& config, const char* user, const char* password);

/// Wipes the password that the configuration holds; to be called before it is freed or replaced.
void wipePassword(UA_ClientConfig& config);

}  // namespace nimb
