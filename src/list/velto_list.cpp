#include "list/velto_list.h"

#include <cstdlib>
#include <exception>
#include <limits>
#include <new>
#include <utility>

namespace nimb {

namespace {

/// Buffer sizes for up to 512 bytes, by the number of begun 32-byte steps.
constexpr std::size_t kSmallSizes[] = {0,   32,  64,  128, 128, 256, 256, 256, 256,
                                       512, 512, 512, 512, 512, 512, 512, 512};
constexpr std::size_t kSmallLimit = 513;
constexpr std::size_t kLargeStep = 1024;

}  // namespace

VeltoList::VeltoList(std::size_t capacity) { VeltoList::ensureBuffer(capacity); }

VeltoList::VeltoList(const unsigned char* data, std::size_t length) {
    VeltoList::ensureBuffer(length);
    replaceBytes(data, length);
}

VeltoList::VeltoList(const CountedByteArray& bytes) : VeltoList(bytes.data(), bytes.length()) {}

/// A copy takes the cursor and count along, which hold for the same bytes: a copy of a list under
/// construction can go on being appended to.
VeltoList::VeltoList(const VeltoROList& other) : VeltoList(other.data(), other.datalength()) {
    takeCursor(other);
}

VeltoList::VeltoList(const VeltoList& other) : VeltoList(static_cast<const VeltoROList&>(other)) {}

VeltoList::VeltoList(VeltoList&& other) noexcept { swap(other); }

/// Assigning by way of a copy serves views over this list's own bytes too.
VeltoList& VeltoList::operator=(const VeltoROList& other) {
    if (this != &other) {
        VeltoList copy(other);
        swap(copy);
    }
    return *this;
}

VeltoList& VeltoList::operator=(const VeltoList& other) {
    return *this = static_cast<const VeltoROList&>(other);
}

VeltoList& VeltoList::operator=(VeltoList&& other) noexcept {
    swap(other);
    return *this;
}

VeltoList::~VeltoList() { std::free(bytes()); }

void VeltoList::ensureBuffer(std::size_t needed) {
    if (capacity_ >= needed) {
        return;
    }
    if (needed > SIZE_MAX - kLargeStep) {
        throw std::bad_alloc();
    }
    const std::size_t capacity = needed < kSmallLimit
                                     ? kSmallSizes[(needed + 31) / 32]
                                     : (needed + kLargeStep - 1) / kLargeStep * kLargeStep;
    void* buffer = std::realloc(bytes(), capacity);
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    data_ = static_cast<unsigned char*>(buffer);
    capacity_ = capacity;
}

void VeltoList::setList(const unsigned char* data, std::size_t length) {
    if (!ownsAddress(data)) {
        ensureBuffer(length);
    }
    replaceBytes(data, length);
}

void VeltoList::replaceBytes(const unsigned char* data, std::size_t length) noexcept {
    if (length != 0) {
        std::memmove(bytes(), data, length);
    }
    setLength(length);
}

void VeltoList::clear() noexcept {
    std::free(bytes());
    data_ = nullptr;
    capacity_ = 0;
    Reset();
}

void VeltoList::appendList(const VeltoROList& other) {
    const std::size_t added = other.length_;
    if (added == 0) {
        return;
    }
    if (ownsAddress(other.data_)) {
        appendList(VeltoList(other));
        return;
    }
    if (added > SIZE_MAX - length_) {
        throwTooLarge();
    }
    ensureBuffer(length_ + added);
    std::memcpy(bytes() + length_, other.data_, added);
    // Where both lists were built by appending, the cursor stays at the end.
    const bool cursorHolds = cursorBytesLeft_ == 0 && other.cursorBytesLeft_ == 0;
    length_ += added;
    itemCount_ += other.itemCount_;
    if (countKnown_ == 0 || other.countKnown_ == 0) {
        countKnown_ = 0;
    }
    if (cursorHolds) {
        cursorItemsLeft_ += other.cursorItemsLeft_;
    } else {
        forgetCursor();
    }
}

std::size_t VeltoList::writeHeader(unsigned char* at, std::size_t content) noexcept {
    if (content < ItemHeader::kShortLimit) {
        at[0] = static_cast<unsigned char>(content + 1);
        return ItemHeader::kShortBytes;
    }
    at[0] = 0;
    if (content < ItemHeader::kMediumLimit) {
        std::memcpy(at + 1, &content, 2);
        return ItemHeader::kMediumBytes;
    }
    at[1] = 0;
    at[2] = 0;
    std::memcpy(at + 3, &content, 4);
    return ItemHeader::kLongBytes;
}

void VeltoList::makeRoom(std::size_t most) {
    if (most > SIZE_MAX - length_) {
        throwTooLarge();
    }
    ensureBuffer(length_ + most);
}

std::size_t VeltoList::makeItemSlow(std::size_t position, std::size_t content) {
    if (position > length_) {
        throw std::exception();
    }
    if (content > kMaxContent) {
        throwTooLarge();
    }
    const std::size_t size = ItemHeader::bytesFor(content) + content;
    if (size > SIZE_MAX - length_) {
        throwTooLarge();
    }
    ensureBuffer(length_ + size);
    unsigned char* item = bytes() + position;
    std::memmove(item + size, item, length_ - position);
    const std::size_t headerBytes = writeHeader(item, content);
    countItem(size);
    return position + headerBytes;
}

unsigned char* VeltoList::appendItemSlow(unsigned char type, std::size_t payloadLength) {
    if (payloadLength >= kMaxContent) {
        throwTooLarge();
    }
    const std::size_t at = makeItem(length_, payloadLength + 1);
    unsigned char* typeByte = bytes() + at;
    *typeByte = type;
    return typeByte + 1;
}

void VeltoList::throwTooLarge() { throw std::bad_alloc(); }

VeltoListIterator VeltoList::erase(VeltoListIterator where) {
    const std::size_t position = offsetOf(where);
    if (position < length_) {
        const std::size_t size = checkedItemSize(position);
        unsigned char* item = bytes() + position;
        std::memmove(item, item + size, length_ - position - size);
        setLength(length_ - size);
        if (countKnown_ != 0) {
            setItemCount(itemCount_ - 1);
        }
        if (cursorOffset() > position) {
            setCursor(0, 0);
        }
    }
    return {data_ + position, this};
}

std::size_t VeltoList::offsetOf(VeltoListIterator where) const {
    return static_cast<std::size_t>(where.position() - data_);
}

void VeltoList::takeCursor(const VeltoROList& other) noexcept {
    cursorItemsLeft_ = other.cursorItemsLeft_;
    cursorBytesLeft_ = other.cursorBytesLeft_;
    itemCount_ = other.itemCount_;
    countKnown_ = other.countKnown_;
}

/// A place outside any list: it stays so when items are added, and the next access starts at item
/// 0.
void VeltoList::forgetCursor() noexcept {
    cursorItemsLeft_ = 0;
    cursorBytesLeft_ = std::numeric_limits<std::uint64_t>::max() / 2;
    itemCount_ = 0;
    countKnown_ = 0;
}

void VeltoList::swap(VeltoList& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(length_, other.length_);
    std::swap(cursorItemsLeft_, other.cursorItemsLeft_);
    std::swap(cursorBytesLeft_, other.cursorBytesLeft_);
    std::swap(itemCount_, other.itemCount_);
    std::swap(countKnown_, other.countKnown_);
    std::swap(capacity_, other.capacity_);
}

}  // namespace nimb
