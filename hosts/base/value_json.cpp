#include <charconv>
#include <cmath>

#include "base/value.h"

namespace nimb::host {

namespace {

constexpr char kHex[] = "0123456789abcdef";

class Writer {
  public:
    std::string text() && { return std::move(out_); }

    void write(const Value& value) {
        std::visit([this](const auto& held) { put(held); },
                   static_cast<const Value::variant&>(value));
    }

  private:
    void put(std::monostate) { out_ += "null"; }
    void put(bool value) { out_ += value ? "true" : "false"; }
    void put(std::int64_t value) { out_ += std::to_string(value); }
    void put(std::uint64_t value) { out_ += std::to_string(value); }
    void put(Ticks value) { quote(isoText(value)); }

    void put(double value) {
        if (!std::isfinite(value)) {
            quote(std::isnan(value) ? "NaN" : value < 0 ? "-Infinity" : "Infinity");
            return;
        }
        char digits[32];
        const auto [end, error] = std::to_chars(digits, std::end(digits), value);
        out_.append(digits, end);
    }

    void put(const std::string& value) {
        if (value.find('\0') == std::string::npos) {
            quote(value);
        } else {
            put(Bytes{value});
        }
    }

    void put(const Bytes& value) {
        out_ += "{\"hex\":\"";
        for (const char c : value.data) {
            const auto byte = static_cast<unsigned char>(c);
            out_ += {kHex[byte >> 4], kHex[byte & 15]};
        }
        out_ += "\"}";
    }

    void put(const Array& array) {
        const char* separator = "[";
        for (const Value& element : array) {
            out_ += separator;
            write(element);
            separator = ",";
        }
        out_ += array.empty() ? "[]" : "]";
    }

    void put(const Record& record) {
        const char* separator = "{";
        for (const Field& field : record) {
            out_ += separator;
            quote(field.name);
            out_ += ':';
            write(field.value);
            separator = ",";
        }
        out_ += record.empty() ? "{}" : "}";
    }

    void quote(std::string_view text) {
        out_ += '"';
        for (const char c : text) {
            const auto byte = static_cast<unsigned char>(c);
            if (c == '"' || c == '\\') {
                out_ += {'\\', c};
            } else if (byte < 0x20) {
                out_ += "\\u00";
                out_ += {kHex[byte >> 4], kHex[byte & 15]};
            } else {
                out_ += c;
            }
        }
        out_ += '"';
    }

    std::string out_;
};

}  // namespace

std::string json(const Value& value) {
    Writer writer;
    writer.write(value);
    return std::move(writer).text();
}

}  // namespace nimb::host
