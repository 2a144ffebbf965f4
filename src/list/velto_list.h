#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "list/integer_bytes.h"
#include "list/ro_list.h"

namespace nimb {

static_assert(std::endian::native == std::endian::little && sizeof(long) == 8,
              "items are written as they lie in memory");

class NestedList;

/// Tag value that appends the undefined item.
class VeltoNull {};

/// Builds an encoded list in one growing buffer that it owns.
///
/// Every stuff... operation inserts an item at a byte position, which must be an item boundary (the
/// list's length appends), and returns the byte position of its type byte. Items and iterators
/// taken from the list dangle once it grows. Errors: std::bad_alloc when memory or the 32-bit item
/// length is exhausted, std::exception for a position behind the end; the list is then unchanged.
class VeltoList : public VeltoROList {
  public:
    /// What writes a nested list in place, for templates that write to an ItemWriter too.
    using Nested = NestedList;

    /// The empty list, without a buffer.
    VeltoList() = default;
    /// The empty list with room for `capacity` bytes.
    explicit VeltoList(std::size_t capacity);
    /// Copies of encoded bytes.
    VeltoList(const unsigned char* data, std::size_t length);
    explicit VeltoList(const CountedByteArray& bytes);
    explicit VeltoList(const VeltoROList& other);
    VeltoList(const VeltoList& other);
    VeltoList(VeltoList&& other) noexcept;
    VeltoList& operator=(const VeltoROList& other);
    VeltoList& operator=(const VeltoList& other);
    VeltoList& operator=(VeltoList&& other) noexcept;
    ~VeltoList() override;

    /// Makes room for at least `needed` bytes in all: powers of two up to 512, multiples of 1024
    /// beyond. Keeps buffer and capacity when it fails. The one place that allocates.
    virtual void ensureBuffer(std::size_t needed);

    std::size_t capacity() const noexcept { return capacity_; }

    /// Replaces the bytes. Cursor and count stay as they are: Reset() first where they matter.
    void setList(const unsigned char* data, std::size_t length);
    /// Releases the buffer; the list is empty.
    void clear() noexcept;
    /// Splices the other list's items onto the end. A cursor at the end follows when the other's
    /// stands at its end too, as both do while lists are only appended to.
    void appendList(const VeltoROList& other);

    /// Makes room for an item with `content` bytes behind its header at byte `position`, writes
    /// the header and returns the position of the type byte, which the caller fills together with
    /// the payload. Moves cursor and count on by one item wherever the item goes: a cursor before
    /// `position` is left pointing further on.
    std::size_t makeItem(std::size_t position, std::size_t content) {
        if (position == length_ && content < ItemHeader::kShortLimit &&
            content < capacity_ - length_) [[likely]] {
            bytes()[position] = static_cast<unsigned char>(content + 1);
            countItem(content + ItemHeader::kShortBytes);
            return position + ItemHeader::kShortBytes;
        }
        return makeItemSlow(position, content);
    }

    /// Appends an item of the given type with room for `payloadLength` bytes and returns the
    /// payload's address, to be filled before the list is used again. Lets converters write values
    /// in place, without a temporary and without a call unless the buffer must grow.
    unsigned char* appendItem(unsigned char type, std::size_t payloadLength) {
        return hasRoomForShort(payloadLength) ? appendShort(type, payloadLength)
                                              : appendItemSlow(type, payloadLength);
    }

