#include "convert/string_convert.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "convert/ua_export.h"
#include "convert/utf.h"

namespace nimb {
namespace {

/// Room from malloc, never null: one byte where none are asked for.
UA_Byte* allocate(std::size_t bytes) {
    void* data = std::malloc(std::max<std::size_t>(bytes, 1));
    if (data == nullptr) {
        throw std::bad_alloc();
    }
    return static_cast<UA_Byte*>(data);
}

}  // namespace

UACErr invalidUtf8(std::string_view bytes) {
    // The bytes need not end in a zero; the precision bounds them.
    const auto length = static_cast<int>(std::min(bytes.size(), UACErr::kMaxText));
    return {UACERR_APPLICATION, APPERR_VARIANT_CONVERSION,
            "Error converting string from UTF-8 to UTF-16: '%.*s' [x]", length, bytes.data()};
}

std::string UACExport::UAString2AString(const UA_String* text) {
    return std::string(bytesOf(*text));
}

UA_String UACExport::AString2UAString(std::string* text) {
    if (text == nullptr) {
        return {0, nullptr};
    }
    return {std::strlen(text->c_str()), reinterpret_cast<UA_Byte*>(text->data())};
}

std::u16string UACExport::UAString2XString(const UA_String* text, void** /*extra*/) {
    const std::string_view bytes = bytesOf(*text);
    return orError(
        [&] {
            std::u16string result(bytes.size(), u'\0');
            const auto units = writeUtf16(bytes, reinterpret_cast<unsigned char*>(result.data()));
            if (!units) {
                throw invalidUtf8(bytes);
            }
            result.resize(*units);
            return result;
        },
        [] {
            return UACErr::unknown("Unknown error converting string from UTF-8 to UTF-16 [c16]");
        });
}

OwnedString UACExport::XString2UAString(const std::u16string* text, void** /*extra*/) {
    const auto bytes = utf8Length(*text);
    if (!bytes) {
        throw UACErr(UACERR_APPLICATION, APPERR_VARIANT_CONVERSION,
                     "Error converting string from UTF-16 to UTF-8 [x]");
    }
    try {
        OwnedString result(UA_String{*bytes, allocate(*bytes)});
        writeUtf8(*text, reinterpret_cast<char*>(result->data));
        return result;
    } catch (...) {
        throw UACErr::unknown("Unknown error converting string from UTF-16 to UTF-8 [c16]");
    }
}

}  // namespace nimb
