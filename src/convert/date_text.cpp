#include <cstdint>
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

}  // namespace

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
