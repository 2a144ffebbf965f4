#include "client/url_secret.h"

#include <open62541/util.h>

#include "convert/string_convert.h"
#include "convert/ua_export.h"

namespace nimb {

namespace {

/// Whether the stack finds a host in the URL that is free of a user's part. What comes behind it
/// may hold an "@".
bool hasPlainHost(std::string url) {
    const UA_String whole = UACExport::AString2UAString(&url);
    UA_String host = UA_STRING_NULL;
    UA_UInt16 port = 0;
    return UA_parseEndpointUrl(&whole, &host, &port, nullptr) == UA_STATUSCODE_GOOD &&
           bytesOf(host).find('@') == std::string_view::npos;
}

}  // namespace

std::string withoutSecret(std::string_view url) {
    const std::size_t end = url.rfind('@');
    if (end == std::string_view::npos || hasPlainHost(std::string(url))) {
        return std::string(url);
    }
    constexpr std::string_view mark = "://";
    const std::size_t scheme = url.find(mark);
    const std::size_t begin = scheme < end ? scheme + mark.size() : 0;
    const std::size_t colon = url.find(':', begin);
    std::string masked(url.substr(0, colon < end ? colon + 1 : begin));
    masked += "***";
    return masked += url.substr(end);
}

}  // namespace nimb
