#include "list/dump.h"

#include <algorithm>

namespace nimb {

namespace {

constexpr std::size_t kLineBytes = 16;
constexpr char16_t kHexDigits[] = u"0123456789ABCDEF";

void appendOffset(std::u16string& out, std::size_t offset) {
    int digits = 4;
    while (digits < 16 && offset >> (4 * digits) != 0) {
        ++digits;
    }
    while (digits-- > 0) {
        out += kHexDigits[offset >> (4 * digits) & 0xF];
    }
}

void appendLine(std::u16string& out, const unsigned char* line, std::size_t count) {
    for (std::size_t i = 0; i < kLineBytes; ++i) {
        if (i >= count) {
            out += u"** ";
            continue;
        }
        out += kHexDigits[line[i] >> 4];
        out += kHexDigits[line[i] & 0xF];
        out += i == 7 ? u':' : u' ';
    }
    out += u" : ";
    for (std::size_t i = 0; i < count; ++i) {
        const bool printable = line[i] >= 0x20 && line[i] < 0x7F;
        out += printable ? char16_t{line[i]} : u'?';
    }
    out += u'\n';
}

}  // namespace

void DumpByteArray(const unsigned char* bytes, std::size_t count, std::u16string& out) {
    out.clear();
    for (std::size_t offset = 0; offset < count; offset += kLineBytes) {
        appendOffset(out, offset);
        out += u": ";
        appendLine(out, bytes + offset, std::min(kLineBytes, count - offset));
    }
}

}  // namespace nimb
