#include "errors/error_names.h"

namespace nimb {

namespace {

/// Indexed by UACERR_TYPE. The second name is cut short: Compatibility C10.
constexpr const char* kKindNames[] = {
    "No Error",     "Incomplete w/o Err", "Application Error", "Callin Error",
    "OPC-UA Error", "Client Error",       "Server Error",      "Unknown Error",
};

constexpr const char* kUndefinedApplicationError = "Undefined error";

/// Indexed by ApplicationError.
constexpr const char* kApplicationErrorNames[] = {
    "No error",
    "Client instance not found, Bad handle",
    "Not connected",
    "Unsupported SSL version",
    "Bad node id",
    "Variant conversion error",
    "Data type not supported",
    "Client found but uninitialized",
    kUndefinedApplicationError,  // file errors say what they are in their own text
    "Other error",
};

}  // namespace

const char* simpleErrorCodeName(long kind) { return nameAt(kKindNames, kind, "Undefined Error"); }

const char* applicationErrorName(long code) {
    return nameAt(kApplicationErrorNames, code, kUndefinedApplicationError);
}

}  // namespace nimb
