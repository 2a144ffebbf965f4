#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "list/counted_byte_array.h"
#include "list/list_item.h"
#include "list/list_iterator.h"

namespace nimb {

class VeltoList;

/// A read-only view over an encoded list: the plain concatenation of its items, without a list
/// header, an item count or a terminator. Owns nothing; the bytes must outlive the view.
///
/// Items are found by walking headers. A cursor remembers where the last access ended, so that
/// reading arguments in ascending order costs one header step each. Cursor and count only speed up
/// access (hence mutable); the bytes are the whole state.
class VeltoROList {
  public:
    /// The empty list.
    VeltoROList() = default;
    /// A view over `length` bytes at `data`.
    VeltoROList(const unsigned char* data, std::uint64_t length) noexcept
        : data_(data), length_(length), cursorBytesLeft_(length) {}
    /// A view over the bytes of `bytes`.
    explicit VeltoROList(const CountedByteArray& bytes) noexcept
        : VeltoROList(bytes.data(), bytes.length()) {}
    /// A fresh view over the other's bytes; cursor and count start anew.
    VeltoROList(const VeltoROList& other) noexcept : VeltoROList(other.data_, other.length_) {}
    VeltoROList& operator=(const VeltoROList& other) noexcept;
    VeltoROList& operator=(const CountedByteArray& bytes) noexcept;
    virtual ~VeltoROList() = default;

    const unsigned char* data() const noexcept { return data_; }
    std::size_t datalength() const noexcept { return length_; }
    bool empty() const noexcept { return length_ == 0; }

    /// Number of items. Throws std::exception for malformed bytes.
    std::size_t size() const { return countKnown_ != 0 ? itemCount_ : countItems(); }

    /// Counts the items from the cursor on; those before it are known. Throws std::exception when
    /// the item sizes do not add up to the list's length.
    std::size_t countItems() const;

    /// Item `i`, or for `i` equal to the item count the position behind the last item. Throws
    /// std::exception beyond that and for malformed bytes on the way. What the item itself claims
    /// is not checked: arguments are read with at().
    VeltoListItem operator[](std::size_t i) const;

    /// Item `i`, which is there and lies wholly within the list; otherwise throws std::exception.
    /// Beyond operator[] because a missing or cut-off argument must never be read from the memory
    /// behind the list.
    VeltoListItem at(std::size_t i) const;

    VeltoListIterator begin() const noexcept { return {data_, this}; }
    VeltoListIterator end() const noexcept { return {data_ + length_, this}; }

    /// Makes this the empty list at the same address. A VeltoList keeps its buffer and capacity, so
    /// that one list can serve many calls without allocating again.
    void Reset() noexcept;

    /// The bytes of this list, not owned.
    CountedByteArray AsCountedByteArray() const noexcept { return {data_, length_}; }

    /// Bytes of the item at byte `offset` (less than the length). Throws std::exception when header
    /// or payload run past the end of the list.
    std::size_t checkedItemSize(std::size_t offset) const {
        if (offset < length_) {
            const std::size_t size = data_[offset];
            if (size != 0 && size <= length_ - offset) [[likely]] {
                return size;
            }
        }
        return checkedWideItemSize(offset);
    }

    /// @name Decimal numbers
    /// A decimal value is (exponent, mantissa) = mantissa x 10^exponent; decimal items carry
    /// exponents from -128 to 127. Text runs from unit `start` up to unit `end`; names ending in b
    /// read bytes, names ending in u little-endian 16-bit units at any alignment. None of these
    /// depends on the locale. Time is linear in the text, without allocation.
    /// @{

    /// Canonical text: no exponent, no leading zeros, none before the point, none trailing behind
    /// it ("-.05", "500"). The digits of the smallest 64-bit mantissa read "LONG64_MI":
    /// Compatibility C3.
    static std::string dblstr(int exponent, long long mantissa);
    /// Canonical text of an integer; the smallest 64-bit value reads "LONG64_MI".
    static std::string lngstr(long long value);
    /// The double nearest to the value; beyond the range of doubles an infinity or zero.
    static double dbl2dbl(int exponent, long long mantissa);
    /// The value cut to an integer toward zero, saturated to 64 bits.
    static long long dbllong(long exponent, long long mantissa) noexcept;
    /// The double's value cut to an integer toward zero. NaN and values outside 64 bits give the
    /// smallest integer, as the processor's conversion does.
    static long long ieee2long(double value) noexcept;

    /// The double nearest to the number at the start of the text; 0.0 where there is none. A point
    /// without a digit behind it makes the whole number 0.0. Throws std::exception when the digits
    /// of an exponent grow past 32 bits.
    static double parsedblb(const unsigned char* text, std::size_t start, std::size_t end);
    static double parsedblu(const unsigned char* text, std::size_t start, std::size_t end);

