#include <array>
#include <cstring>
#include <stdexcept>
#include <string_view>

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

Contest missingArgument(const Setting& setting) {
    const auto entry = std::make_shared<Entry>(setting.library, "zfGetUStr", VeltoList() + "text");
    return entryContest(entry, [entry] {
        (*entry)();
        require(entry->output().at(0).AsLong() == 1 && entry->output().at(1).AsLong() == 7,
                "error for a missing argument");
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

/// Values of the hexadecimal digits by character; -1 for others.
const std::array<signed char, 256> hexValues = [] {
    std::array<signed char, 256> values{};
    values.fill(-1);
    signed char value = 0;
    for (const char digit : std::string_view("0123456789abcdef")) {
        values.at(static_cast<unsigned char>(digit)) = value++;
    }
    return values;
}();

/// A decoder by hand, with one pass, one copy and the checks that bytes from a host need.
std::size_t decodeByHand(const std::string& text, std::string& out) {
    const char* at = text.data();
    const char* const end = at + text.size();
    char* to = out.data();
    const auto digit = [&at](int i) { return int{hexValues[static_cast<unsigned char>(at[i])]}; };
    const auto put = [&to](int byte) { *to++ = static_cast<char>(byte); };
    while (at != end) {
        if (*at != '\\') {
            *to++ = *at++;
            continue;
        }
        if (end - at < 6 || at[1] != 'u') throw std::runtime_error("escape");
        const int unit = digit(2) << 12 | digit(3) << 8 | digit(4) << 4 | digit(5);
        if (unit < 0 || (unit >= 0xD800 && unit < 0xE000)) throw std::runtime_error("unit");
        at += 6;
        if (unit < 0x80) {
            put(unit);
        } else {
            if (unit < 0x800) {
                put(0xC0 | unit >> 6);
            } else {
                put(0xE0 | unit >> 12);
                put(0x80 | (unit >> 6 & 0x3F));
            }
            put(0x80 | (unit & 0x3F));
        }
    }
    return static_cast<std::size_t>(to - out.data());
}

/// Text full of escapes.
Contest escapedText(const Setting& setting) {
    std::string text;
    while (text.size() < 30000) text += "\\u00e4\\u00f6x";
    const auto entry =
        std::make_shared<Entry>(setting.library, "zfGetUStr", VeltoList() + text + 0);
    const auto decode = [text, to = std::string(text.size(), ' ')]() mutable {
        const std::size_t size = decodeByHand(text, to);
        asm volatile("" : : "r"(to.data()), "r"(size) : "memory");
    };
    Contest contest = entryContest(entry, [entry, text] {
        std::string expected(text.size(), ' ');
        expected.resize(decodeByHand(text, expected));
        require(entry->call().at(0).AsAString() == expected, "decoded text");
    });
    contest.raw.call = decode;
    contest.control.call = decode;
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
    cases.push_back({"a bad handle", Unit::nanoseconds, 300, {1000, 1, 100}, badHandle});
    cases.push_back(
        {"a missing argument", Unit::nanoseconds, 300, {1000, 1, 100}, missingArgument});
    cases.push_back(
        {"zfGetUStr of 30 KB of escapes", Unit::ratio, 1.4, {100, 1, 100}, escapedText});
    cases.push_back(
        {"zfGetUStr of 30 KB against memcpy", Unit::ratio, 3, {500, 1, 200}, plainText});
}

}  // namespace nimb::bench
