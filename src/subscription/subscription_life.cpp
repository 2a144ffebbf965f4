#include <open62541/client.h>

#include "client/clock.h"
#include "client/opcua_client.h"
#include "errors/log_file.h"
#include "subscription/stack_callbacks.h"
#include "subscription/subscription.h"

namespace nimb {

namespace {

/// How long an answer may take, in milliseconds: as long as publish requests have. A late answer
/// to a question given up would make open62541 1.4 close the channel.
constexpr UA_UInt32 kAnswerTime = 10 * 60 * 1000;

}  // namespace

double Subscription::silenceBound() const {
    return keepAliveTime_ + UA_Client_getConfig(client_->stackClient())->timeout;
}

void Subscription::silent() {
    suspected_ = true;
    UAC_WriteLogFile(
        "Subscription %u is silent: nothing from the server, not even a keep-alive, "
        "for more than %.0f ms; last change %ld ms ago",
        subscriptionId_, silenceBound(),
        static_cast<long>(milliseconds(CLOCK_MONOTONIC_COARSE) - milliseconds(lastChange_)));
}

/// By Republish of the message 0, which never exists: of all requests that name a subscription it
/// alone changes nothing, neither its settings nor what it is about to send, and every server that
/// has subscriptions has it. Alive, the server answers that there is no such message.
bool Subscription::askServer() {
    if (!suspected_ || asking_ || status_ == SERVER_DELETED ||
        milliseconds(CLOCK_MONOTONIC_COARSE) < askedAgainAt_) {
        return false;
    }
    UA_RepublishRequest question{};
    question.requestHeader.timeoutHint = kAnswerTime;
    question.subscriptionId = subscriptionId_;
    const UA_StatusCode sent = __UA_Client_AsyncService(
        client_->stackClient(), &question, &UA_TYPES[UA_TYPES_REPUBLISHREQUEST],
        UAC_SubscriptionAnswerCallback, &UA_TYPES[UA_TYPES_REPUBLISHRESPONSE], client_, &question_);
    asking_ = sent == UA_STATUSCODE_GOOD;
    return asking_;
}

bool Subscription::answered(UA_StatusCode answer) {
    asking_ = false;
    suspected_ = false;
    askedAgainAt_ =
        milliseconds(CLOCK_MONOTONIC_COARSE) + static_cast<std::int64_t>(silenceBound());
    if (answer != UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID &&
        answer != UA_STATUSCODE_BADNOSUBSCRIPTION) {
        return false;
    }
    UAC_WriteLogFile("Subscription %u is gone: the server does not know it", subscriptionId_);
    return serverDeleted();
}

}  // namespace nimb
