#include "base/services.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace nimb::host {

namespace {

/// The counted string of 16-bit units that slot 9 fills.
struct Text {
    std::uint16_t length;
    char16_t data[nimb_string_capacity];
};

int messageTexts(long code, Text* message, Text* detail) {
    if (code <= 0) {
        return 1;
    }
    constexpr std::u16string_view head = u"Host error ";
    char16_t digits[20];
    char16_t* first = std::end(digits);
    for (; code > 0; code /= 10) {
        *--first = static_cast<char16_t>(u'0' + code % 10);
    }
    char16_t* end = std::copy(head.begin(), head.end(), message->data);
    end = std::copy(first, std::end(digits), end);
    message->length = static_cast<std::uint16_t>(end - message->data);
    detail->length = 0;
    return 0;
}

void releaseDescriptor(nimb_descriptor* descriptor) {
    std::free(descriptor->data);
    *descriptor = {0, nullptr};
}

int obtainBuffer(nimb_descriptor* descriptor, int size) {
    if (size <= 0) {
        return 0;
    }
    const auto bytes = static_cast<unsigned int>(size);
    descriptor->data = static_cast<unsigned char*>(std::calloc(bytes, 1));
    descriptor->length = descriptor->data == nullptr ? 0 : bytes;
    return descriptor->data == nullptr ? 0 : 1;
}

template <typename Function>
nimb_function asSlot(Function* function) {
    return reinterpret_cast<nimb_function>(function);
}

/// The library promises to call no other slot; null there makes a breach a plain crash at the spot.
std::array<nimb_function, 119> makeTable() {
    std::array<nimb_function, 119> table{};
    table[9] = asSlot(messageTexts);
    table[117] = asSlot(releaseDescriptor);
    table[118] = asSlot(obtainBuffer);
    return table;
}

}  // namespace

nimb_function* services() noexcept {
    static std::array<nimb_function, 119> table = makeTable();
    return table.data();
}

Descriptor::~Descriptor() { releaseDescriptor(&descriptor_); }

}  // namespace nimb::host
