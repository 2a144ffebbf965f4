#include "client/stack_call.h"

#include "client/clock.h"
#include "client/guarded_transport.h"

namespace nimb {

namespace {

using Use = GuardedTransport::Use;

GuardedTransport* begin(UA_Client* client, Use use, UA_UInt32 timeout,
                        StackCall::Clock::time_point now = timeOfLastTick()) {
    GuardedTransport* transport = GuardedTransport::of(client);
    if (transport != nullptr) {
        transport->begin(use, timeout, now);
    }
    return transport;
}

UA_UInt32 timeoutOf(UA_Client* client) {
    const UA_ClientConfig* config = client == nullptr ? nullptr : UA_Client_getConfig(client);
    return config == nullptr ? 0 : config->timeout;
}

}  // namespace

StackCall StackCall::request(UA_Client* client) {
    return StackCall(begin(client, Use::request, timeoutOf(client)));
}

StackCall StackCall::drive(UA_Client* client, UA_UInt32 timeout, Clock::time_point now) {
    return StackCall(begin(client, Use::drive, timeout, now));
}

StackCall StackCall::goodBye(UA_Client* client) {
    return StackCall(begin(client, Use::goodBye, timeoutOf(client)));
}

std::uint64_t StackCall::sentMessages() const {
    return transport_ == nullptr ? 0 : transport_->sentMessages();
}

StackCall::~StackCall() {
    if (transport_ != nullptr) {
        transport_->end();
    }
}

}  // namespace nimb