    /// Reads the number at the start of the text into `mantissa` and returns its exponent; 0 and 0
    /// where there is none. A positive exponent that was written is folded into the mantissa as far
    /// as 64 bits go. Integer digits beyond 64 bits raise the exponent, fraction digits beyond them
    /// are dropped. Never fails.
    static long parsenumb(const unsigned char* text, std::size_t start, std::size_t end,
                          long long& mantissa) noexcept;
    static long parsenumu(const unsigned char* text, std::size_t start, std::size_t end,
                          long long& mantissa) noexcept;

    /// Brings the exponent of a value into the range of decimal items without changing the value:
    /// large ones by multiplying the mantissa by 10, small ones by removing its trailing zeros.
    /// False when that is impossible; the value then stands as far as it came.
    static bool scale(long& exponent, long long& mantissa) noexcept;

    /// 10^0 to 10^18: divisors that cut decimal places away.
    static const long long s_rgscaletab[19];
    /// Units and tens digit of the numbers 0 to 99: two digits per division.
    static const char s_rgonestab[101];
    static const char s_rgtenstab[101];
    /// Its inner nine characters stand for the digits of the smallest 64-bit integer.
    static const char s_rglonglongmin[12];
    /// @}

  protected:
    /// Byte offset of item `i`, `length_` for the end. Leaves the cursor where it is.
    std::size_t find(std::size_t i) const;

    const unsigned char* data_ = nullptr;
    std::uint64_t length_ = 0;
    /// The cursor, counted back from the end: from itemCount_ and length_. An item that is added
    /// moves the cursor on by one item, as hosts' lists have always done it, and so leaves both as
    /// they are.
    mutable std::uint64_t cursorBytesLeft_ = 0;
    mutable std::uint64_t cursorItemsLeft_ = 0;
    mutable std::uint64_t itemCount_ = 0;
    /// Non-zero once a scan to the end has established itemCount_.
    mutable std::uint32_t countKnown_ = 0;

    std::uint64_t cursorIndex() const noexcept { return itemCount_ - cursorItemsLeft_; }
    std::uint64_t cursorOffset() const noexcept { return length_ - cursorBytesLeft_; }
    void setCursor(std::uint64_t index, std::uint64_t offset) const noexcept {
        cursorItemsLeft_ = itemCount_ - index;
        cursorBytesLeft_ = length_ - offset;
    }
    /// Leaves the cursor on its item.
    void setItemCount(std::uint64_t count) const noexcept {
        cursorItemsLeft_ += count - itemCount_;
        itemCount_ = count;
    }
    /// Leaves the cursor at its offset.
    void setLength(std::uint64_t length) noexcept {
        cursorBytesLeft_ += length - length_;
        length_ = length;
    }

  private:
    friend class VeltoList;

    void view(const unsigned char* data, std::uint64_t length) noexcept;
    std::size_t walkTo(std::size_t i) const;
    VeltoListItem checkedItem(std::size_t i) const;
    std::size_t checkedWideItemSize(std::size_t offset) const;
    bool cursorUsable() const noexcept { return cursorBytesLeft_ <= length_; }
};

inline VeltoListItem VeltoListIterator::operator*() const {
    list_->checkedItemSize(static_cast<std::size_t>(item_ - list_->data()));
    return VeltoListItem(item_);
}

inline VeltoListIterator& VeltoListIterator::operator++() {
    item_ += list_->checkedItemSize(static_cast<std::size_t>(item_ - list_->data()));
    return *this;
}

inline VeltoROList VeltoListItem::AsVeltoROList() const {
    const unsigned char* payload = nullptr;
    std::size_t length = 0;
    getType(payload, length);
    return {payload, length};
}

inline std::size_t VeltoROList::find(std::size_t i) const {
    if (i == 0) {
        return 0;
    }
    return cursorUsable() && i == cursorIndex() ? cursorOffset() : walkTo(i);
}

inline VeltoListItem VeltoROList::operator[](std::size_t i) const {
    const std::size_t offset = find(i);
    setCursor(i, offset);
    return VeltoListItem(data_ + offset);
}

inline VeltoListItem VeltoROList::at(std::size_t i) const {
    if (i == 0) {
        checkedItemSize(0);
        setCursor(0, 0);
        return VeltoListItem(data_);
    }
    // The item behind the cursor's, both of them short: the way arguments are read.
    const std::uint64_t left = cursorBytesLeft_;
    if (i + cursorItemsLeft_ == itemCount_ + 1 && left - 1 < length_) {
        const unsigned char* item = data_ + (length_ - left);
        const std::size_t size = item[0];
        if (size != 0 && size < left && item[size] != 0 && item[size] <= left - size) [[likely]] {
            cursorBytesLeft_ = left - size;
            --cursorItemsLeft_;
            return VeltoListItem(item + size);
        }
    }
    return checkedItem(i);
}

}  // namespace nimb
