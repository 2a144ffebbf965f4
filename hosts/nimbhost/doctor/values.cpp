// Live values: read, followed, and whether their polls fit.

#include <cmath>

#include "nimbhost/doctor/examination.h"
#include "nimbhost/plant/duration.h"
#include "nimbhost/plant/fitting.h"
#include "nimbhost/plant/node_names.h"
#include "nimbhost/plant/subscription.h"
#include "nimbhost/terminal/interruption.h"

namespace nimb::nimbhost {

namespace {

using std::chrono::milliseconds;
constexpr host::NodeId kServerClock{0, 2258, {}};
constexpr milliseconds kLook{2000};

std::string clockText(const host::Value& value) {
    const auto* time = std::get_if<host::Ticks>(&value);
    if (time == nullptr) return "";
    const double seconds = static_cast<double>(ticksNow().count - time->count) / 1e7;
    char text[64];
    std::snprintf(text, sizeof text, "its clock is %.1f s %s", std::abs(seconds),
                  seconds >= 0 ? "behind" : "ahead");
    return text;
}

}  // namespace

void Examination::examineValues() {
    host::Connection connection(tool_.library(), plantOf(plant_, password_));
    try {
        std::vector<host::NodeId> ids{kServerClock};
        for (const NamedNode& node : resolveNodes(connection, nodes_, plant_.defaultNamespace)) {
            ids.push_back(node.id);
        }
        examineRead(connection, ids);
        checkInterrupted();
        examineFit(connection, ids);
        checkInterrupted();
        host::Connection follower(tool_.library(), connection.plant());
        examineSubscription(follower, ids);
    } catch (const host::Failure& failure) {
        fail(std::string("the server refuses: ") + failure.what(),
             "nimbhost explain tells about the status");
    }
}

void Examination::examineRead(host::Connection& connection, const std::vector<host::NodeId>& ids) {
    const auto infos = host::NodeCatalogue(connection).describe(ids);
    const std::vector<Sample> samples = readSamples(connection, ids, infos);
    for (std::size_t i = 0; i < ids.size(); ++i) {
        const Sample& sample = samples[i];
        if (i == 0) {
            const std::string clock = clockText(sample.value);
            if (clock.empty()) {
                warn("the server does not tell its time (i=2258)", "the server's set-up");
            } else {
                ok(clock);
            }
            continue;
        }
        const std::string status = statusText(tool_.library(), sample);
        const std::string text = nodes_[i - 1] + " = " + valueText(sample) + ", " + status;
        if (infos[i].nodeClass == 0) {
            fail(nodes_[i - 1] + ": there is no such node (" + status + ')',
                 "nimbhost ls " + option() + " shows what there is");
        } else if (sample.isBad()) {
            fail(text, "the device or its connection to the server");
        } else {
            ok(text);
        }
    }
}

void Examination::examineFit(host::Connection& connection, const std::vector<host::NodeId>& ids) {
    const std::vector<host::NodeId> named(ids.begin() + (ids.size() > 1 ? 1 : 0), ids.end());
    const Fitting fitting = fittingOf(connection, named);
    const auto& whole = fitting.polls[2].bytes;
    if (whole) {
        ok("a poll takes " + std::to_string(*whole) + " of 32767 bytes");
    } else {
        fail("a poll of these nodes does not fit into 32767 bytes", "read fewer at once");
    }
}

void Examination::examineSubscription(host::Connection& connection,
                                      const std::vector<host::NodeId>& ids) {
    std::vector<std::string> names{"the clock"};
    names.insert(names.end(), nodes_.begin(), nodes_.end());
    SubscriptionRequest request;
    request.interval = milliseconds(200);
    Subscription subscription(connection, names, ids, request);
    const auto begun = Subscription::Clock::now();
    subscription.create();
    std::optional<milliseconds> first;
    unsigned long changes = 0;
    unsigned long overflows = 0;
    while (Subscription::Clock::now() - begun < kLook) {
        checkInterrupted();
        for (const Change& change : subscription.poll(milliseconds(100))) {
            if (!first) {
                first =
                    std::chrono::duration_cast<milliseconds>(Subscription::Clock::now() - begun);
            }
            changes += change.node == 0 ? 1U : 0U;
            overflows += change.sample.hasOverflow() ? 1U : 0U;
        }
    }
    if (!first) {
        fail("a subscription brought nothing within " + durationText(kLook),
             "whether the server lets this user subscribe");
        return;
    }
    const milliseconds lifetime = subscription.interval() * subscription.lifetimeCount();
    ok("a subscription: first value after " + durationText(*first) + ", the clock " +
       std::to_string(changes) + " times in " + durationText(kLook) + ", " +
       std::to_string(subscription.lostInLibrary()) + " lost, " + std::to_string(overflows) +
       " overflows; every " + durationText(subscription.interval()) + ", node queue " +
       std::to_string(subscription.nodeQueue()));
    if (lifetime < milliseconds(10000)) {
        warn("a host that does not poll for " + durationText(lifetime) + " loses its subscription",
             "a larger lifetime count or interval");
    } else {
        ok("a host may stop polling for " + durationText(lifetime) + " before it is dropped");
    }
}

}  // namespace nimb::nimbhost
