#include "list/ro_list.h"

#include <exception>

namespace nimb {

VeltoROList& VeltoROList::operator=(const VeltoROList& other) noexcept {
    if (this != &other) {
        view(other.data_, other.length_);
    }
    return *this;
}

VeltoROList& VeltoROList::operator=(const CountedByteArray& bytes) noexcept {
    view(bytes.data(), bytes.length());
    return *this;
}

void VeltoROList::view(const unsigned char* data, std::uint64_t length) noexcept {
    Reset();
    data_ = data;
    setLength(length);
}

void VeltoROList::Reset() noexcept {
    length_ = 0;
    cursorItemsLeft_ = 0;
    cursorBytesLeft_ = 0;
    itemCount_ = 0;
    countKnown_ = 0;
}

std::size_t VeltoROList::checkedWideItemSize(std::size_t offset) const {
    if (offset >= length_ || !ItemHeader::fits(data_ + offset, length_ - offset)) {
        throw std::exception();
    }
    const std::size_t size = ItemHeader::read(data_ + offset).itemSize();
    if (size > length_ - offset) {
        throw std::exception();
    }
    return size;
}

VeltoListItem VeltoROList::checkedItem(std::size_t i) const {
    const std::size_t offset = find(i);
    checkedItemSize(offset);
    setCursor(i, offset);
    return VeltoListItem(data_ + offset);
}

std::size_t VeltoROList::countItems() const {
    std::uint64_t count = cursorUsable() ? cursorIndex() : 0;
    std::size_t left = cursorUsable() ? cursorBytesLeft_ : length_;
    const unsigned char* item = data_ + (length_ - left);
    for (; left != 0; ++count) {
        // A short item, or one whose first byte 0 makes the largest size of all.
        std::size_t size = *item;
        if (size - 1 >= left) [[unlikely]] {
            size = checkedWideItemSize(length_ - left);
        }
        item += size;
        left -= size;
    }
    setItemCount(count);
    return count;
}

std::size_t VeltoROList::walkTo(std::size_t i) const {
    if (countKnown_ != 0 && i >= itemCount_) {
        if (i > itemCount_) {
            throw std::exception();
        }
        return length_;
    }
    const bool fromCursor = i > cursorIndex() && cursorUsable();
    std::size_t index = fromCursor ? cursorIndex() : 0;
    std::size_t offset = fromCursor ? cursorOffset() : 0;
    for (; offset < length_; ++index) {
        if (index == i) {
            return offset;
        }
        offset += checkedItemSize(offset);
    }
    if (countKnown_ == 0) {
        setItemCount(index);
        countKnown_ = 1;
    }
    if (i > index) {
        throw std::exception();
    }
    return offset;
}

}  // namespace nimb
