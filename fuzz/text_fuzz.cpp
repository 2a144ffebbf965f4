// The escape decoder and the conversions between UTF-8 and UTF-16: any bytes, and what converts
// must come back the same.

#include <cstring>
#include <memory>
#include <string>

#include "convert/ua_export.h"
#include "convert/utf.h"
#include "errors/uac_err.h"
#include "input.h"

namespace {

using nimb::UACExport;
using nimb::fuzz::require;

/// Written into blocks of exactly the promised size, so that one unit too many is noticed.
void fromUtf8(std::string_view bytes) {
    const auto utf16 = std::make_unique<char16_t[]>(bytes.size());
    const auto units = nimb::writeUtf16(bytes, reinterpret_cast<unsigned char*>(utf16.get()));
    require(units == nimb::utf16Length(bytes));
    if (!units) {
        return;
    }
    const std::u16string_view text(utf16.get(), *units);
    require(nimb::utf8Length(text) == bytes.size());
    const auto back = std::make_unique<char[]>(bytes.size());
    nimb::writeUtf8(text, back.get());
    require(bytes == std::string_view(back.get(), bytes.size()));
}

void fromUtf16(const std::u16string& units) {
    const auto length = nimb::utf8Length(units);
    if (!length) {
        return;
    }
    const auto utf8 = std::make_unique<char[]>(*length);
    nimb::writeUtf8(units, utf8.get());
    require(nimb::utf16Length({utf8.get(), *length}) == units.size());
}

void throughStackStrings(const std::string& bytes, const std::u16string& units) {
    const UA_String borrowed = {bytes.size(),
                                reinterpret_cast<UA_Byte*>(const_cast<char*>(bytes.data()))};
    try {
        UACExport::UAString2AString(&borrowed);
        const std::u16string wide = UACExport::UAString2XString(&borrowed);
        const nimb::OwnedString back = UACExport::XString2UAString(&wide);
        require(UA_String_equal(back.get(), &borrowed));
    } catch (const nimb::UACErr&) {
        require(!nimb::utf16Length(bytes));
    }
    try {
        const nimb::OwnedString text = UACExport::XString2UAString(&units);
        require(text->data != nullptr && UACExport::UAString2XString(text.get()) == units);
    } catch (const nimb::UACErr&) {
        require(!nimb::utf8Length(units));
    }
    std::string copy = bytes;
    require(UACExport::AString2UAString(&copy).length <= bytes.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    std::u16string units(size / 2, u'\0');
    if (!units.empty()) {
        std::memcpy(units.data(), data, 2 * units.size());
    }
    fromUtf8({reinterpret_cast<const char*>(data), size});
    fromUtf16(units);
    throughStackStrings(bytes, units);
    try {
        const std::string decoded =
            UACExport::Escaped2UTF8(reinterpret_cast<const char*>(data), size);
        require(decoded.size() <= size);
    } catch (const nimb::UACErr&) {
        // half of a surrogate pair
    }
    return 0;
}
