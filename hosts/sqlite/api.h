#pragma once

#include <sqlite3ext.h>

/// SQLite hands its functions to an extension as a table; its header turns their names into
/// look-ups there. The pointer is set when the extension is loaded (extension.cpp).
extern "C" const sqlite3_api_routines* sqlite3_api;
