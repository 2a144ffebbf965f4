#include <cstring>

#include "cases.h"
#include "checks.h"

namespace nimb::bench {

namespace {

constexpr std::int64_t someTime = 133485408001234567;  // 2024-01-01T00:00:00.1234567Z

Contest entryContest(std::shared_ptr<Entry> entry, std::function<void()> check) {
    return {{[entry] { (*entry)(); }, {}}, {}, {}, std::move(check)};
}

/// The entry with fixed arguments, which must give `text` as its first result.
Case entryCase(const char* name, double target, const VeltoList& arguments, const char* text) {
    return {name, Unit::nanoseconds, target, {5000, 1, 100}, [=](const Setting& setting) {
                const auto entry = std::make_shared<Entry>(setting.library, name, arguments);
                return entryContest(entry, [entry, text] {
                    require(entry->call().at(0).AsAString() == text, "text");
                });
            }};
}

Contest clientState(const Setting& setting) {
    const auto session = std::make_shared<AdapterSession>(setting.library, setting.url);
    const auto entry = std::make_shared<Entry>(session->entry("zfGetClientStateD"));
    return entryContest(
        entry, [session, entry] { require(entry->call().at(1).AsLong() == 1, "client state"); });
}

Contest badHandle(const Setting& setting) {
    const auto entry =
        std::make_shared<Entry>(setting.library, "zfGetClientStateD", VeltoList() + 987654);
    return entryContest(entry, [entry] {
        (*entry)();
        require(entry->output().at(0).AsLong() == 1 && entry->output().at(2).AsLong() == 1,
                "error for a bad handle");
    });
}

/// Text without escapes, which comes back as it went; the raw side copies it once.
Contest plainText(const Setting& setting) {
    constexpr std::size_t size = 30000;
    const std::string text(size, 'x');
    const auto entry =
        std::make_shared<Entry>(setting.library, "zfGetUStr", VeltoList() + text + 0);
    const auto copy = [from = text, to = std::string(size, ' ')]() mutable {
        std::memcpy(to.data(), from.data(), size);
        asm volatile("" : : "r"(to.data()) : "memory");  // or the copy would be dropped
    };
    Contest contest = entryContest(
        entry, [entry, text] { require(entry->call().at(0).AsAString() == text, "plain text"); });
    contest.raw.call = copy;
    contest.control.call = copy;
    return contest;
}

}  // namespace

void addLocalCases(std::vector<Case>& cases) {
    cases.push_back(entryCase("zfVersion", 60, VeltoList(), "0.3.0"));
    cases.push_back(
        entryCase("zfGetSimpleErrorCodeNameB", 40, VeltoList() + 2, "Application Error"));
    cases.push_back(entryCase("zfDateConvOPCUA2ODBC", 45, VeltoList() + someTime,
                              "2024-01-01 00:00:00.1234567"));
    cases.push_back(
        entryCase("zfDateConvOPCUA2HOROLOG", 45, VeltoList() + someTime, "66840,0.123456"));
    cases.push_back({"zfGetClientStateD", Unit::nanoseconds, 60, {5000, 1, 100}, clientState});
    cases.push_back({"a bad handle", Unit::nanoseconds, 1500, {1000, 1, 100}, badHandle});
    cases.push_back(
        {"zfGetUStr of 30 KB against memcpy", Unit::ratio, 3, {500, 1, 200}, plainText});
}

}  // namespace nimb::bench
