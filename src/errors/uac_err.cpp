#include "errors/uac_err.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "errors/hex_debug.h"
#include "list/ro_list.h"

namespace nimb {

UACErr::UACErr(UACERR_TYPE errorKind, long errorCode, const char* format, ...)
    : kind(errorKind), code(errorCode) {
    char buffer[kMaxText + 1] = {};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    text = buffer;
}

UACErr::UACErr(const VeltoROList* list) : kind(UACERR_UNKNOWN), code(10), text("VeltoList:") {
    constexpr std::size_t kShown = 100;
    text += UAC_GetHexDebugString(list->data(), std::min<std::size_t>(kShown, list->datalength()));
}

UACErr clientResetRequired() { return {UACERR_APPLICATION, APPERR_OTHER, "Client reset required"}; }

}  // namespace nimb
