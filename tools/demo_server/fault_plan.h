#pragma once

#include <chrono>
#include <optional>
#include <vector>

namespace nimb::plant {

/// Something that goes wrong once, at a time chosen beforehand.
struct Fault {
    enum class Kind {
        freeze,        ///< connections stay and nothing is answered
        restart,       ///< the server ends and starts again on its port
        dropSessions,  ///< every session is closed with its subscriptions, channels stay
    };

    Kind kind = Kind::freeze;
    std::chrono::milliseconds at{0};        ///< since the server started
    std::chrono::milliseconds lasts{2000};  ///< of a freeze; how long a restarted server is away
};

/// Hands out faults when their time has come.
class FaultPlan {
  public:
    using Clock = std::chrono::steady_clock;

    FaultPlan(std::vector<Fault> faults, Clock::time_point start);

    /// The earliest fault that is due at `now` and was not handed out before.
    std::optional<Fault> take(Clock::time_point now);

  private:
    std::vector<Fault> pending_;  ///< the latest first
    Clock::time_point start_;
};

}  // namespace nimb::plant
