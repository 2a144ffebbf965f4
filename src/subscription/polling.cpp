#include <open62541/client.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <initializer_list>

#include "client/clock.h"
#include "client/opcua_client.h"
#include "client/stack_call.h"
#include "list/item_writer.h"
#include "list/nested_list.h"
#include "subscription/subscription.h"

namespace nimb {

namespace {

constexpr int kMaxPerLine = 9999;  // notifications folded into one line

constexpr std::int64_t kPause = 100;          // ms between two looks at the pace
constexpr std::int64_t kShortPause = 10;      // ms while there is no connection
constexpr std::int64_t kRestoreEvery = 1000;  // ms

using PollTime = std::chrono::time_point<StackCall::Clock, std::chrono::milliseconds>;

/// The exact time only for polls that wait.
PollTime currentTime(unsigned short timeout) {
    const auto now = timeout == 0 ? timeOfLastTick() : StackCall::Clock::now();
    return std::chrono::time_point_cast<std::chrono::milliseconds>(now);
}

/// False when a signal ended it.
bool pauseFor(std::int64_t time) {
    const timespec duration{time / 1000, time % 1000 * 1000000};
    return time <= 0 || clock_nanosleep(CLOCK_MONOTONIC, 0, &duration, nullptr) != EINTR;
}

/// The queue at some moment of a poll.
struct QueueState {
    explicit QueueState(const Subscription& subscription)
        : size(static_cast<long long>(subscription.getQueueSize())),
          losses(static_cast<int>(subscription.getQueueLossCount())) {}

    long long size;
    int losses;
};

void appendStatistics(VeltoList& out, int maxQueueSize, std::initializer_list<QueueState> moments) {
    const std::size_t most = ItemWriter::kNumberRoom * (1 + 2 * moments.size());
    ItemWriter items(out, ItemWriter::kHeaderBytes + most);
    ItemWriter::Nested statistics(items);
    items += maxQueueSize;
    for (const QueueState& moment : moments) {
        items += moment.size;
        items += moment.losses;
    }
    statistics.close();
    items.commit(1);
}

/// Appends the count of the lines and the lines. The count is written first as it mostly turns out,
/// so that the lines need not be moved.
int appendLines(VeltoList& out, Subscription& subscription, int maxLines) {
    if (subscription.getQueueSize() == 0) {
        ItemWriter items(out, ItemWriter::kNumberRoom + ItemWriter::kHeaderBytes);
        items += 0;
        items.appendItem(item_code::kBytes, 0);
        items.commit(2);
        return 0;
    }
    constexpr int expected = 1;
    const std::size_t begin = out.datalength();
    out += expected;
    NestedList lines(out, subscription.lineLength());
    const int count = subscription.getNewOutputLines(&out, maxLines, kMaxPerLine);
    lines.close();
    if (count != expected) {
        out.insert(out.erase({out.data() + begin, &out}), count);
    }
    return count;
}

}  // namespace

double OpcuaClient::keepAliveRate() const {
    double rate = 0;
    for (const auto& [id, subscription] : subscriptions_) {
        rate += subscription->keepAliveRate();
    }
    return rate;
}

/// After a send that failed, as to a server that restarted while values moved, open62541 1.4 does
/// not connect again by itself. With a new connection it takes the session up again, and where the
/// server has no such session it reports the subscriptions as deleted.
bool OpcuaClient::restoreConnection() {
    UA_SecureChannelState channel = UA_SECURECHANNELSTATE_CLOSED;
    UA_Client_getState(client_.get(), &channel, nullptr, nullptr);
    const std::int64_t now = milliseconds(CLOCK_MONOTONIC);
    if (!sessionMayBeUsed() || channel != UA_SECURECHANNELSTATE_CLOSED ||
        now - restoredAt_ < kRestoreEvery) {
        return false;
    }
    restoredAt_ = now;
    return __UA_Client_connect(client_.get(), true) == UA_STATUSCODE_GOOD;
}

/// False when a signal ended the wait.
bool OpcuaClient::driveOnce(const StackCall& call, std::int64_t timeout) {
    const std::uint64_t sent = call.sentMessages();
    const std::uint64_t reports = reports_;
    errno = 0;
    const UA_StatusCode status =
        UA_Client_run_iterate(client_.get(), static_cast<UA_UInt32>(timeout));
    const bool interrupted = errno == EINTR;
    pace_.spend(call.sentMessages() - sent, reports_ != reports);
    if (!pace_.open()) {
        for (const auto& [id, subscription] : subscriptions_) {
            subscription->suspect();
        }
    }
    if (interrupted) {
        return false;
    }
    return status == UA_STATUSCODE_GOOD || restoreConnection() ||
           pauseFor(std::min(timeout, kShortPause));
}

/// The clock is read once a round, for the guard and the pace too.
void OpcuaClient::driveFor(Subscription& polled, unsigned short timeout) {
    const std::uint64_t reports = reports_;
    PollTime now = currentTime(timeout);
    const PollTime end = now + std::chrono::milliseconds(timeout);
    bool undisturbed = true;
    do {
        const std::int64_t left = (end - now).count();
        const auto call = StackCall::drive(client_.get(), static_cast<UA_UInt32>(left), now);
        pace_.earn(now.time_since_epoch().count(), [this] { return keepAliveRate(); });
        if (polled.askServer()) {
            pace_.allowBurst();
        }
        undisturbed = pace_.open() ? driveOnce(call, left) : pauseFor(std::min(left, kPause));
    } while (timeout != 0 && undisturbed && polled.getQueueSize() == 0 && reports_ == reports &&
             (now = currentTime(timeout)) < end);
}

UACErr OpcuaClient::pollSubscription(VeltoList* out, unsigned int id, unsigned short timeout,
                                     int maxLines) {
    if (UACErr error = checkUsable(); error.isError()) {
        return error;
    }
    Subscription* subscription = getSubscription(id);
    if (subscription == nullptr) {
        return {UACERR_APPLICATION, APPERR_OTHER, "Subscription not found (handle=%d)",
                static_cast<int>(id)};
    }
    subscription->setPolled();
    return pollLines(*out, *subscription, timeout, maxLines);
}

UACErr OpcuaClient::pollLines(VeltoList& out, Subscription& subscription, unsigned short timeout,
                              int maxLines) {
    int lineCount = 0;
    UACErr error = errorOf(
        [&]() -> UACErr {
            const QueueState before(subscription);
            driveFor(subscription, timeout);
            const QueueState driven(subscription);
            lineCount = appendLines(out, subscription, maxLines);
            appendStatistics(out, subscription.getMaxQueueSize(),
                             {before, driven, QueueState(subscription)});
            return {};
        },
        [] { return UACErr::unknown("Error retrieving notifications"); });
    if (lineCount == 0 && subscription.status() != Subscription::ACTIVE) {
        error = {UACERR_SERVER, APPERR_OTHER, "Non-active subscription status (%s)",
                 Subscription::getStatusString(subscription.status()).c_str()};
    }
    return error;
}

}  // namespace nimb
