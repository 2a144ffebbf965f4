#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "convert/ua_export.h"
#include "convert/utf.h"
#include "list/item_writer.h"

namespace nimb {

/// Room that the item of a text needs, in bytes or as UTF-16; 0, which no item needs, for one that
/// may be too long for an ItemWriter.
inline std::size_t shortTextRoom(std::string_view text) {
    const std::size_t most = 2 * text.size();  // one unit a byte
    return ItemWriter::fits(most) ? ItemWriter::kHeaderBytes + most : 0;
}

/// Whether texts in this string mode always have an item, invalid ones too.
inline bool textsCannotFail(int stringMode) {
    return stringMode == STRING_BYTES || stringMode == STRING_UTF16_OR_EMPTY;
}

/// Writes UTF-8 as UTF-16. False, and nothing written, when it is not valid.
[[gnu::always_inline]] inline bool writeShortUtf16(ItemWriter& items, std::string_view text) {
    const auto units = writeUtf16(text, items.nextPayload(2 * text.size()));
    if (units) {
        items.appendItem(item_code::kUnicode, 2 * *units);
    }
    return units.has_value();
}

/// Writes a text as UACExport::add() does, in a mode in which texts cannot fail. A character that
/// was cut off at the end is left out.
[[gnu::always_inline]] inline void writeShortText(ItemWriter& items, std::string_view text,
                                                  int stringMode) {
    if (stringMode != STRING_BYTES) {
        if (writeShortUtf16(items, text)) {
            return;
        }
        text = withoutCutCharacter(text);
        if (!text.empty() && writeShortUtf16(items, text)) {
            return;
        }
        text = {};
    }
    unsigned char* payload = items.appendItem(item_code::kBytes, text.size());
    if (!text.empty()) {
        std::memcpy(payload, text.data(), text.size());
    }
}

}  // namespace nimb