    /// @name Undefined and text items
    /// @{
    std::size_t stuffNull(std::size_t position) { return makeItem(position, 0); }
    void appendEmptyItem() { stuffNull(length_); }
    std::size_t stuffByte(std::size_t position, const unsigned char* data, std::size_t count) {
        return stuffBytes(position, item_code::kBytes, data, count);
    }
    std::size_t stuffAscii(std::size_t position, const char* text, std::size_t count) {
        return stuffBytes(position, item_code::kBytes, text, count);
    }
    std::size_t stuffAscii(std::size_t position, const std::string& text) {
        return stuffAscii(position, text.data(), text.size());
    }
    std::size_t stuffUnicode(std::size_t position, const char16_t* units, std::size_t count);
    std::size_t stuffUnicode(std::size_t position, const std::u16string& text) {
        return stuffUnicode(position, text.data(), text.size());
    }
    void appendAChars(const char* text, std::size_t count) { stuffAscii(length_, text, count); }
    void appendAChars(const unsigned char* text, std::size_t count) {
        stuffByte(length_, text, count);
    }
    /// 16-bit text as it is.
    void appendXChars(const char16_t* units, std::size_t count) {
        stuffUnicode(length_, units, count);
    }
    /// 16-bit text, as 8-bit text where every unit is below 256.
    void appendXStringWithCompress(const char16_t* units, std::size_t count);
    /// The same through `scratch`, which has room for `count` bytes. Kept for callers that hold
    /// such a buffer; the narrowed bytes are left in it.
    void appendXStringWithCompress(const char16_t* units, std::size_t count,
                                   unsigned char* scratch);
    void appendStringWithCompress(const char16_t* units, std::size_t count) {
        appendXStringWithCompress(units, count);
    }
    void appendStringWithCompress(const std::u16string& text) {
        appendXStringWithCompress(text.data(), text.size());
    }
    void appendStringWithCompress(const char* text, std::size_t count) {
        stuffAscii(length_, text, count);
    }
    void appendStringWithCompress(const unsigned char* text, std::size_t count) {
        stuffByte(length_, text, count);
    }
    void appendStringWithCompress(const std::string& text) { stuffAscii(length_, text); }
    /// @}

    /// @name Number items
    /// Integers take the fewest bytes, with one exception: see negLongBytes. A value of the wrong
    /// sign is stored as the writer's empty item (0 or -1).
    /// @{
    std::size_t stuffPosInt(std::size_t position, int value) {
        return stuffPosLong(position, value);
    }
    std::size_t stuffNegInt(std::size_t position, int value);
    std::size_t stuffPosLong(std::size_t position, long long value) {
        return stuffInteger(position, item_code::kPosInteger, value, posBytes(value));
    }
    std::size_t stuffNegLong(std::size_t position, long long value);
    /// Decimal items mantissa x 10^exponent; the exponent keeps its low 8 bits.
    std::size_t stuffPosNum(std::size_t position, int exponent, long long mantissa);
    std::size_t stuffNegNum(std::size_t position, int exponent, long long mantissa);
    /// The double as an integer or decimal item: exact where a 63-bit mantissa can be, otherwise to
    /// 17 digits; as text where a decimal item's exponent is exceeded. Throws std::exception for
    /// infinities and NaN. Both zeros become the integer 0.
    std::size_t stuffDouble(std::size_t position, double value);
    /// Number text as an integer or decimal item if one holds it exactly, otherwise as the text.
    std::size_t stuffDouble(std::size_t position, const std::string& text);
    void appendDoubleString(const std::string& text) { stuffDouble(length_, text); }
    void appendDoubleString(const std::u16string& text);
    std::size_t stuffIEEE64(std::size_t position, double value);
    std::size_t stuffIEEE32(std::size_t position, float value);
    void appendIEEE64(double value) {
        std::memcpy(appendItem(item_code::kIeee, sizeof value), &value, sizeof value);
    }
    void appendIEEE32(float value) {
        std::memcpy(appendItem(item_code::kIeee, sizeof value), &value, sizeof value);
    }
    /// The address as a non-negative integer; one with the top bit set is stored as 0.
    void appendPtr(const void* address) {
        stuffPosLong(length_, std::bit_cast<long long>(address));
    }
    /// @}

    /// @name The item for a value
    /// One overload per type that operator+=, insert and operator+ accept.
    /// @{

