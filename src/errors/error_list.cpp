#include "errors/error_list.h"

#include <open62541/types.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string>
#include <string_view>

#include "errors/error_names.h"
#include "errors/host_message.h"
#include "errors/status_code_descs.h"
#include "list/velto_list.h"

namespace nimb {

namespace {

/// Room for the numbered heads with their terminating zero; longer ones are cut: Compatibility C8.
constexpr std::size_t kHeadSize = 30;

/// One unit a byte by sign extension, so that 0x80 to 0xFF become 0xFF80 to 0xFFFF: Compatibility
/// C9.
void appendWidened(std::u16string& text, std::string_view bytes) {
    const std::size_t begin = text.size();
    text.resize(begin + bytes.size());
    std::transform(bytes.begin(), bytes.end(), text.begin() + static_cast<std::ptrdiff_t>(begin),
                   [](char byte) { return static_cast<char16_t>(static_cast<signed char>(byte)); });
}

void appendApplicationHead(std::u16string& text, long code) {
    char digits[kHeadSize];
    const char* const end = std::to_chars(digits, digits + sizeof digits, code).ptr;
    appendWidened(text, "Application Error [");
    appendWidened(text, {digits, end});
    appendWidened(text, "] : ");
    text.resize(std::min(text.size(), kHeadSize - 1));
    appendWidened(text, applicationErrorName(code));
}

void appendStatusCodeHead(std::u16string& text, long code) {
    const auto statusCode = static_cast<UA_StatusCode>(code);
    char head[kHeadSize];
    std::snprintf(head, sizeof head, "OPC UA Error 0x%X ", statusCode);
    appendWidened(text, head);
    appendWidened(text, " [");
    appendWidened(text, UA_StatusCode_name(statusCode));
    appendWidened(text, "] ");
    if (const char* description = UAC_GetLongFormStatusCodeDescription(statusCode)) {
        appendWidened(text, description);
    }
}

std::u16string composeText(const UACErr& error) {
    constexpr std::size_t mostTexts = 160;
    std::u16string text;
    text.reserve(mostTexts);
    switch (error.kind) {
        case UACERR_NONE:
            break;
        case UACERR_INCOMPLETE:
            appendWidened(text, "Info / No Error");
            break;
        case UACERR_APPLICATION:
            appendApplicationHead(text, error.code);
            break;
        case UACERR_CALLIN:
            text = GetVeltoErrMsg(error.code, u"Unknown callin error");
            break;
        case UACERR_OPCUA:
            appendStatusCodeHead(text, error.code);
            break;
        case UACERR_CLIENT:
        case UACERR_SERVER:
        case UACERR_UNKNOWN:
        default:
            appendWidened(text, "Unknown Error");
            break;
    }
    if (!error.text.empty()) {
        appendWidened(text, " : ");
        appendWidened(text, error.text);
    }
    return text;
}

}  // namespace

void UAC_GetErrorList(const UACErr& error, VeltoList& list) {
    list += 1;
    list += static_cast<int>(error.kind);
    list += static_cast<long long>(error.code);
    list += composeText(error);
}

}  // namespace nimb
