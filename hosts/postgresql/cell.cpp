#include "postgresql/cell.h"

#include <charconv>
#include <cmath>
#include <iterator>

#include "base/text.h"

namespace nimb::postgresql {

using host::Value;

namespace {

constexpr std::int64_t kTicksOf2000 = 125911584000000000;

/// Microseconds since 2000. The last digit is cut off, also before 2000: rounding could make a
/// value later than it was.
std::int64_t microseconds(host::Ticks time) {
    const std::int64_t count = time.count - kTicksOf2000;
    return count / 10 - (count % 10 < 0 ? 1 : 0);
}

std::string realText(double value) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value < 0 ? "-Infinity" : "Infinity";
    char digits[32];
    return {digits, std::to_chars(digits, std::end(digits), value).ptr};
}

/// As PostgreSQL's input functions of the matching type take it.
std::string plainText(const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    if (const auto* real = std::get_if<double>(&value)) return realText(*real);
    if (const auto* time = std::get_if<host::Ticks>(&value)) {
        std::string text = isoText(*time);
        return text.erase(text.size() - 2, 1);  // the digit of 100 ns, which would be rounded
    }
    if (const auto* bytes = std::get_if<host::Bytes>(&value)) {
        const std::string quoted = json(*bytes);  // {"hex":"00ff"}
        return "\\x" + quoted.substr(8, quoted.size() - 10);
    }
    return json(value);
}

class ArrayLiteral {
  public:
    explicit ArrayLiteral(bool asJson) : asJson_(asJson) {}

    void write(const Value& value) {
        if (const auto* array = std::get_if<host::Array>(&value)) {
            const char* separator = "{";
            for (const Value& element : *array) {
                out_ += separator;
                write(element);
                separator = ",";
            }
            out_ += array->empty() ? "{}" : "}";
        } else if (value.isNull()) {
            out_ += "NULL";
        } else {
            quote(asJson_ ? json(value) : plainText(value));
        }
    }

    std::string text() && { return std::move(out_); }

  private:
    void quote(const std::string& element) {
        out_ += '"';
        for (const char c : element) {
            if (c == '"' || c == '\\') out_ += '\\';
            out_ += c;
        }
        out_ += '"';
    }

    bool asJson_;
    std::string out_;
};

std::string arrayLiteral(const Value& value, bool asJson) {
    ArrayLiteral literal(asJson);
    literal.write(value);
    return std::move(literal).text();
}

NimbCell textCell(NimbKind kind, std::string&& from, std::string& text) {
    NimbCell cell{};
    text = std::move(from);
    if (kind != NIMB_BYTES && text.find('\0') != std::string::npos) {
        cell.warning = "the text has a zero byte";
        return cell;
    }
    cell.kind = kind;
    cell.text = text.c_str();
    cell.length = text.size();
    return cell;
}

NimbCell scalarCell(const Value& value, std::string& text) {
    if (const auto* flag = std::get_if<bool>(&value)) return cellOf(*flag);
    if (const auto* integer = std::get_if<std::int64_t>(&value)) return cellOf(*integer);
    if (const auto* wide = std::get_if<std::uint64_t>(&value)) return cellOf(*wide);
    if (const auto* real = std::get_if<double>(&value)) return cellOf(*real);
    if (const auto* time = std::get_if<host::Ticks>(&value)) {
        return {NIMB_TIME, {.integer = microseconds(*time)}, nullptr, 0, nullptr};
    }
    if (const auto* bytes = std::get_if<host::Bytes>(&value)) {
        return textCell(NIMB_BYTES, std::string(bytes->data), text);
    }
    return textCell(NIMB_TEXT, plainText(value), text);
}

NimbCell anyCell(const Value& value, NimbForm form, std::string& text) {
    if (value.isNull()) return {};
    if (form == NIMB_FORM_JSON) return textCell(NIMB_TEXT, json(value), text);
    if (form == NIMB_FORM_TEXT) return textCell(NIMB_TEXT, plainText(value), text);
    if (!std::holds_alternative<host::Array>(value)) return scalarCell(value, text);
    return textCell(NIMB_ARRAY, arrayLiteral(value, form == NIMB_FORM_JSON_ARRAY), text);
}

}  // namespace

NimbCell cellOf(const Value& value, NimbForm form, std::string& text, host::Warning warning) {
    NimbCell cell = anyCell(value, form, text);
    if (warning != nullptr) cell.warning = warning;
    return cell;
}

Value valueOf(const NimbCell& cell) {
    switch (cell.kind) {
        case NIMB_BOOL:
            return Value(cell.boolean);
        case NIMB_INTEGER:
            return Value(cell.integer);
        case NIMB_UNSIGNED:
            return Value(cell.unsigned_integer);
        case NIMB_REAL:
            return Value(cell.real);
        case NIMB_TEXT:
            return Value(std::string(cell.text, cell.length));
        default:
            return {};
    }
}

Value fieldOf(NimbField field, const Sample& sample, const host::NodeId& node,
              const host::NodeInfo& info, host::Library& library) {
    const auto time = [](const std::optional<host::Ticks>& ticks) {
        return ticks ? Value(*ticks) : Value();
    };
    switch (field) {
        case NIMB_STATUS:
            return sample.status ? Value(std::int64_t{*sample.status}) : Value();
        case NIMB_STATUS_NAME:
            return sample.status ? Value(library.statusName(*sample.status)) : Value();
        case NIMB_SOURCE_TIME:
            return time(sample.sourceTime);
        case NIMB_SERVER_TIME:
            return time(sample.serverTime);
        case NIMB_NAME:
            return Value(info.name);
        case NIMB_NODE_FIELD:
            return Value(notation(node));
        case NIMB_TYPE:
            return Value(std::string(nameOf(info.type)));
        case NIMB_VALUE_FIELD:
            break;
    }
    return {};
}

}  // namespace nimb::postgresql