    /// A nested list: one 8-bit item holding the list's bytes.
    std::size_t stuff(std::size_t position, const VeltoROList& list) {
        return stuffByte(position, list.data(), list.datalength());
    }
    std::size_t stuff(std::size_t position, const CountedByteArray& data) {
        return stuffByte(position, data.data(), data.length());
    }
    std::size_t stuff(std::size_t position, const std::string& text) {
        return stuffAscii(position, text);
    }
    std::size_t stuff(std::size_t position, const std::basic_string<unsigned char>& text) {
        return stuffByte(position, text.data(), text.size());
    }
    std::size_t stuff(std::size_t position, const std::u16string& text) {
        return stuffUnicode(position, text);
    }
    /// size() 16-bit units from the start of the string's storage: hosts' wide strings are 16-bit,
    /// so with 32-bit wchar_t the second half of the characters is lost.
    std::size_t stuff(std::size_t position, const std::wstring& text);
    std::size_t stuff(std::size_t position, VeltoNull) { return stuffNull(position); }
    std::size_t stuff(std::size_t position, int value) {
        return value < 0 ? stuffNegInt(position, value) : stuffPosInt(position, value);
    }
    std::size_t stuff(std::size_t position, long value) {
        return value < 0 ? stuffNegLong(position, value) : stuffPosLong(position, value);
    }
    std::size_t stuff(std::size_t position, long long value) {
        return value < 0 ? stuffNegLong(position, value) : stuffPosLong(position, value);
    }
    /// Values from 2^63 on are stored as 0.
    std::size_t stuff(std::size_t position, unsigned long value) {
        return stuffPosLong(position, static_cast<long long>(value));
    }
    std::size_t stuff(std::size_t position, double value) { return stuffDouble(position, value); }
    /// One-byte text.
    std::size_t stuff(std::size_t position, char value) { return stuffAscii(position, &value, 1); }
    /// @}

    /// Appends the item for `value`. Inlined by force, because the way that integers and short
    /// texts take is shorter than a call.
    template <typename T>
    [[gnu::always_inline]] VeltoList& operator+=(const T& value) {
        if constexpr (std::signed_integral<T> && sizeof(T) >= sizeof(int)) {
            if (capacity_ - length_ >= kIntegerRoom) [[likely]] {
                const unsigned char type =
                    value < 0 ? item_code::kNegInteger : item_code::kPosInteger;
                const long long wide = value;
                std::memcpy(appendShort(type, integerBytes(value)), &wide, sizeof wide);
                return *this;
            }
        }
        stuff(length_, value);
        return *this;
    }

    /// Inserts the item for `value` at `where`. Returns the same byte position, which now denotes
    /// the new item; other iterators are invalid.
    template <typename T>
    VeltoListIterator insert(VeltoListIterator where, const T& value) {
        const std::size_t position = offsetOf(where);
        stuff(position, value);
        return {data_ + position, this};
    }

    /// Removes the item at `where`; nothing at the end. Returns the same position, which now
    /// denotes the following item. Throws std::exception when the item runs past the list's end.
    VeltoListIterator erase(VeltoListIterator where);

  private:
    friend class ItemWriter;
    friend class NestedList;
    template <typename T>
    friend VeltoList operator+(const VeltoROList& list, const T& value);

    /// Bytes behind a header, bounded by its 32-bit form.
    static constexpr std::size_t kMaxContent = 0xFFFFFFFF;

    /// The buffer, which came from realloc and is writable; the view holds it as const.
    unsigned char* bytes() noexcept { return const_cast<unsigned char*>(data_); }

    void countItem(std::size_t itemSize) noexcept {
        length_ += itemSize;
        ++itemCount_;
    }

    /// Header and type of a short item, and those of an integer that is stored with all its bytes.
    static constexpr std::size_t kShortHead = ItemHeader::kShortBytes + 1;
    static constexpr std::size_t kIntegerRoom = kShortHead + sizeof(long long);

    bool hasRoomForShort(std::size_t payloadLength) const noexcept {
        return payloadLength < ItemHeader::kShortLimit - 1 &&
               payloadLength + kShortHead <= capacity_ - length_;
    }

