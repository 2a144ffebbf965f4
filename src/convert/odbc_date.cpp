#include "convert/odbc_date.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "convert/ua_export.h"
#include "convert/utf16_digits.h"
#include "list/velto_list.h"

namespace nimb {
namespace {

/// Days from 0000-01-01 to 1601-01-01 and to 10000-01-01.
constexpr UA_DateTime kDaysBefore1601 = 584754;
constexpr UA_DateTime kDaysBefore10000 = 3652425;

/// Characters of the text, of its part up to the fraction's point, and without the fraction.
constexpr std::size_t kCharacters = kOdbcDateBytes / 2;
constexpr std::size_t kSecondCharacters = 20;
constexpr std::size_t kWholeCharacters = 19;

struct CalendarDay {
    std::uint32_t year;
    std::uint32_t month;
    std::uint32_t day;
};

/// The Gregorian date that lies `days` behind 0000-01-01, for years 0 to 9999: the algorithm of
/// Neri and Schneider ("Euclidean affine functions and their application to calendar algorithms",
/// 2022). It counts years from March, so that the leap day comes last, and here from 400 years
/// earlier, so that nothing is negative.
CalendarDay calendarDay(std::uint32_t days) {
    constexpr std::uint32_t daysPer400Years = 146097;
    const std::uint32_t quarterDays = 4 * (days + daysPer400Years - 60) + 3;
    const std::uint32_t century = quarterDays / daysPer400Years;
    const std::uint32_t quarterDayOfCentury = quarterDays % daysPer400Years | 3;
    const std::uint64_t scaled = std::uint64_t{2939745} * quarterDayOfCentury;
    const auto yearOfCentury = static_cast<std::uint32_t>(scaled >> 32);
    const std::uint32_t dayOfYear = static_cast<std::uint32_t>(scaled) / 2939745 / 4;
    const std::uint32_t monthAndDay = 2141 * dayOfYear + 197913;
    const std::uint32_t month = monthAndDay >> 16;
    const std::uint32_t day = (monthAndDay & 0xFFFF) / 2141;
    const bool afterDecember = dayOfYear >= 306;
    return {100 * century + yearOfCentury - 400 + (afterDecember ? 1 : 0),
            afterDecember ? month - 12 : month, day + 1};
}

/// The text of any year, through the stack's own calendar, cut to kCharacters: it has always come
/// from a buffer of 28 bytes. Returns the number of characters written.
std::size_t writeDateOfAnyYear(UA_DateTime time, bool wholeSeconds, unsigned char* out) {
    const UA_DateTimeStruct fields = UA_DateTime_toStruct(time);
    char text[64];
    const int fraction = fields.milliSec * 10000 + fields.microSec * 10 + fields.nanoSec / 100;
    int length = std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", fields.year,
                               fields.month, fields.day, fields.hour, fields.min, fields.sec);
    if (!wholeSeconds) {
        length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length),
                                ".%07d", fraction);
    }
    const auto shown =
        std::string_view(text, static_cast<std::size_t>(length)).substr(0, kCharacters);
    Utf16Digits digits(out);
    for (const char c : shown) {
        digits.put(c);
    }
    return shown.size();
}

/// A stretch of time and the text of its first second, "YYYY-MM-DD hh:mm:ss.". Kept for the next
/// date, because dates that are written together lie close together and the calendar is most of
/// their cost. Without a lock, like all state of the process: hosts call from one thread at a time.
struct alignas(64) KeptText {
    /// Ticks from 0000-01-01; at first a time that no date comes near.
    std::uint64_t begin = std::uint64_t{1} << 63;
    std::array<unsigned char, 2 * kSecondCharacters> text{};

    bool covers(std::uint64_t ticks, UA_DateTime length) const {
        return ticks - begin < static_cast<std::uint64_t>(length);
    }
};

/// A second comes in when it is met twice in a row: the server's times of one poll share a second,
/// the times of the sources need not, and those that come once must not push it out.
struct KeptSecond : KeptText {
    std::uint64_t candidate = 0;
};

/// Where the text of an instant's second and day are kept, if they are. Buckets of 0.8 s and 0.6
/// days need no division to be found; a second or day may come to stand in two of them.
KeptSecond& secondAt(std::uint64_t ticks) {
    static std::array<KeptSecond, 16> recent;
    return recent[(ticks >> 23) % recent.size()];
}
KeptText& dayAt(std::uint64_t ticks) {
    static std::array<KeptText, 8> recent;
    return recent[(ticks >> 39) % recent.size()];
}

