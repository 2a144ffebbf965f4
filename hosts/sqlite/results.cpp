#include "sqlite/results.h"

#include <cstdint>
#include <limits>
#include <new>

#include "base/text.h"

namespace nimb::sqlite {

namespace {

/// One overload for each kind of value.
struct Setter {
    sqlite3_context* context;

    void operator()(std::monostate) const { sqlite3_result_null(context); }
    void operator()(bool value) const { sqlite3_result_int(context, value ? 1 : 0); }
    void operator()(std::int64_t value) const { sqlite3_result_int64(context, value); }
    void operator()(std::uint64_t value) const {
        if (value <= std::numeric_limits<std::int64_t>::max()) {
            sqlite3_result_int64(context, static_cast<std::int64_t>(value));
        } else {
            resultText(context, std::to_string(value));
        }
    }
    void operator()(double value) const { sqlite3_result_double(context, value); }
    void operator()(const std::string& value) const { resultText(context, value); }
    void operator()(const host::Bytes& value) const {
        sqlite3_result_blob64(context, value.data.data(), value.data.size(), SQLITE_TRANSIENT);
    }
    void operator()(host::Ticks value) const { resultTime(context, value); }
    void operator()(const host::Array& value) const { resultText(context, json(value)); }
    void operator()(const host::Record& value) const { resultText(context, json(value)); }
};

}  // namespace

void resultText(sqlite3_context* context, const std::string& text) {
    sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void resultTime(sqlite3_context* context, const std::optional<host::Ticks>& time) {
    if (time) {
        resultText(context, isoText(*time));
    } else {
        sqlite3_result_null(context);
    }
}

void resultValue(sqlite3_context* context, const host::Value& value) {
    std::visit(Setter{context}, static_cast<const host::Value::variant&>(value));
}

std::string textOf(sqlite3_value* value) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return text == nullptr
               ? std::string()
               : std::string(text, static_cast<std::size_t>(sqlite3_value_bytes(value)));
}

char* errorText(const char* text) noexcept {
    try {
        return sqlite3_mprintf("%s", host::printable(text).c_str());
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void setError(sqlite3_vtab* table, const char* text) noexcept {
    sqlite3_free(table->zErrMsg);
    table->zErrMsg = errorText(text);
}

}  // namespace nimb::sqlite
