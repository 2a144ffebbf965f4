#include "base/write.h"

#include <cfloat>
#include <cmath>
#include <limits>
#include <optional>

#include "base/text.h"

namespace nimb::host {

namespace {

struct Range {
    std::int64_t least;
    std::int64_t greatest;
};

template <typename Number>
constexpr Range rangeOf() {
    return {std::numeric_limits<Number>::min(), std::numeric_limits<Number>::max()};
}

std::optional<Range> integerRange(Type type) {
    switch (type) {
        case Type::sByte:
            return rangeOf<std::int8_t>();
        case Type::byte:
            return rangeOf<std::uint8_t>();
        case Type::int16:
            return rangeOf<std::int16_t>();
        case Type::uInt16:
            return rangeOf<std::uint16_t>();
        case Type::int32:
            return rangeOf<std::int32_t>();
        case Type::uInt32:
        case Type::statusCode:
            return rangeOf<std::uint32_t>();
        case Type::int64:
            return rangeOf<std::int64_t>();
        default:
            return std::nullopt;
    }
}

bool isWritableType(Type type) {
    return integerRange(type) || type == Type::singleFloat || type == Type::doubleFloat ||
           type == Type::string;
}

std::int64_t integerOf(const Value& value, Type type) {
    constexpr double limit = 9223372036854775808.0;
    std::optional<std::int64_t> number;
    if (const auto* integer = std::get_if<std::int64_t>(&value)) {
        number = *integer;
    } else if (const auto* wide = std::get_if<std::uint64_t>(&value)) {
        if (std::in_range<std::int64_t>(*wide)) number = static_cast<std::int64_t>(*wide);
    } else if (const auto* real = std::get_if<double>(&value)) {
        if (*real != std::trunc(*real)) throw Refusal("the node takes whole numbers only");
        if (*real >= -limit && *real < limit) number = static_cast<std::int64_t>(*real);
    } else {
        throw Refusal("the node takes a whole number");
    }
    const Range range = *integerRange(type);
    if (!number || *number < range.least || *number > range.greatest) {
        throw OutOfRange(std::string("the number is out of the range of ") + nameOf(type));
    }
    return *number;
}

double realOf(const Value& value, Type type) {
    double number = 0;
    if (const auto* real = std::get_if<double>(&value)) {
        number = *real;
    } else if (const auto* integer = std::get_if<std::int64_t>(&value)) {
        number = static_cast<double>(*integer);
    } else if (const auto* wide = std::get_if<std::uint64_t>(&value)) {
        number = static_cast<double>(*wide);
    } else {
        throw Refusal("the node takes a number");
    }
    if (type == Type::singleFloat && std::isfinite(number) && std::abs(number) > FLT_MAX) {
        throw OutOfRange("the number is out of the range of Float");
    }
    return number;
}

const std::string& textOf(const Value& value) {
    constexpr std::size_t most = 30000;  // leaves room for the node among the arguments
    const auto* text = std::get_if<std::string>(&value);
    if (text == nullptr) throw Refusal("the node takes a text");
    if (!isUtf8(*text)) throw Refusal("the text is no UTF-8");
    if (text->size() > most) throw Refusal("the text is longer than 30000 bytes");
    return *text;
}

}  // namespace

const char* Write::obstacle(const NodeInfo& info) noexcept {
    if (info.nodeClass == 0) return "there is no such node";
    if (info.nodeClass != 2) return "the node is no variable";
    if (!info.writable) return "the server does not let this user write the node";
    if (info.rank >= 0) return "arrays cannot be written";
    return isWritableType(info.type) ? nullptr : "values of its type cannot be written";
}

Write::Write(const NodeId& node, const NodeInfo& info, const Value& value) {
    if (const char* reason = obstacle(info)) {
        throw Refusal(reason);
    }
    if (value.isNull()) {
        throw Refusal("there is no value to write");
    }
    if (info.type == Type::string) {
        arguments_ += textOf(value);
    } else if (integerRange(info.type)) {
        arguments_ += integerOf(value, info.type);
    } else {
        arguments_.appendIEEE64(realOf(value, info.type));
    }
    constexpr int valueAttribute = 13;
    arguments_ += static_cast<int>(info.type) - 1;  // entries count types from 0
    if (node.isText()) {
        arguments_ += node.text;
    } else {
        arguments_ += std::int64_t{node.number};
    }
    arguments_ += int{node.nameSpace};
    arguments_ += identifierType(node);
    arguments_ += valueAttribute;
}

}  // namespace nimb::host
