// Items as host dates.

#include <exception>

#include "list/item_payload.h"
#include "list/list_item.h"
#include "list/number_text.h"
#include "list/ro_list.h"

namespace nimb {

namespace {

/// Host days count from 1840-12-31; this one is 1970-01-01.
constexpr unsigned long long kUnixEpochDay = 47117;
constexpr unsigned long long kSecondsPerDay = 86400;

/// Unsigned, because hosts may send any number and the arithmetic is to wrap.
long long unixSeconds(long long day, long long second) noexcept {
    return static_cast<long long>((static_cast<unsigned long long>(day) - kUnixEpochDay) *
                                      kSecondsPerDay +
                                  static_cast<unsigned long long>(second));
}

template <typename Text>
long long wholeNumber(Text text, std::size_t start, std::size_t end) noexcept {
    const auto number = number_text::parseNumber(text, start, end);
    return VeltoROList::dbllong(number.exponent, number.mantissa);
}

/// "day" or "day,second".
template <typename Text>
long long readDate(Text text, std::size_t length) noexcept {
    std::size_t comma = 0;
    while (comma < length && text[comma] != ',') {
        ++comma;
    }
    return unixSeconds(wholeNumber(text, 0, comma),
                       comma < length ? wholeNumber(text, comma + 1, length) : 0);
}

}  // namespace

long long VeltoListItem::AsDateTime() const {
    const ItemPayload payload(*this);
    switch (payload.type) {
        case item_code::kUndefined:
            return 0;
        case item_code::kBytes:
            return readDate(number_text::Bytes{payload.bytes}, payload.length);
        case item_code::kUnicode:
            return readDate(number_text::Units{payload.bytes}, payload.evenUnits());
        case item_code::kPosInteger:
        case item_code::kNegInteger:
            return unixSeconds(payload.integer(), 0);
        case item_code::kPosDecimal:
        case item_code::kNegDecimal: {
            const DecimalValue value = payload.decimal();
            return unixSeconds(VeltoROList::dbllong(value.exponent, value.mantissa), 0);
        }
        case item_code::kIeee:
            return unixSeconds(VeltoROList::ieee2long(payload.ieee()), 0);
        default:
            throw std::exception();
    }
}

}  // namespace nimb
