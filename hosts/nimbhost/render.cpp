#include "nimbhost/render.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <vector>

#include "list/dump.h"
#include "list/item_payload.h"
#include "nimbhost/text_escape.h"

namespace nimb::standin {

namespace {

/// What stands around and in front of items.
struct Notation {
    const char* separator;
    const char* integer;
    const char* decimal;
    const char* text;
    const char* wideText;
    const char* real;
    const char* single;
    const char* undefined;
};

constexpr Notation kArguments{", ", "", "", "", "", "f:", "f32:", "null"};
constexpr Notation kTyped{" ", "i:", "d:", "s:", "", "f:", "f32:", "n"};

/// Deeper nesting shows as bytes: nobody reads it, and each level costs a pass over what is inside.
constexpr int kMaxDepth = 32;

std::string_view textOf(const ItemPayload& payload) {
    return {reinterpret_cast<const char*>(payload.bytes), payload.length};
}

/// Canonical text.
std::string decimalText(const DecimalValue& value) {
    if (value.mantissa == std::numeric_limits<long long>::min()) {  // dblstr has no digits for it
        return std::to_string(value.mantissa) + 'E' + std::to_string(value.exponent);
    }
    return VeltoROList::dblstr(static_cast<int>(value.exponent), value.mantissa);
}

template <typename Real>
std::string realText(Real value) {
    if (!std::isfinite(value)) {
        return std::isnan(value) ? "NaN" : value < 0 ? "-Infinity" : "Infinity";
    }
    char digits[40];
    return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
}

std::string wideText(const VeltoListItem& item, const Notation& notation) {
    std::string text = quoted(std::u16string_view(item.AsWString()));
    if (*notation.text != '\0') {
        text.insert(1, 1, ':');  // u"x" becomes u:"x", like the other prefixes
    }
    return text;
}

std::string byteText(const ItemPayload& payload, const Notation& notation) {
    return notation.text + quoted(textOf(payload));
}

std::string listText(const VeltoROList& list, const Notation& notation, Nesting nesting, int depth);

std::string itemText(const VeltoListItem& item, const Notation& notation, Nesting nesting,
                     int depth) {
    const ItemPayload payload(item);
    switch (payload.type) {
        case item_code::kUndefined:
            return notation.undefined;
        case item_code::kBytes:
            if (nesting == Nesting::guess && depth < kMaxDepth &&
                looksLikeList({payload.bytes, payload.length})) {
                return '[' + listText(item.AsVeltoROList(), notation, nesting, depth + 1) + ']';
            }
            return byteText(payload, notation);
        case item_code::kUnicode:
            return wideText(item, notation);
        case item_code::kPosInteger:
        case item_code::kNegInteger:
            return notation.integer + std::to_string(payload.integer());
        case item_code::kPosDecimal:
        case item_code::kNegDecimal:
            return notation.decimal + decimalText(payload.decimal());
        case item_code::kIeee:
            return payload.length == sizeof(float)
                       ? notation.single + realText(static_cast<float>(payload.ieee()))
                       : notation.real + realText(payload.ieee());
        default:
            throw std::exception();
    }
}

std::string listText(const VeltoROList& list, const Notation& notation, Nesting nesting,
                     int depth) {
    std::string out;
    for (const VeltoListItem item : list) {
        out += out.empty() ? "" : notation.separator;
        out += itemText(item, notation, nesting, depth);
    }
    return out;
}

bool plausible(const VeltoListItem& item) {
    const ItemPayload payload(item);
    const std::size_t content = payload.type == item_code::kUndefined ? 0 : payload.length + 1;
    if (item.size() != content + ItemHeader::bytesFor(content)) {
        return false;
    }
    constexpr std::size_t integerBytes = 8;
    switch (payload.type) {
        case item_code::kUndefined:
        case item_code::kBytes:
            return true;
        case item_code::kUnicode:
            return payload.length % 2 == 0;
        case item_code::kPosInteger:
        case item_code::kNegInteger:
            return payload.length <= integerBytes;
        case item_code::kPosDecimal:
        case item_code::kNegDecimal:
            return payload.length >= 1 && payload.length <= integerBytes + 1;
        case item_code::kIeee:
            return payload.length == sizeof(float) || payload.length == sizeof(double);
        default:
            return false;
    }
}

/// The texts with commas between them, as many in a line as fit; lists of lists, and what takes
/// several lines already, have lines of their own.
std::string filledLines(const std::vector<std::string>& texts, std::size_t indent,
                        std::size_t width) {
    const auto isList = [](const std::string& text) { return text[0] == '['; };
    const bool rows = std::all_of(texts.begin(), texts.end(), isList);
    std::string out;
    std::size_t column = indent;
    bool ownLine = false;
    for (const std::string& text : texts) {
        const bool tall = text.find('\n') != std::string::npos;
        if (&text != &texts.front()) {
            ownLine = ownLine || rows || tall || column + 2 + text.size() > width;
            out += ownLine ? ",\n" + std::string(indent, ' ') : ", ";
            column = ownLine ? indent : column + 2;
        }
        out += text;
        column += text.size();
        ownLine = tall;
    }
    return out;
}

}  // namespace

bool looksLikeList(std::span<const unsigned char> bytes) noexcept try {
    if (bytes.empty() || isPrintable({reinterpret_cast<const char*>(bytes.data()), bytes.size()})) {
        return false;
    }
    for (const VeltoListItem item : VeltoROList(bytes.data(), bytes.size())) {
        if (!plausible(item)) {
            return false;
        }
    }
    return true;
} catch (const std::exception&) {
    return false;  // what the list reader raises for bytes that do not add up
}

std::string describe(const VeltoROList& list, Nesting nesting) {
    return listText(list, kArguments, nesting, 0);
}

std::string typed(const VeltoROList& list, Nesting nesting) {
    return listText(list, kTyped, nesting, 0);
}

std::string describeItem(const VeltoListItem& item, Nesting nesting, std::size_t indent,
                         std::size_t width) {
    std::string line = itemText(item, kArguments, nesting, 0);
    if (line[0] != '[' || indent + line.size() <= width || indent > width / 2) {
        return line;
    }
    std::vector<std::string> inner;
    for (const VeltoListItem each : item.AsVeltoROList()) {
        inner.push_back(describeItem(each, nesting, indent + 1, width));
    }
    return '[' + filledLines(inner, indent + 1, width) + ']';
}

std::string hexDump(std::span<const unsigned char> bytes) {
    std::u16string dump;
    DumpByteArray(bytes.data(), bytes.size(), dump);
    return {dump.begin(), dump.end()};
}

}  // namespace nimb::standin
