#include "client/decrypted_messages.h"

#include <algorithm>
#include <array>
#include <utility>

#include "errors/log_file.h"

namespace nimb {

namespace {

using Verify = UA_StatusCode (*)(void* channel, const UA_ByteString* chunk,
                                 const UA_ByteString* signature);

/// More than the policies of open62541 1.4.11, each of which has a function of its own.
constexpr std::size_t kMostPolicies = 16;

/// The functions that the stack's policies came with, filled from the front and never changed; the
/// same for all clients of the process.
std::array<Verify, kMostPolicies> verifiers{};

/// The messages that the stack reads just now. The policies' functions know the channel's keys, but
/// neither client nor connection.
thread_local DecryptedMessages* reader = nullptr;

template <std::size_t Policy>
UA_StatusCode verifyAndShow(void* channel, const UA_ByteString* chunk,
                            const UA_ByteString* signature) noexcept {
    const UA_StatusCode status = verifiers[Policy](channel, chunk, signature);
    if (status != UA_STATUSCODE_GOOD || (reader != nullptr && reader->accept(*chunk))) {
        return status;
    }
    return UA_STATUSCODE_BADSECURITYCHECKSFAILED;
}

template <std::size_t... Policy>
constexpr std::array<Verify, sizeof...(Policy)> makeWatching(std::index_sequence<Policy...>) {
    return {verifyAndShow<Policy>...};
}
constexpr auto watching = makeWatching(std::make_index_sequence<kMostPolicies>());

}  // namespace

UA_StatusCode DecryptedMessages::watch(UA_ClientConfig& config) {
    for (std::size_t i = 0; i < config.securityPoliciesSize; ++i) {
        UA_SecurityPolicy& policy = config.securityPolicies[i];
        Verify& verify = policy.symmetricModule.cryptoModule.signatureAlgorithm.verify;
        if (UA_String_equal(&policy.policyUri, &UA_SECURITY_POLICY_NONE_URI)) {
            continue;
        }
        auto slot = std::find(verifiers.begin(), verifiers.end(), verify);
        if (slot == verifiers.end()) {
            slot = std::find(verifiers.begin(), verifiers.end(), nullptr);
        }
        if (slot == verifiers.end()) {
            return UA_STATUSCODE_BADINTERNALERROR;
        }
        *slot = verify;
        verify = watching[static_cast<std::size_t>(slot - verifiers.begin())];
    }
    return UA_STATUSCODE_GOOD;
}

/// Calls on a channel in clear leave the thread's own variable alone: it takes a call to find.
DecryptedMessages::Reading::Reading(DecryptedMessages* messages) : reads_(messages != nullptr) {
    if (reads_) {
        reader = messages;
    }
}

DecryptedMessages::Reading::~Reading() {
    if (reads_) {
        reader = nullptr;
    }
}

/// Within a round of the event loop, whose reading lives on.
DecryptedMessages::~DecryptedMessages() {
    if (reader == this) {
        reader = nullptr;
    }
}

bool DecryptedMessages::accept(const UA_ByteString& chunk) {
    const char* refused = refusal({chunk.data, chunk.length});
    if (refused != nullptr) {
        UAC_WriteLogFile("Connection closed, the server sent %s", refused);
    }
    return refused == nullptr;
}

/// Behind the body stands the padding, its last byte the number of the others.
const char* DecryptedMessages::refusal(std::span<const unsigned char> chunk) {
    constexpr std::size_t bodyAt = 24;
    constexpr std::size_t finalAt = 3;
    if (chunk.size() <= bodyAt || chunk.size() - bodyAt - 1 < chunk.back()) {
        return "a chunk smaller than its padding";
    }
    const std::size_t bodySize = chunk.size() - bodyAt - 1 - chunk.back();
    const unsigned char final = chunk[finalAt];
    if (final != 'A' && !type_.whole() && !type_.take(chunk.subspan(bodyAt, bodySize))) {
        return kTypeUndecodable;
    }
    const bool cutShort = final == 'F' && !type_.whole();
    if (final != 'C') {
        type_.reset();
    }
    return cutShort ? kTypeCutShort : nullptr;
}

}  // namespace nimb