    /// Appends header and type of a short item that there is room for and returns the payload's
    /// address. Counts before it writes: any byte that is written may be a member's, for all that
    /// the compiler knows, which would then be read again.
    unsigned char* appendShort(unsigned char type, std::size_t payloadLength) noexcept {
        unsigned char* item = bytes() + length_;
        countItem(payloadLength + kShortHead);
        item[0] = static_cast<unsigned char>(payloadLength + kShortHead);
        item[1] = type;
        return item + kShortHead;
    }

    unsigned char* appendItemSlow(unsigned char type, std::size_t payloadLength);

    /// The list's end, with room for `most` bytes there.
    unsigned char* roomFor(std::size_t most) {
        if (capacity_ - length_ < most) [[unlikely]] {
            makeRoom(most);
        }
        return bytes() + length_;
    }
    /// Takes over what was written from there up to `end`.
    void takeAppended(const unsigned char* end, std::size_t items) noexcept {
        length_ = static_cast<std::uint64_t>(end - data_);
        itemCount_ += items;
    }
    void makeRoom(std::size_t most);

    std::size_t makeItemSlow(std::size_t position, std::size_t content);
    static std::size_t writeHeader(unsigned char* at, std::size_t content) noexcept;
    [[noreturn]] static void throwTooLarge();

    std::size_t stuffBytes(std::size_t position, unsigned char type, const void* data,
                           std::size_t byteCount) {
        if (position == length_ && hasRoomForShort(byteCount) && byteCount != 0 &&
            !ownsAddress(static_cast<const unsigned char*>(data))) [[likely]] {
            std::memcpy(appendShort(type, byteCount), data, byteCount);
            return position + ItemHeader::kShortBytes;
        }
        return stuffBytesSlow(position, type, data, byteCount);
    }
    std::size_t stuffBytesSlow(std::size_t position, unsigned char type, const void* data,
                               std::size_t byteCount);
    std::size_t stuffInteger(std::size_t position, unsigned char type, long long value,
                             std::size_t count);
    std::size_t stuffDecimal(std::size_t position, unsigned char type, int exponent,
                             long long mantissa, std::size_t count);
    /// An integer item for exponent 0, otherwise a decimal item.
    std::size_t stuffNumber(std::size_t position, long exponent, long long mantissa);

    void replaceBytes(const unsigned char* data, std::size_t length) noexcept;
    std::size_t offsetOf(VeltoListIterator where) const;
    /// Whether `address` lies in this list's own buffer.
    bool ownsAddress(const unsigned char* address) const noexcept {
        return std::bit_cast<std::uintptr_t>(address) - std::bit_cast<std::uintptr_t>(data_) <
               capacity_;
    }
    void takeCursor(const VeltoROList& other) noexcept;
    void forgetCursor() noexcept;
    void swap(VeltoList& other) noexcept;

    std::uint64_t capacity_ = 0;
};

inline std::size_t VeltoList::stuffInteger(std::size_t position, unsigned char type,
                                           long long value, std::size_t count) {
    const std::size_t at = makeItem(position, count + 1);
    unsigned char* typeByte = bytes() + at;
    *typeByte = type;
    if (at + 1 + count == length_ && at + 1 + sizeof value <= capacity_) {
        // Bytes behind the list are free: storing all eight is one instruction.
        std::memcpy(typeByte + 1, &value, sizeof value);
    } else {
        std::memcpy(typeByte + 1, &value, count);
    }
    return at;
}

inline std::size_t VeltoList::stuffNegInt(std::size_t position, int value) {
    return value == 0 ? stuffPosInt(position, 0)
                      : stuffInteger(position, item_code::kNegInteger, value, negIntBytes(value));
}

inline std::size_t VeltoList::stuffNegLong(std::size_t position, long long value) {
    return value == 0 ? stuffPosLong(position, 0)
                      : stuffInteger(position, item_code::kNegInteger, value, negLongBytes(value));
}

/// A new list: a copy of `list` followed by the item for `value`.
template <typename T>
VeltoList operator+(const VeltoROList& list, const T& value) {
    VeltoList result(list);
    const bool cursorHolds = result.cursorBytesLeft_ == 0;
    result += value;
    if (!cursorHolds) {
        result.forgetCursor();
    }
    return result;
}

}  // namespace nimb
