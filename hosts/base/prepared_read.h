#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/connection.h"
#include "base/node_id.h"
#include "base/nodes.h"
#include "base/value.h"

namespace nimb::host {

/// What one request, or as few as it took, brought of some nodes: one picture of them, by their
/// position. Values are made of the result's bytes when they are asked for.
class Reading {
  public:
    std::size_t size() const noexcept { return samples_.size(); }

    /// Requests that it took, but for those whose answers did not fit, and bytes of their results.
    std::size_t requests() const noexcept { return results_.size(); }
    std::size_t bytes() const noexcept;

    /// The value's status; nothing when the value has no form and so brought none.
    std::optional<std::uint32_t> status(std::size_t i) const { return samples_.at(i).status; }
    std::optional<Ticks> sourceTime(std::size_t i) const { return time(i, 0); }
    std::optional<Ticks> serverTime(std::size_t i) const { return time(i, 1); }
    /// Null where there is no value, and with a warning where there is one that cannot be shown.
    Value value(std::size_t i, const NodeInfo& info, Warning& warning) const;
    /// Gives `take` a value that is one number and not Bad, as most are: quicker than by a Value.
    /// @return false for any other value
    template <typename Take>
    bool takeNumber(std::size_t i, const NodeInfo& info, Take take) const {
        const Sample& sample = samples_.at(i);
        if (info.rank != -1 || !isNumber(info.type) || isBad(sample.status.value_or(0)) ||
            sample.items == nullptr) {
            return false;
        }
        return host::takeNumber(*sample.listFrom(sample.value).begin(), info.type, take);
    }

  private:
    friend class PreparedRead;

    struct Sample {
        /// Source time, server time, status and, from `value` on, those of the value; none: null.
        const unsigned char* items = nullptr;
        const unsigned char* value = nullptr;
        const unsigned char* end = nullptr;
        std::optional<std::uint32_t> status;

        VeltoROList listFrom(const unsigned char* item) const noexcept {
            return {item, static_cast<std::size_t>(end - item)};
        }
    };
    std::optional<Ticks> time(std::size_t i, std::size_t item) const;

    std::vector<ResultList> results_;  ///< the bytes that the samples view
    std::vector<Sample> samples_;
};

/// Some nodes that are read again and again, in one request where their values fit into a result.
/// Holds on to the request between reads and prepares it anew when the client lost it.
class PreparedRead {
  public:
    /// @param connection  must outlive the object
    PreparedRead(Connection& connection, std::vector<NodeId> nodes)
        : connection_(connection), nodes_(std::move(nodes)) {}
    ~PreparedRead();
    PreparedRead(const PreparedRead&) = delete;
    PreparedRead& operator=(const PreparedRead&) = delete;

    const std::vector<NodeId>& nodes() const noexcept { return nodes_; }

    /// Reads all nodes. Throws as Connection::reading, and TooLong naming a node whose value alone
    /// does not fit.
    Reading read();

  private:
    /// A request: nodes by their position, and its handle.
    struct Part {
        std::vector<std::size_t> nodes;
        long query = 0;
    };

    void prepare();
    std::vector<Part> spread(const std::vector<std::size_t>& nodes) const;
    long setUp(const std::vector<std::size_t>& nodes);
    void clear() noexcept;
    void clear(long query) noexcept;
    void clear(std::vector<Part>& parts) noexcept;
    void poll(Reading& reading, std::vector<std::size_t>& absent);
    bool pollPart(const Part& part, Reading& reading, std::vector<std::size_t>& absent);
    bool dropFormless(Part& part, const Failure& failure);
    std::size_t split(std::size_t part);
    void readAbsent(Reading& reading, std::vector<std::size_t> nodes);
    void readAbsentPart(Reading& reading, Part& part);
    void readAbsentOne(Reading& reading, std::size_t node);

    using Clock = std::chrono::steady_clock;

    Connection& connection_;
    std::vector<NodeId> nodes_;
    /// The nodes that failed a poll because their value has no form, and when to try them again.
    std::map<std::size_t, Clock::time_point> formless_;
    std::vector<Part> parts_;
    std::vector<std::size_t> absent_;  ///< the nodes that had no value last time
    std::vector<Part> absentParts_;
    unsigned generation_ = 0;
};

}  // namespace nimb::host
