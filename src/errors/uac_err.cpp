#include "errors/uac_err.h"

#include <algorithm>
#include <cstdio>

#include "list/ro_list.h"

namespace nimb {

UACErr UACErr::formatted(UACERR_TYPE kind, long code, const char* format, std::va_list arguments) {
    char buffer[kMaxText + 1] = {};
    std::vsnprintf(buffer, sizeof buffer, format, arguments);
    UACErr error(kind, code);
    error.text = buffer;
    return error;
}

UACErr::UACErr(UACERR_TYPE errorKind, long errorCode, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    *this = formatted(errorKind, errorCode, format, arguments);
    va_end(arguments);
}

UACErr::UACErr(const VeltoROList* list)
    : kind(UACERR_UNKNOWN), code(kGeneralCode), text("VeltoList:") {
    constexpr std::size_t kShown = 100;
    text += UAC_GetHexDebugString(list->data(), std::min<std::size_t>(kShown, list->datalength()));
}

UACErr UACErr::opcua(unsigned int statusCode, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    UACErr error = formatted(UACERR_OPCUA, long{statusCode}, format, arguments);
    va_end(arguments);
    return error;
}

UACErr UACErr::client(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    UACErr error = formatted(UACERR_CLIENT, kGeneralCode, format, arguments);
    va_end(arguments);
    return error;
}

UACErr UACErr::unknown(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    UACErr error = formatted(UACERR_UNKNOWN, kGeneralCode, format, arguments);
    va_end(arguments);
    return error;
}

UACErr clientResetRequired() { return {UACERR_APPLICATION, APPERR_OTHER, "Client reset required"}; }

std::string UAC_GetHexDebugString(const unsigned char* bytes, std::size_t count) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(3 * count);
    for (std::size_t i = 0; i < count; ++i) {
        text += ' ';
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 0xF];
    }
    return text;
}

}  // namespace nimb
