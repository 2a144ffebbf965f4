#include "base/host_time.h"

#include <chrono>
#include <iterator>
#include <limits>
#include <string_view>

namespace nimb::host {

namespace {

using Days = std::chrono::days;
constexpr std::int64_t kSecond = 10000000;
constexpr std::int64_t kDay = 86400 * kSecond;
constexpr std::chrono::sys_days kEpoch{std::chrono::year{1601} / 1 / 1};

/// Digits taken off the front; -1 when there are none.
std::int64_t takeNumber(std::string_view& text) {
    constexpr std::size_t most = 9;
    std::int64_t number = 0;
    std::size_t digits = 0;
    while (digits < text.size() && digits < most && text[digits] >= '0' && text[digits] <= '9') {
        number = number * 10 + (text[digits++] - '0');
    }
    text.remove_prefix(digits);
    return digits == 0 ? -1 : number;
}

bool take(std::string_view& text, char mark) {
    const bool there = !text.empty() && text.front() == mark;
    text.remove_prefix(there ? 1 : 0);
    return there;
}

/// Tenths of microseconds; the years beyond 9999 come with fewer digits.
std::int64_t takeFraction(std::string_view& text) {
    const std::size_t before = text.size();
    std::int64_t fraction = takeNumber(text);
    for (std::size_t digits = before - text.size(); digits < 7 && fraction > 0; ++digits) {
        fraction *= 10;
    }
    return fraction;
}

/// By hand: a table of times is formatted row by row, and printf takes ten times as long.
void append(std::string& text, std::int64_t number, int width, char mark) {
    char digits[20];
    char* first = std::end(digits);
    for (; number > 0 || width > 0; number /= 10, --width) {
        *--first = static_cast<char>('0' + number % 10);
    }
    text.append(first, std::end(digits));
    text += mark;
}

}  // namespace

std::optional<Ticks> timeOf(const VeltoListItem& item) {
    const std::string narrow = item.AsAString();
    std::string_view text = narrow;
    std::int64_t part[7] = {};
    constexpr std::string_view marks = "-- ::.";
    for (std::size_t i = 0; i < 7; ++i) {
        part[i] = i == 6 ? takeFraction(text) : takeNumber(text);
        if (part[i] < 0 || (i < marks.size() && !take(text, marks[i]))) {
            return std::nullopt;
        }
    }
    const std::chrono::year_month_day date{std::chrono::year{static_cast<int>(part[0])},
                                           std::chrono::month{static_cast<unsigned>(part[1])},
                                           std::chrono::day{static_cast<unsigned>(part[2])}};
    if (!date.ok() || part[0] > 30828 || part[3] > 23 || part[4] > 59 || part[5] > 59) {
        return std::nullopt;
    }
    const Days days = std::chrono::sys_days{date} - kEpoch;
    using Limits = std::numeric_limits<std::int64_t>;
    if (days.count() >= Limits::max() / kDay) {
        return Ticks{Limits::max()};  // the last day that ticks can count, and what is beyond
    }
    const std::int64_t seconds = (part[3] * 60 + part[4]) * 60 + part[5];
    const Ticks time{days.count() * kDay + seconds * kSecond + part[6]};
    return time.count == 0 ? std::nullopt : std::optional(time);
}

std::string isoText(Ticks time) {
    const std::int64_t days = time.count / kDay - (time.count % kDay < 0 ? 1 : 0);
    const std::int64_t inDay = time.count - days * kDay;
    const std::int64_t seconds = inDay / kSecond;
    const std::chrono::year_month_day date{kEpoch + Days{days}};
    std::string text;
    text.reserve(32);
    append(text, static_cast<int>(date.year()), 4, '-');
    append(text, static_cast<unsigned>(date.month()), 2, '-');
    append(text, static_cast<unsigned>(date.day()), 2, 'T');
    append(text, seconds / 3600, 2, ':');
    append(text, seconds / 60 % 60, 2, ':');
    append(text, seconds % 60, 2, '.');
    append(text, inDay % kSecond, 7, 'Z');
    return text;
}

}  // namespace nimb::host
