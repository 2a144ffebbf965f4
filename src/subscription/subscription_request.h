#pragma once

#include <cstdint>

namespace nimb {

/// What a host asks of a subscription; after its creation, what the server made of it.
struct SubscriptionRequest {
    double publishingInterval = 0;       ///< milliseconds
    std::uint32_t lifetimeCount = 0;     ///< publishing intervals
    std::uint32_t keepAliveCount = 0;    ///< publishing intervals
    std::uint32_t maxNotifications = 0;  ///< per publish, 0 for no limit; never revised
    double samplingInterval = 0;         ///< milliseconds, for every item; revised: the largest
    std::uint32_t itemQueueSize = 0;     ///< on the server, for every item; revised: the smallest
    int maxQueueSize = 0;  ///< of the library's own queue: 0 for no bound; negative never fills
};

}  // namespace nimb
