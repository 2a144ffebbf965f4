// Typed access to items: every accessor takes every item type.

#include <bit>
#include <charconv>
#include <exception>
#include <limits>

#include "list/item_payload.h"
#include "list/list_item.h"
#include "list/number_text.h"
#include "list/ro_list.h"

namespace nimb {

namespace {

constexpr long kMax32 = std::numeric_limits<int>::max();
constexpr long kMin32 = std::numeric_limits<int>::min();
constexpr long long kMax64 = std::numeric_limits<long long>::max();
constexpr long long kMin64 = std::numeric_limits<long long>::min();

/// An item other than floating point as exponent and mantissa.
DecimalValue readNumber(const ItemPayload& payload) {
    DecimalValue value;
    switch (payload.type) {
        case item_code::kUndefined:
            return value;
        case item_code::kBytes:
            value.exponent =
                VeltoROList::parsenumb(payload.bytes, 0, payload.length, value.mantissa);
            return value;
        case item_code::kUnicode:
            value.exponent =
                VeltoROList::parsenumu(payload.bytes, 0, payload.evenUnits(), value.mantissa);
            return value;
        case item_code::kPosInteger:
        case item_code::kNegInteger:
            value.mantissa = payload.integer();
            return value;
        case item_code::kPosDecimal:
        case item_code::kNegDecimal:
            return payload.decimal();
        default:
            throw std::exception();
    }
}

long saturate32(long long value) noexcept {
    return value > kMax32 ? kMax32 : value < kMin32 ? kMin32 : value;
}

long toLong(DecimalValue value) noexcept {
    constexpr long long kLimit = kMax32 / 10;
    if (value.exponent < 0) {
        return saturate32(VeltoROList::dbllong(value.exponent, value.mantissa));
    }
    long long product = saturate32(value.mantissa);
    if (product != value.mantissa || product == 0) {
        return product;
    }
    for (; value.exponent > 0; --value.exponent) {
        if (product > kLimit || product < -kLimit) {
            return product > 0 ? kMax32 : kMin32;
        }
        product *= 10;
    }
    return product;
}

/// Positive exponents give saturation values whatever the mantissa: Compatibility C4.
long long toLongLong(DecimalValue value) noexcept {
    if (value.exponent <= 0 || value.mantissa == 0) {
        return VeltoROList::dbllong(value.exponent, value.mantissa);
    }
    if (value.mantissa == number_text::kMantissaLimit && value.exponent == 1) {
        return value.mantissa * 10;
    }
    return value.mantissa >= number_text::kMantissaLimit ? kMax64 : kMin64;
}

/// 17 significant digits, as short as they go: the text of C's gcvt for any larger digit count.
std::string doubleText(double value) {
    char text[32];
    const auto end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, 17).ptr;
    return {text, end};
}

/// The text of a number item.
std::string numberText(const ItemPayload& payload) {
    switch (payload.type) {
        case item_code::kPosInteger:
        case item_code::kNegInteger:
            return VeltoROList::lngstr(payload.integer());
        case item_code::kPosDecimal:
        case item_code::kNegDecimal: {
            const DecimalValue value = payload.decimal();
            return VeltoROList::dblstr(static_cast<int>(value.exponent), value.mantissa);
        }
        case item_code::kIeee:
            return doubleText(payload.ieee());
        default:
            throw std::exception();
    }
}

template <typename String>
String narrowText(const VeltoListItem& item) {
    using Char = typename String::value_type;
    const ItemPayload payload(item);
    if (payload.type == item_code::kUndefined || payload.type == item_code::kBytes) {
        return String(reinterpret_cast<const Char*>(payload.bytes), payload.length);
    }
    if (payload.type == item_code::kUnicode) {
        String text(payload.length / 2, Char{});
        for (std::size_t i = 0; i < text.size(); ++i) {
            text[i] = static_cast<Char>(payload.bytes[2 * i]);
        }
        return text;
    }
    const std::string number = numberText(payload);
    return String(number.begin(), number.end());
}

}  // namespace

long VeltoListItem::AsLongOfAnyItem() const {
    const ItemPayload payload(*this);
    return payload.type == item_code::kIeee ? std::bit_cast<long>(payload.ieee())
                                            : toLong(readNumber(payload));
}

long long VeltoListItem::AsLongLongOfAnyItem() const {
    const ItemPayload payload(*this);
    return payload.type == item_code::kIeee ? std::bit_cast<long long>(payload.ieee())
                                            : toLongLong(readNumber(payload));
}

double VeltoListItem::AsDoubleOfAnyItem() const {
    const ItemPayload payload(*this);
    switch (payload.type) {
        case item_code::kBytes:
            return VeltoROList::parsedblb(payload.bytes, 0, payload.length);
        case item_code::kUnicode:
            return VeltoROList::parsedblu(payload.bytes, 0, payload.evenUnits());
        case item_code::kPosInteger:
        case item_code::kNegInteger:
            return static_cast<double>(payload.integer());
        case item_code::kPosDecimal:
        case item_code::kNegDecimal: {
            const DecimalValue value = payload.decimal();
            return VeltoROList::dbl2dbl(static_cast<int>(value.exponent), value.mantissa);
        }
        case item_code::kIeee:
            return payload.ieee();
        default:
            return 0.0;
    }
}

std::string VeltoListItem::AsAString() const { return narrowText<std::string>(*this); }

std::string_view VeltoListItem::AsAText(std::string& storage) const {
    const ItemPayload payload(*this);
    if (payload.type == item_code::kBytes) {
        return {reinterpret_cast<const char*>(payload.bytes), payload.length};
    }
    return storage = AsAString();
}

std::basic_string<unsigned char> VeltoListItem::AsUAString() const {
    return narrowText<std::basic_string<unsigned char>>(*this);
}

std::u16string VeltoListItem::AsWString() const {
    const ItemPayload payload(*this);
    if (payload.type == item_code::kUndefined || payload.type == item_code::kBytes) {
        return {payload.bytes, payload.bytes + payload.length};
    }
    if (payload.type == item_code::kUnicode) {
        return getUnicode(payload.bytes, payload.length);
    }
    const std::string number = numberText(payload);
    return {number.begin(), number.end()};
}

}  // namespace nimb
