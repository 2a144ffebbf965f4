#include "errors/host_message.h"

#include <algorithm>
#include <memory>

#include "host/function_table.h"

namespace nimb {

namespace {

/// The host states how much it wrote; it cannot have written more than the buffer holds.
std::u16string_view written(const HostText& text) {
    return {text.data, std::min<std::size_t>(text.length, HostText::capacity)};
}

}  // namespace

std::u16string GetVeltoErrMsg(const long& code, std::u16string_view defaultText) {
    // 64 KiB each: too much for the stack of an unknown host thread.
    const auto message = std::make_unique<HostText>();
    const auto detail = std::make_unique<HostText>();
    if (!hostMessageTexts(code, *message, *detail) || written(*message).empty()) {
        return std::u16string(defaultText);
    }
    std::u16string text(written(*message));
    text += u' ';
    text += written(*detail);
    return text;
}

}  // namespace nimb
