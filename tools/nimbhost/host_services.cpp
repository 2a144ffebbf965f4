#include "nimbhost/host_services.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "host/counted_string.h"

namespace nimb::standin {

namespace {

void fill(HostText* text, std::u16string_view units) {
    text->length = static_cast<std::uint16_t>(units.copy(text->data, HostText::capacity));
}

int messageTexts(long code, HostText* message, HostText* detail) {
    if (code <= 0) {
        return 1;
    }
    const std::string digits = std::to_string(code);
    fill(message, u"Host error " + std::u16string(digits.begin(), digits.end()));
    fill(detail, u"as the stand-in words it");
    return 0;
}

void releaseDescriptor(HostDescriptor* descriptor) {
    std::free(descriptor->data);
    *descriptor = {0, nullptr};
}

int obtainBuffer(HostDescriptor* descriptor, int size) {
    if (size <= 0) {
        return 0;
    }
    const auto bytes = static_cast<unsigned int>(size);
    descriptor->data = static_cast<unsigned char*>(std::calloc(bytes, 1));
    descriptor->length = descriptor->data == nullptr ? 0 : bytes;
    return descriptor->data == nullptr ? 0 : 1;
}

void refuse() {
    std::fputs("nimbhost: the library called a host function that it must not call\n", stderr);
    std::abort();
}

template <typename Function>
HostFunction asSlot(Function* function) {
    return reinterpret_cast<HostFunction>(function);
}

std::array<HostFunction, 128> makeTable() {
    std::array<HostFunction, 128> table;
    table.fill(refuse);
    table[9] = asSlot(messageTexts);
    table[117] = asSlot(releaseDescriptor);
    table[118] = asSlot(obtainBuffer);
    return table;
}

}  // namespace

HostFunction* hostFunctionTable() noexcept {
    static std::array<HostFunction, 128> table = makeTable();
    return table.data();
}

Descriptor::~Descriptor() { releaseDescriptor(&descriptor_); }

}  // namespace nimb::standin
