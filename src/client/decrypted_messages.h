#pragma once

#include <open62541/client.h>

#include "client/response_type.h"

namespace nimb {

/// Looks at the messages of one encrypted channel once they are in clear: their bodies cannot be
/// seen on the wire, and the server, though known, may be hostile.
class DecryptedMessages {
  public:
    DecryptedMessages() = default;
    DecryptedMessages(const DecryptedMessages&) = delete;
    DecryptedMessages& operator=(const DecryptedMessages&) = delete;
    /// Ends the reading that is going on.
    ~DecryptedMessages();

    /// Lets the configuration's security policies show every chunk whose signature they found good
    /// to the messages that are read in this thread.
    static UA_StatusCode watch(UA_ClientConfig& config);

    /// While it lives, chunks that this thread decrypts are shown to these messages; without one
    /// none passes. To be made before the event loop runs: what the stack kept of the bytes that
    /// came last is decrypted without another event. Only one at a time in a thread.
    class Reading {
      public:
        /// @param messages  null on a channel in clear
        explicit Reading(DecryptedMessages* messages);
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;
        ~Reading();

      private:
        const bool reads_;
    };

    /// @param chunk  from its header to its padding, without the signature
    /// @return false when the stack must not see it; one log line says what was refused
    [[nodiscard]] bool accept(const UA_ByteString& chunk);

  private:
    [[nodiscard]] const char* refusal(std::span<const unsigned char> chunk);

    ResponseType type_;
};

}  // namespace nimb
