#include "base/text.h"

#include "convert/utf.h"

namespace nimb::host {

namespace {

std::size_t sequenceLength(unsigned char first) {
    return first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

}  // namespace

bool isUtf8(std::string_view bytes) { return utf16Length(bytes).has_value(); }

std::string printable(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const std::string_view next =
            bytes.substr(0, sequenceLength(static_cast<unsigned char>(bytes.front())));
        const bool valid = isUtf8(next);
        text += valid ? next : "?";
        bytes.remove_prefix(valid ? next.size() : 1);
    }
    return text;
}

std::optional<std::string> textOf(const VeltoListItem& item) {
    if (item.Type() != item_code::kUnicode) {
        std::string text = item.AsAString();
        return isUtf8(text) ? std::optional(std::move(text)) : std::nullopt;
    }
    const std::u16string units = item.AsXString();
    const std::optional<std::size_t> length = utf8Length(units);
    if (!length) {
        return std::nullopt;
    }
    std::string text(*length, '\0');
    writeUtf8(units, text.data());
    return text;
}

}  // namespace nimb::host
