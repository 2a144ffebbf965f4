#pragma once

#include <open62541/types.h>

#include <cstdio>
#include <string>

#include "errors/status_code_descs.h"
#include "testbed/host.h"

// The failure lists of the library as nimbhost shows them.
namespace nimb::test {

inline std::string applicationError(int code, const std::string& text = "") {
    constexpr const char* names[] = {"No error",
                                     "Client instance not found, Bad handle",
                                     "Not connected",
                                     "Unsupported SSL version",
                                     "Bad node id",
                                     "Variant conversion error",
                                     "Data type not supported",
                                     "Client found but uninitialized",
                                     "Undefined error",
                                     "Other error",
                                     "Undefined error"};
    return failure(2, code,
                   "Application Error [" + std::to_string(code) + "] : " + names[code] +
                       (text.empty() ? "" : " : " + text));
}

/// A kind 4 failure: the name and meaning of its code, and its own text cut at 99 bytes.
inline std::string statusError(unsigned code, const std::string& text = "") {
    char head[64];
    std::snprintf(head, sizeof head, "OPC UA Error 0x%X  [%s] ", code, UA_StatusCode_name(code));
    const char* meaning = UAC_GetLongFormStatusCodeDescription(code);  // the table has a test
    return failure(4, code,
                   std::string(head) + (meaning == nullptr ? "" : meaning) +
                       (text.empty() ? "" : " : " + text.substr(0, 99)));
}

/// The failure of a foreign exception, or another of kind 5 to 7 and code 10.
inline std::string unknownError(const std::string& text, int kind = 7) {
    return failure(kind, 10, "Unknown Error : " + text);
}

/// A connect of a client that needs a set-up; polls that check their handle say [ps] instead.
inline std::string resetDue(const std::string& tag = " [c]") {
    return failure(1, 9, "Info / No Error : Client reset required" + tag);
}

inline const std::string badHandle = applicationError(1);
inline const std::string uninitialized = applicationError(7);
inline const std::string resetRequired = applicationError(9, "Client reset required");
inline const std::string inconsistentLists = applicationError(9, "Inconsistent input list lengths");

inline std::string closedConnection(const std::string& text) {
    return statusError(UA_STATUSCODE_BADCONNECTIONCLOSED, text);
}
inline std::string cannotConnect(const std::string& url) {
    return "Unable to connect to '" + url + "'";
}

}  // namespace nimb::test
