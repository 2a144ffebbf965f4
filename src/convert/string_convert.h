#pragma once

#include <open62541/types.h>

#include <string_view>

#include "errors/uac_err.h"

namespace nimb {

/// The bytes of a stack string; a string without data is empty whatever length it claims.
inline std::string_view bytesOf(const UA_String& text) {
    if (text.data == nullptr) {
        return {};
    }
    return {reinterpret_cast<const char*>(text.data), text.length};
}

/// The error for bytes that are not UTF-8; quotes them as far as an error text reaches.
[[nodiscard]] UACErr invalidUtf8(std::string_view bytes);

}  // namespace nimb
