#include "host/function_table.h"

namespace nimb {

void* nimbcallbackp = nullptr;
HostFunction* nimbfunctabp = nullptr;

namespace {

/// Positions in the host's function table, counted from 0.
enum Slot : std::size_t {
    messageTextsSlot = 9,
    releaseDescriptorSlot = 117,
    obtainBufferSlot = 118,
};

/// Hosts answer 0 for success.
using MessageTexts = int (*)(long code, HostText* message, HostText* detail);
using ReleaseDescriptor = void (*)(HostDescriptor*);
/// Hosts answer 0 when there is no buffer. Only the low 32 bits of the answer are defined.
using ObtainBuffer = int (*)(HostDescriptor*, int size);

template <typename Function>
Function functionAt(Slot slot) {
    return nimbfunctabp == nullptr ? nullptr : reinterpret_cast<Function>(nimbfunctabp[slot]);
}

}  // namespace

bool hostMessageTexts(long code, HostText& message, HostText& detail) {
    const auto messageTexts = functionAt<MessageTexts>(messageTextsSlot);
    return messageTexts != nullptr && messageTexts(code, &message, &detail) == 0;
}

void hostReleaseDescriptor(HostDescriptor* descriptor) {
    if (const auto release = functionAt<ReleaseDescriptor>(releaseDescriptorSlot)) {
        release(descriptor);
    }
}

bool hostObtainBuffer(HostDescriptor* descriptor, int size) {
    const auto obtain = functionAt<ObtainBuffer>(obtainBufferSlot);
    return obtain != nullptr && obtain(descriptor, size) != 0 && descriptor->data != nullptr;
}

}  // namespace nimb
