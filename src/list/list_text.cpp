// Text and byte items of the list builder.

#include <algorithm>
#include <string>

#include "list/velto_list.h"

namespace nimb {

std::size_t VeltoList::stuffBytesSlow(std::size_t position, unsigned char type, const void* data,
                                      std::size_t byteCount) {
    if (byteCount >= kMaxContent) {
        throwTooLarge();
    }
    const auto* source = static_cast<const unsigned char*>(data);
    if (ownsAddress(source)) {
        // Making room moves these bytes, so they are set aside first.
        const std::string copy(reinterpret_cast<const char*>(source), byteCount);
        return stuffBytesSlow(position, type, copy.data(), byteCount);
    }
    const std::size_t at = makeItem(position, byteCount + 1);
    bytes()[at] = type;
    if (byteCount != 0) {
        std::memcpy(bytes() + at + 1, source, byteCount);
    }
    return at;
}

std::size_t VeltoList::stuffUnicode(std::size_t position, const char16_t* units,
                                    std::size_t count) {
    if (count > kMaxContent / sizeof *units) {
        throwTooLarge();
    }
    return stuffBytes(position, item_code::kUnicode, units, count * sizeof *units);
}

std::size_t VeltoList::stuff(std::size_t position, const std::wstring& text) {
    return stuffBytes(position, item_code::kUnicode, text.data(), text.size() * sizeof(char16_t));
}

void VeltoList::appendXStringWithCompress(const char16_t* units, std::size_t count) {
    const auto isNarrow = [](char16_t unit) { return unit < 0x100; };
    if (!std::all_of(units, units + count, isNarrow)) {
        stuffUnicode(length_, units, count);
        return;
    }
    const auto narrow = [](char16_t unit) { return static_cast<unsigned char>(unit); };
    std::transform(units, units + count, appendItem(item_code::kBytes, count), narrow);
}

void VeltoList::appendXStringWithCompress(const char16_t* units, std::size_t count,
                                          unsigned char* scratch) {
    for (std::size_t i = 0; i < count; ++i) {
        if (units[i] >= 0x100) {
            stuffUnicode(length_, units, count);
            return;
        }
        scratch[i] = static_cast<unsigned char>(units[i]);
    }
    stuffByte(length_, scratch, count);
}

}  // namespace nimb
