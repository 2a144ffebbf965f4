#pragma once

#include "bench_nodes.h"
#include "sessions.h"

namespace nimb::bench {

/// A subscription of the adapter to changing values, whose queue fills as long as only its length
/// is asked for: polls that hand out no line tell it and leave the queue as it is.
class QueuedChanges {
  public:
    static constexpr std::uint32_t items = 10;

    QueuedChanges(host::Library& library, const std::string& url)
        : session_(library, url), subscription_(subscribe()) {}

    double length() { return lengthAfter(look_); }
    double drainOnce() { return lengthAfter(drain_); }

  private:
    static constexpr int noLines = -1;
    static constexpr int linesThatFit = 20;
    static constexpr int wait = 1;  // milliseconds

    long subscribe() const {
        std::vector<plant::NodeAddress> nodes;
        for (std::uint32_t i = 0; i < items; ++i) nodes.push_back(doubleNode(i));
        return session_.subscribe(nodes, 5, 1000);
    }
    Entry poll(int timeout, int lines) const {
        return session_.entry("zfPollSubscription",
                              VeltoList() + subscription_ + timeout + lines + 0);
    }
    static double lengthAfter(Entry& entry) {
        return entry.call().at(2).AsVeltoROList().at(5).AsDouble();
    }

    AdapterSession session_;
    long subscription_;
    Entry look_ = poll(wait, noLines);
    Entry drain_ = poll(0, linesThatFit);
};

}  // namespace nimb::bench
