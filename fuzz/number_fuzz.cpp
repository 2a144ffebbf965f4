// Number text in both widths, against each other and against the standard library where both speak
// the same language.

#include <bit>
#include <charconv>
#include <exception>
#include <optional>
#include <string>

#include "input.h"
#include "list/velto_list.h"

namespace {

using nimb::VeltoList;
using nimb::VeltoROList;
using nimb::fuzz::require;

template <typename Parse>
std::optional<double> parsed(Parse parse) {
    try {
        return parse();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::string widened(const std::string& text) {
    std::string units;
    for (const char c : text) {
        units += {c, '\0'};
    }
    return units;
}

bool sameBits(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

/// Plain numbers: an optional minus, digits, perhaps a point with digits behind it, an exponent.
bool isPlain(const std::string& text) {
    const std::size_t point = text.find('.');
    const bool digitBehindPoint =
        point == std::string::npos ||
        (point + 1 < text.size() && text[point + 1] >= '0' && text[point + 1] <= '9');
    return digitBehindPoint && text.find_first_not_of("0123456789.eE+-") == std::string::npos;
}

void compareWithStandard(const std::string& text, double value) {
    double expected = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), expected);
    if (isPlain(text) && result.ec == std::errc() && result.ptr == text.data() + text.size()) {
        require(value == expected);
    }
}

void parse(const std::string& text, std::size_t start) {
    const std::string units = widened(text);
    const auto* bytes8 = reinterpret_cast<const unsigned char*>(text.data());
    const auto* bytes16 = reinterpret_cast<const unsigned char*>(units.data());
    long long mantissa8 = 0;
    long long mantissa16 = 0;
    const long exponent = VeltoROList::parsenumb(bytes8, start, text.size(), mantissa8);
    require(VeltoROList::parsenumu(bytes16, start, text.size(), mantissa16) == exponent);
    require(mantissa8 == mantissa16);
    VeltoROList::dbllong(exponent, mantissa8);
    long scaledExponent = exponent;
    long long scaledMantissa = mantissa8;
    VeltoROList::scale(scaledExponent, scaledMantissa);

    const auto narrow = parsed([&] { return VeltoROList::parsedblb(bytes8, start, text.size()); });
    const auto wide = parsed([&] { return VeltoROList::parsedblu(bytes16, start, text.size()); });
    require(narrow.has_value() == wide.has_value() && (!narrow || sameBits(*narrow, *wide)));
    if (narrow) {
        VeltoROList::ieee2long(*narrow);
        compareWithStandard(text.substr(start), *narrow);
    }
}

template <typename Text>
void append(const Text& text) {
    VeltoList list;
    try {
        list.appendDoubleString(text);
    } catch (const std::exception&) {
        require(list.empty());
        return;
    }
    require(list.size() == 1);
    const nimb::VeltoListItem item = list.at(0);
    item.AsLong();
    item.AsLongLong();
    const std::string kept = item.AsAString();
    // What is no decimal item stays text, also where no double can be read from it.
    require(parsed([&] { return item.AsDouble(); }).has_value() ||
            item.Type() == nimb::item_code::kBytes || item.Type() == nimb::item_code::kUnicode);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    parse(text, 0);
    parse(text, data[0] % size);
    append(text);
    append(std::u16string(data + 1, data + size));
    return 0;
}
