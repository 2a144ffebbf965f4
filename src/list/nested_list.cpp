#include "list/nested_list.h"

#include <cstring>

namespace nimb {

void NestedList::writeHeader(std::size_t content) {
    if (content > VeltoList::kMaxContent) {
        VeltoList::throwTooLarge();
    }
    const std::size_t needed = ItemHeader::bytesFor(content);
    if (needed != headerBytes_) {
        parent_.ensureBuffer(start_ + needed + content);
        unsigned char* item = parent_.bytes() + start_;
        std::memmove(item + needed, item + headerBytes_, content);
        parent_.length_ = start_ + needed + content;
    }
    VeltoList::writeHeader(parent_.bytes() + start_, content);
}

}  // namespace nimb
