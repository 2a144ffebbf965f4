#include "callout/arguments.h"

#include "callout/handle_map.h"
#include "client/opcua_client.h"

namespace nimb {

namespace {

VeltoROList viewOf(const HostBytes* input) noexcept {
    if (input == nullptr || input->length > HostBytes::capacity) [[unlikely]] {
        return {};
    }
    return {input->data, input->length};
}

}  // namespace

Arguments::Arguments(const HostBytes* input) noexcept : list_(viewOf(input)) {
    const unsigned char* item = list_.data();
    std::size_t left = list_.datalength();
    while (count_ < kMost && ItemHeader::fits(item, left)) {
        const std::size_t size = ItemHeader::read(item).itemSize();
        if (size > left) {
            break;
        }
        items_[count_++] = item;
        item += size;
        left -= size;
    }
}

OpcuaClient* clientOf(long handle) { return HandleMap<OpcuaClient>::getMap().find(handle); }

}  // namespace nimb
