#include "list/nested_list.h"

#include <cstring>

namespace nimb {

void NestedList::widenHeader(std::size_t content) {
    if (content > VeltoList::kMaxContent) {
        VeltoList::throwTooLarge();
    }
    const std::size_t growth = ItemHeader::bytesFor(content) - ItemHeader::kShortBytes;
    parent_.ensureBuffer(parent_.length_ + growth);
    unsigned char* item = parent_.bytes() + start_;
    unsigned char* typeByte = item + ItemHeader::kShortBytes;
    std::memmove(typeByte + growth, typeByte, content);
    VeltoList::writeHeader(item, content);
    parent_.length_ += growth;
}

}  // namespace nimb
