#include <cstdint>
#include <limits>
#include <string_view>

#include "convert/odbc_date.h"
#include "convert/ua_export.h"
#include "convert/utf16_digits.h"
#include "errors/uac_err.h"
#include "list/velto_list.h"

namespace nimb {
namespace {

constexpr unsigned kHorologDayOfUnixEpoch = 47117;
/// Days from 1970-01-01 on that have a five-digit $HOROLOG day.
constexpr UA_DateTime kHorologDays = 100000 - kHorologDayOfUnixEpoch;

unsigned char* appendText(VeltoList& list, std::size_t characters) {
    return list.appendItem(item_code::kUnicode, 2 * characters);
}

void appendAscii(VeltoList& list, std::string_view text) {
    Utf16Digits out(appendText(list, text.size()));
    for (const char c : text) {
        out.put(c);
    }
}

std::size_t decimalDigits(std::uint32_t value) {
    std::size_t digits = 1;
    for (std::uint32_t limit = 10; value >= limit; limit *= 10) {
        ++digits;
    }
    return digits;
}

constexpr std::size_t kFractionPlaces = 7;

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// The integer at the front of the text as strtol reads it in the C locale (blanks, a sign, decimal
/// digits, saturation at 64 bits), cut to its low 32 bits. By hand, because strtol asks the locale
/// what a blank is. No digits give 0.
std::uint32_t leadingInteger(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && isBlank(text[i])) {
        ++i;
    }
    const bool negative = i < text.size() && text[i] == '-';
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
        ++i;
    }
    constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
    const std::uint64_t limit = negative ? largest + 1 : largest;
    std::uint64_t value = 0;
    for (; i < text.size() && isDigit(text[i]); ++i) {
        const auto digit = static_cast<std::uint64_t>(text[i] - '0');
        if (value > (limit - digit) / 10) {
            value = limit;
            break;
        }
        value = 10 * value + digit;
    }
    return static_cast<std::uint32_t>(negative ? 0 - value : value);
}

/// Ticks that the text behind the first point stands for: its leading integer f, scaled by the
/// characters (of any kind) that it is short of seven places, modulo a second. All in unsigned
/// 32-bit arithmetic: ".123456789" gives 3456789 and ".-5" the remainder of 2^32 - 500000
/// (Compatibility C26).
std::uint32_t fractionTicks(std::string_view text) {
    const std::size_t point = text.find('.');
    if (point == std::string_view::npos) {
        return 0;
    }
    text.remove_prefix(point + 1);
    std::uint32_t fraction = leadingInteger(text);
    for (std::size_t places = text.size(); places < kFractionPlaces; ++places) {
        fraction *= 10;
    }
    return fraction % static_cast<std::uint32_t>(kTicksPerSecond);
}

}  // namespace

void UACExport::addAsHorolog(VeltoList* list, const UA_DateTime* time, bool wholeSeconds) {
    // Wrapping; an instant that wraps is out of range either way.
    const auto sinceEpoch = static_cast<UA_DateTime>(static_cast<std::uint64_t>(*time) -
                                                     std::uint64_t{kUnixEpochTicks});
    // Division toward zero: the last second before 1970 counts as second 0, with its own fraction.
    const UA_DateTime seconds = sinceEpoch / kTicksPerSecond;
    if (seconds < 0 || seconds >= kHorologDays * kSecondsPerDay) {
        appendAscii(*list, "47117,0");  // Compatibility C25
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

void UACExport::read(long* out, const VeltoROList* args, int item, bool wholeSeconds) {
    const VeltoListItem value = args->at(static_cast<std::size_t>(item));
    // Hosts may send any number: unsigned, so that overflow wraps.
    std::uint64_t ticks = static_cast<std::uint64_t>(value.AsDateTime()) * kTicksPerSecond +
                          std::uint64_t{kUnixEpochTicks};
    if (!wholeSeconds) {
        ticks += fractionTicks(value.AsAString());
    }
    *out = static_cast<long>(ticks);
}

}  // namespace nimb
