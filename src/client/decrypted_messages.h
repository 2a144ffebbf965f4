#pragma once

#include <open62541/client.h>

#include "client/response_type.h"

namespace nimb {

/// Looks at the messages of one encrypted channel once they are in clear: their bodies cannot be
/// seen on the wire, and the server, though known, may be hostile.
class DecryptedMessages {
  public:
    /// Lets the configuration's security policies show every chunk whose signature they found good
    /// to the messages that are read in this thread.
    static UA_StatusCode watch(UA_ClientConfig& config);

    /// Begins to show chunks to these messages; null ends it.
    static void setReader(DecryptedMessages* reader);

    /// @param chunk  from its header to its padding, without the signature
    /// @return false when the stack must not see it; one log line says what was refused
    [[nodiscard]] bool accept(const UA_ByteString& chunk);

  private:
    [[nodiscard]] const char* refusal(std::span<const unsigned char> chunk);

    ResponseType type_;
};

}  // namespace nimb
