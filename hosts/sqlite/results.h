#pragma once

#include <exception>
#include <optional>
#include <string>

#include "base/value.h"
#include "sqlite/api.h"
#include "sqlite/sessions.h"

namespace nimb::sqlite {

void resultText(sqlite3_context* context, const std::string& text);

/// NULL for no time, else "2026-11-21T19:45:17.4999600Z".
void resultTime(sqlite3_context* context, const std::optional<host::Ticks>& time);

/// Booleans are 0 and 1, a UInt64 from 2^63 on is its digits as text, byte strings are blobs,
/// arrays and values of several parts are JSON. SQLite makes NULL of NaN.
void resultValue(sqlite3_context* context, const host::Value& value);

/// The text of an argument, as bytes that SQLite takes for UTF-8.
std::string textOf(sqlite3_value* value);

/// A copy of the text in SQLite's memory, with '?' for what is no UTF-8; null without memory.
char* errorText(const char* text) noexcept;

/// Puts the text in place of a table's error message.
void setError(sqlite3_vtab* table, const char* text) noexcept;

/// Runs a method of a table; whatever it throws becomes the table's error.
template <typename Method>
int guarded(sqlite3_vtab* table, Method method) noexcept {
    try {
        return method();
    } catch (const std::bad_alloc&) {
        return SQLITE_NOMEM;
    } catch (const std::exception& error) {
        setError(table, error.what());
        return SQLITE_ERROR;
    }
}

/// The same for a method that makes a table, which has none to keep the message.
template <typename Method>
int guardedCreation(char** message, Method method) noexcept {
    try {
        return method();
    } catch (const std::bad_alloc&) {
        return SQLITE_NOMEM;
    } catch (const std::exception& error) {
        *message = errorText(error.what());
        return SQLITE_ERROR;
    }
}

/// Runs what gives up a session or something that may be the last to hold one.
template <typename Method>
int guardedEnd(Method method) noexcept {
    try {
        const Gate gate;
        method();
    } catch (const std::exception&) {  // after a fork: the sessions are the parent's
    }
    return SQLITE_OK;
}

}  // namespace nimb::sqlite
