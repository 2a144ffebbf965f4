#pragma once

#include <open62541/client_subscriptions.h>

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "convert/owned.h"

namespace nimb::test {

[[nodiscard]] OwnedVariant textValue(std::string_view text);
/// A value that has no form that hosts know.
[[nodiscard]] OwnedVariant guidValue();

/// Plays the server and the stack at once: what the subscription services answer, when changes and
/// deletions are reported, and what no decent server would say. In a program that links this file,
/// its functions stand before the stack's of the same names; one object at a time is behind them.
class FakeStack {
  public:
    FakeStack();
    ~FakeStack();
    FakeStack(const FakeStack&) = delete;
    FakeStack& operator=(const FakeStack&) = delete;

    /// @name What the next calls answer
    /// @{
    std::uint32_t subscriptionId = 7;
    /// One for each item; while empty, every item is accepted with the ids 101, 102, ...
    std::vector<UA_MonitoredItemCreateResult> itemResults;
    bool answersItems = true;  ///< false: the response is empty
    double revisedInterval = 500;
    UA_StatusCode iterateResult = UA_STATUSCODE_GOOD;
    UA_StatusCode deleteResult = UA_STATUSCODE_GOOD;
    /// @}

    /// @name What happens within the next calls, before they return
    /// @{
    std::function<void()> duringItems;
    std::function<void()> duringDelete;
    std::function<void()> duringIterate;
    /// @}

    /// @name What the server reports, released afterwards as the stack does it
    /// @{
    void change(std::uint32_t item, OwnedVariant value, UA_DateTime sourceTime,
                UA_DateTime serverTime = 1);
    /// A text at a time of its own.
    void change(std::uint32_t item, std::string_view text);
    void statusChange(UA_StatusCode status);
    void deleted();
    void itemDeleted(std::uint32_t item);
    void silent();
    /// The oldest question whether a subscription lives is answered.
    void answer(UA_StatusCode status);
    /// @}

    int deleteRequests = 0;
    int iterations = 0;
    int reconnects = 0;
    std::vector<UA_RepublishRequest> questions;  ///< not yet answered

  private:
    friend struct FakeStackCalls;
    void* context_ = nullptr;
    UA_Client* client_ = nullptr;
    UA_Client_StatusChangeNotificationCallback statusChanged_ = nullptr;
    UA_Client_DeleteSubscriptionCallback subscriptionDeleted_ = nullptr;
    UA_Client_DataChangeNotificationCallback dataChanged_ = nullptr;
    UA_Client_DeleteMonitoredItemCallback itemDeleted_ = nullptr;
    UA_ClientAsyncServiceCallback answered_ = nullptr;
    std::uint32_t lastQuestion_ = 0;
    UA_DateTime clock_ = 0;
};

}  // namespace nimb::test
