#pragma once

#include <algorithm>
#include <cstdint>

namespace nimb {

/// Keeps polls from flooding a server. For each answer to a publish request open62541 1.4 sends the
/// next one at once, also for a refusal: of a subscription that the server no longer has, that is
/// thousands of requests a second. So requests that bring nothing are counted against a credit, in
/// which those that keep-alives need have room; while it is used up the stack is not driven.
/// Times are milliseconds of a clock that only goes forward.
class PublishPace {
  public:
    /// Lets the credit grow with the time.
    /// @param keepAlives  tells how many come in a second, from all subscriptions of the client;
    ///                    asked only while there is something to earn
    template <typename Rate>
    void earn(std::int64_t now, const Rate& keepAlives) {
        if (credit_ < kBurst) {
            const double perSecond = kPerSecond + 2 * keepAlives();
            const auto passed = static_cast<double>(std::max<std::int64_t>(now - earnedAt_, 0));
            credit_ = std::min(kBurst, credit_ + passed * perSecond / 1000);
        }
        earnedAt_ = now;
    }
    /// @param news  whether they brought anything
    void spend(std::uint64_t requests, bool news) {
        credit_ = news ? kBurst : credit_ - static_cast<double>(requests);
    }
    /// Lets an answer that is waited for come in.
    void allowBurst() { credit_ = kBurst; }
    [[nodiscard]] bool open() const { return credit_ >= 1; }

  private:
    /// Twice the publish requests that the stack keeps at the server.
    static constexpr double kBurst = 20;
    static constexpr double kPerSecond = 10;

    double credit_ = kBurst;
    std::int64_t earnedAt_ = 0;
};

}  // namespace nimb
