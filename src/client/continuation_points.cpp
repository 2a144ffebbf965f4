#include <algorithm>
#include <vector>

#include "client/opcua_client.h"

namespace nimb {

namespace {

/// Leaves the stack, for one more call, what an operation has not yet used of its timeout.
class RemainingTimeout {
  public:
    RemainingTimeout(UA_Client* client, std::chrono::steady_clock::duration spent)
        : timeout_(UA_Client_getConfig(client)->timeout), whole_(timeout_) {
        const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(spent).count();
        timeout_ -= static_cast<UA_UInt32>(std::clamp<long>(milliseconds, 0, long{whole_}));
    }
    ~RemainingTimeout() { timeout_ = whole_; }
    RemainingTimeout(const RemainingTimeout&) = delete;
    RemainingTimeout& operator=(const RemainingTimeout&) = delete;

    [[nodiscard]] bool any() const { return timeout_ != 0; }

  private:
    UA_UInt32& timeout_;
    const UA_UInt32 whole_;
};

}  // namespace

void OpcuaClient::releaseContinuationPoints(const UA_BrowseResponse& response,
                                            std::chrono::steady_clock::time_point begin) {
    std::vector<UA_ByteString> points;  // borrowed from the response
    for (std::size_t i = 0; i < response.resultsSize; ++i) {
        if (response.results[i].continuationPoint.length != 0) {
            points.push_back(response.results[i].continuationPoint);
        }
    }
    if (points.empty()) {
        return;
    }
    const RemainingTimeout remaining(client_.get(), std::chrono::steady_clock::now() - begin);
    if (!remaining.any()) {
        return;
    }
    UA_BrowseNextRequest request{};
    request.releaseContinuationPoints = true;
    request.continuationPoints = points.data();
    request.continuationPointsSize = points.size();
    OwnedBrowseNextResponse ignored;
    callService(&request, &UA_TYPES[UA_TYPES_BROWSENEXTREQUEST], ignored.get(), ignored.type());
}

}  // namespace nimb
