#pragma once

#include <open62541/server.h>

#include <functional>
#include <map>
#include <string>

namespace nimb::plant {

/// Notices subscriptions that come, change their nodes and go. The stack calls nobody then, so its
/// diagnostics are compared from time to time; one that lives shorter than that goes unnoticed.
class SubscriptionWatch {
  public:
    explicit SubscriptionWatch(std::function<void(const std::string&)> say)
        : say_(std::move(say)) {}

    void look(UA_Server* server) noexcept;

  private:
    std::function<void(const std::string&)> say_;
    std::map<UA_UInt32, UA_UInt32> nodes_;  ///< monitored nodes by subscription
};

}  // namespace nimb::plant
