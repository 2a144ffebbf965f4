#include "callout/result_writer.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "errors/error_list.h"
#include "list/velto_list.h"

namespace nimb {

namespace {

/// The encoded integer 0, written ahead of the results rather than inserted into them: a poll's
/// results would otherwise be moved once more.
constexpr std::string_view kSuccess("\x02\x04", 2);

void writeOutput(std::string_view head, const VeltoROList& list, HostBytes* out) {
    const std::size_t length = (head.size() + list.datalength()) & 0xFFFF;
    if (length > HostBytes::capacity) {
        return;
    }
    const std::string_view written = head.substr(0, length);
    unsigned char* end = std::copy(written.begin(), written.end(), out->data);
    if (length > written.size()) {
        std::memcpy(end, list.data(), length - written.size());
    }
    out->length = static_cast<std::uint16_t>(length);
}

/// Apart from the way that calls mostly take, which needs neither its stack buffers nor the stack
/// protector that comes with them.
[[gnu::noinline]] void writeFailure(const UACErr& error, VeltoList& results, HostBytes* out) {
    results.Reset();
    UAC_GetErrorList(error, results);
    writeOutput({}, results, out);
}

}  // namespace

void UAC_MakeReturnValue(const UACErr& error, VeltoList& results, HostBytes* out,
                         bool statusPresent) {
    if (out == nullptr) {
        return;
    }
    if (error.code != 0) {
        writeFailure(error, results, out);
        return;
    }
    writeOutput(statusPresent ? std::string_view() : kSuccess, results, out);
}

void writeFailureWithoutMemory(HostBytes* out, const char* tag) noexcept {
    if (out == nullptr) {
        return;
    }
    constexpr std::string_view numbers("\x03\x04\x01\x03\x04\x07\x03\x04\x0A", 9);
    constexpr std::string_view head = "Unknown Error : ";
    constexpr std::size_t maxTag = 100;  // keeps the text in a short item
    const std::string_view tail = std::string_view(tag).substr(0, maxTag);
    unsigned char* at = std::copy(numbers.begin(), numbers.end(), out->data);
    *at++ = static_cast<unsigned char>(2 + 2 * (head.size() + tail.size()));
    *at++ = 2;  // UTF-16
    for (const std::string_view part : {head, tail}) {
        for (const char c : part) {
            *at++ = static_cast<unsigned char>(c);
            *at++ = 0;
        }
    }
    out->length = static_cast<std::uint16_t>(at - out->data);
}

}  // namespace nimb
