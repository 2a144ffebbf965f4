#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "convert/ticks.h"
#include "convert/ua_export.h"
#include "convert/utf16_digits.h"
#include "errors/uac_err.h"
#include "list/velto_list.h"

namespace nimb {
namespace {

constexpr unsigned kHorologDayOfUnixEpoch = 47117;
/// Days from 1970-01-01 on that have a five-digit $HOROLOG day.
constexpr UA_DateTime kHorologDays = 100000 - kHorologDayOfUnixEpoch;

/// Days from 0000-01-01 to 1601-01-01 and to 10000-01-01.
constexpr UA_DateTime kDaysBefore1601 = 584754;
constexpr UA_DateTime kDaysBefore10000 = 3652425;

/// Characters of the ODBC text with and without fraction. Longer texts, of years with more than
/// four characters, are cut to the former: the text has always come from a buffer of 28 bytes.
constexpr std::size_t kOdbcCharacters = 27;
constexpr std::size_t kOdbcWholeCharacters = 19;

unsigned char* appendText(VeltoList& list, std::size_t characters) {
    return list.appendItem(item_code::kUnicode, 2 * characters);
}

void appendAscii(VeltoList& list, std::string_view text) {
    Utf16Digits out(appendText(list, text.size()));
    for (const char c : text) {
        out.put(c);
    }
}

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

/// Any year, through the stack's own calendar. Kept out of line: its buffers would burden the dates
/// that do occur.
[[gnu::noinline]] void appendOdbcDateOfAnyYear(VeltoList& list, UA_DateTime time,
                                               bool wholeSeconds) {
    const UA_DateTimeStruct fields = UA_DateTime_toStruct(time);
    char text[64];
    int length = std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", fields.year,
                               fields.month, fields.day, fields.hour, fields.min, fields.sec);
    if (!wholeSeconds) {
        const int fraction = fields.milliSec * 10000 + fields.microSec * 10 + fields.nanoSec / 100;
        length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length),
                                ".%07d", fraction);
    }
    appendAscii(
        list, std::string_view(text, static_cast<std::size_t>(length)).substr(0, kOdbcCharacters));
}

/// The text of a day, "YYYY-MM-DD 00:00:00.0000000": only the digits behind the day are left to
/// write.
struct DayText {
    std::uint32_t day = ~std::uint32_t{0};  ///< from 0000-01-01
    std::array<unsigned char, 2 * kOdbcCharacters> text{};

    [[gnu::noinline]] void assign(std::uint32_t newDay);
};

void DayText::assign(std::uint32_t newDay) {
    const CalendarDay date = calendarDay(newDay);
    Utf16Digits out(text.data());
    out.put4(date.year);
    out.put('-');
    out.put2(date.month);
    out.put('-');
    out.put2(date.day);
    for (const char c : std::string_view(" 00:00:00.0000000")) {
        out.put(c);
    }
    day = newDay;
}

/// The text of a day, kept for the next time: the values of a poll share few days, and the calendar
/// is more than half of a date's cost. Without a lock, like all state of the process, because hosts
/// call from one thread at a time; a thread's own copy would cost a third of what is saved.
const DayText& textOfDay(std::uint32_t day) {
    static std::array<DayText, 16> recent;
    DayText& entry = recent[day % recent.size()];
    if (entry.day != day) [[unlikely]] {
        entry.assign(day);
    }
    return entry;
}

/// Appends the first `characters` of the text. `ticks` counts from 0000-01-01 and lies before the
/// year 10000.
template <std::size_t characters>
void appendOdbcDate(VeltoList& list, std::uint64_t ticks) {
    constexpr std::size_t hour = 11;
    constexpr std::size_t minute = 14;
    constexpr std::size_t second = 17;
    constexpr std::size_t fraction = 20;
    const std::uint64_t seconds = ticks / kTicksPerSecond;
    const DayText& day = textOfDay(static_cast<std::uint32_t>(seconds / kSecondsPerDay));
    const auto time = static_cast<std::uint32_t>(seconds % kSecondsPerDay);
    const std::uint32_t minutes = time / 60;
    unsigned char* text = appendText(list, characters);
    std::memcpy(text, day.text.data(), 2 * characters);
    Utf16Digits(text + 2 * hour).put2(minutes / 60);
    Utf16Digits(text + 2 * minute).put2(minutes % 60);
    Utf16Digits(text + 2 * second).put2(time % 60);
    if constexpr (characters > fraction) {
        const auto part = static_cast<std::uint32_t>(ticks % kTicksPerSecond);
        Utf16Digits(text + 2 * fraction).put7(part);
    }
}

std::size_t decimalDigits(std::uint32_t value) {
    std::size_t digits = 1;
    for (std::uint32_t limit = 10; value >= limit; limit *= 10) {
        ++digits;
    }
    return digits;
}

}  // namespace

void UACExport::addAsODBCDate(VeltoList* list, const UA_DateTime* time, bool wholeSeconds) {
    // In unsigned arithmetic, so that one comparison covers both ends of the range.
    const std::uint64_t ticks =
        static_cast<std::uint64_t>(*time) + std::uint64_t{kDaysBefore1601 * kTicksPerDay};
    if (ticks < std::uint64_t{kDaysBefore10000 * kTicksPerDay}) [[likely]] {
        wholeSeconds ? appendOdbcDate<kOdbcWholeCharacters>(*list, ticks)
                     : appendOdbcDate<kOdbcCharacters>(*list, ticks);
    } else {
        appendOdbcDateOfAnyYear(*list, *time, wholeSeconds);
    }
}

void UACExport::addAsHorolog(VeltoList* list, const UA_DateTime* time, bool wholeSeconds) {
    // Wrapping; an instant that wraps is out of range either way.
    const auto sinceEpoch = static_cast<UA_DateTime>(static_cast<std::uint64_t>(*time) -
                                                     std::uint64_t{kUnixEpochTicks});
    // Division toward zero: the last second before 1970 counts as second 0, with its own fraction.
    const UA_DateTime seconds = sinceEpoch / kTicksPerSecond;
    if (seconds < 0 || seconds >= kHorologDays * kSecondsPerDay) {
        appendAscii(*list, "47117,0");
        return;
    }
    const auto day = static_cast<std::uint32_t>(seconds / kSecondsPerDay) + kHorologDayOfUnixEpoch;
    const auto second = static_cast<std::uint32_t>(seconds % kSecondsPerDay);
    const std::size_t digits = decimalDigits(second);

    Utf16Digits out(appendText(*list, 6 + digits + (wholeSeconds ? 0 : 7)));
    out.put1(day / 10000);
    out.put4(day % 10000);
    out.put(',');
    out.putAll(second, digits);
    if (!wholeSeconds) {
        // The remainder of the instant itself, which is positive in this range.
        out.put('.');
        out.put6(static_cast<std::uint32_t>(*time % kTicksPerSecond) / 10);
    }
}

void UACExport::addAsUADateTime(VeltoList* list, const UA_DateTime* time) {
    *list += static_cast<long>(*time);
}

void UACExport::addAsUnixTime(VeltoList* /*list*/, const UA_DateTime* /*time*/) {
    throw UACErr(UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE,
                 "addAsUnixTime() method not implemented");
}

}  // namespace nimb