[[gnu::noinline]] void assignDay(KeptText& day, std::uint64_t ticks) {
    const auto days = static_cast<std::uint32_t>(ticks / kTicksPerDay);
    const CalendarDay date = calendarDay(days);
    Utf16Digits out(day.text.data());
    out.put4(date.year);
    out.put('-');
    out.put2(date.month);
    out.put('-');
    out.put2(date.day);
    for (const char c : std::string_view(" 00:00:00.")) {
        out.put(c);
    }
    day.begin = days * std::uint64_t{kTicksPerDay};
}

void writeInNewDay(std::uint64_t ticks, KeptSecond& kept, unsigned char* out);

/// Writes the text of an instant before the year 10000, whose second is not the kept one. A new day
/// is a call at the end, which needs no registers saved on the way of all others.
[[gnu::noinline]] void writeInDay(std::uint64_t ticks, KeptSecond& kept, unsigned char* out) {
    constexpr std::size_t hour = 11;
    constexpr std::size_t minute = 14;
    constexpr std::size_t second = 17;
    const KeptText& day = dayAt(ticks);
    if (!day.covers(ticks, kTicksPerDay)) [[unlikely]] {
        writeInNewDay(ticks, kept, out);
        return;
    }
    const std::uint64_t sinceMidnight = ticks - day.begin;
    const auto seconds = static_cast<std::uint32_t>(sinceMidnight / kTicksPerSecond);
    const auto fraction = static_cast<std::uint32_t>(sinceMidnight % kTicksPerSecond);
    const std::uint32_t minutes = seconds / 60;
    std::memcpy(out, day.text.data(), day.text.size());
    Utf16Digits(out + 2 * hour).put2(minutes / 60);
    Utf16Digits(out + 2 * minute).put2(minutes % 60);
    Utf16Digits(out + 2 * second).put2(seconds % 60);
    Utf16Digits(out + day.text.size()).put7(fraction);

    const std::uint64_t begin = ticks - fraction;
    if (kept.candidate == begin) {
        kept.begin = begin;
        std::memcpy(kept.text.data(), out, kept.text.size());
    }
    kept.candidate = begin;
}

[[gnu::noinline]] void writeInNewDay(std::uint64_t ticks, KeptSecond& kept, unsigned char* out) {
    assignDay(dayAt(ticks), ticks);
    writeInDay(ticks, kept, out);
}

/// Ticks from 0000-01-01. Unsigned, so that one comparison covers both ends of the range.
std::uint64_t ticksFromYear0(UA_DateTime time) {
    return static_cast<std::uint64_t>(time) + std::uint64_t{kDaysBefore1601 * kTicksPerDay};
}

bool hasFourDigitYear(std::uint64_t ticks) {
    return ticks < std::uint64_t{kDaysBefore10000 * kTicksPerDay};
}

}  // namespace

void writeOdbcDate(UA_DateTime time, unsigned char* out) {
    const std::uint64_t ticks = ticksFromYear0(time);
    if (!hasFourDigitYear(ticks)) [[unlikely]] {
        writeDateOfAnyYear(time, false, out);
        return;
    }
    KeptSecond& second = secondAt(ticks);
    if (!second.covers(ticks, kTicksPerSecond)) {
        writeInDay(ticks, second, out);
        return;
    }
    const auto fraction = static_cast<std::uint32_t>(ticks - second.begin);
    std::memcpy(out, second.text.data(), second.text.size());
    Utf16Digits(out + second.text.size()).put7(fraction);
}

void UACExport::addAsODBCDate(VeltoList* list, const UA_DateTime* time, bool wholeSeconds) {
    if (!wholeSeconds) {
        writeOdbcDate(*time, list->appendItem(item_code::kUnicode, kOdbcDateBytes));
        return;
    }
    std::array<unsigned char, kOdbcDateBytes> text;
    writeOdbcDate(*time, text.data());
    const std::size_t characters = hasFourDigitYear(ticksFromYear0(*time))
                                       ? kWholeCharacters
                                       : writeDateOfAnyYear(*time, true, text.data());
    std::memcpy(list->appendItem(item_code::kUnicode, 2 * characters), text.data(), 2 * characters);
}

}  // namespace nimb
