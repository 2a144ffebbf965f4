#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace nimb {

class VeltoList;
class VeltoROList;

/// Type codes of list items: the byte behind an item's length header.
namespace item_code {
inline constexpr int kUndefined = -1;  ///< the empty item carries no type byte at all
inline constexpr unsigned char kBytes = 1;
inline constexpr unsigned char kUnicode = 2;
inline constexpr unsigned char kPosInteger = 4;
inline constexpr unsigned char kNegInteger = 5;
inline constexpr unsigned char kPosDecimal = 6;
inline constexpr unsigned char kNegDecimal = 7;
inline constexpr unsigned char kIeee = 8;
}  // namespace item_code

/// The length header of an item: its own size and the count n of bytes behind it (type byte plus
/// payload; 0 for an empty item).
///
///     short   n < 255       one byte n + 1
///     medium  n <= 65535    00, n as 16 bits
///     long    n > 65535     00 00 00, n as 32 bits
///
/// Readers tell the forms apart by the bytes alone and accept the wider ones for any n.
struct ItemHeader {
    std::size_t bytes;
    std::size_t content;

    static constexpr std::size_t kShortBytes = 1;
    static constexpr std::size_t kMediumBytes = 3;
    static constexpr std::size_t kLongBytes = 7;
    static constexpr std::size_t kShortLimit = 255;     ///< first n that no longer fits
    static constexpr std::size_t kMediumLimit = 65536;  ///< first n that no longer fits

    constexpr std::size_t itemSize() const noexcept { return bytes + content; }

    /// Bytes of the narrowest header for `content` bytes, which fit in 32 bits.
    static constexpr std::size_t bytesFor(std::size_t content) noexcept {
        return content < kShortLimit    ? kShortBytes
               : content < kMediumLimit ? kMediumBytes
                                        : kLongBytes;
    }

    /// Reads the header at `item`, which must lie wholly in memory.
    static ItemHeader read(const unsigned char* item) noexcept {
        if (item[0] != 0) {
            return {kShortBytes, item[0] - std::size_t{1}};
        }
        const std::size_t medium = item[1] | std::size_t{item[2]} << 8;
        if (medium != 0) {
            return {kMediumBytes, medium};
        }
        return {kLongBytes, item[3] | std::size_t{item[4]} << 8 | std::size_t{item[5]} << 16 |
                                std::size_t{item[6]} << 24};
    }

    /// Whether the header at `item` ends within the `available` bytes there.
    static bool fits(const unsigned char* item, std::size_t available) noexcept {
        if (available < kLongBytes) {
            return available >= kMediumBytes ? (item[0] | item[1] | item[2]) != 0
                                             : available != 0 && item[0] != 0;
        }
        return true;
    }
};

/// One item inside some list's bytes: a bare pointer to its first header byte. Owns nothing and is
/// invalid once the list's buffer moves or dies.
///
/// The item trusts its own header. Take items of bytes from outside with VeltoROList::at() or an
/// iterator, which check that header and payload lie within the list.
///
/// The As... accessors convert whatever the host sent: a number may come as text and text as a
/// number. Item codes that do not exist, odd-sized 16-bit number text, integers wider than 64 bits,
/// decimals without an exponent byte and floating-point payloads of other than 4 or 8 bytes throw
/// std::exception. AsDouble alone answers 0.0 for codes that do not exist.
class VeltoListItem {
  public:
    /// `item` points to the first header byte.
    explicit VeltoListItem(const unsigned char* item) noexcept : item_(item) {}

    /// First header byte: where the item begins.
    const unsigned char* header() const noexcept { return item_; }

    /// The payload; for the empty item the address behind it.
    const unsigned char* data() const noexcept {
        const ItemHeader header = ItemHeader::read(item_);
        return item_ + header.bytes + (header.content != 0 ? 1 : 0);
    }

    /// Payload bytes without the type byte; 0 for the empty item.
    std::size_t datalength() const noexcept {
        const std::size_t content = ItemHeader::read(item_).content;
        return content != 0 ? content - 1 : 0;
    }

    /// Bytes of the whole item, header included.
    std::size_t size() const noexcept { return ItemHeader::read(item_).itemSize(); }

    /// The type code, kUndefined for the empty item. Inlined by force: 0.6 % of a database's scan.
    [[gnu::always_inline]] int Type() const noexcept {
        if (item_[0] > ItemHeader::kShortBytes) [[likely]] {
            return item_[ItemHeader::kShortBytes];
        }
        const unsigned char* payload = nullptr;
        std::size_t length = 0;
        return getTypeOfAnyItem(payload, length);
    }

    /// Type code, payload address and payload length in one reading of the header.
    [[gnu::always_inline]] int getType(const unsigned char*& payload,
                                       std::size_t& length) const noexcept {
        if (item_[0] > ItemHeader::kShortBytes) [[likely]] {
            payload = item_ + ItemHeader::kShortBytes + 1;
            length = item_[0] - ItemHeader::kShortBytes - 1;
            return item_[ItemHeader::kShortBytes];
        }
        return getTypeOfAnyItem(payload, length);
    }

    /// The value saturated to 32 bits and sign-extended, fractions cut off. A floating-point item
    /// gives its 64-bit double bit pattern, not its value: hosts pass such patterns through.
    long AsLong() const {
        const long value = smallNumber();
        return value >= 0 ? value : AsLongOfAnyItem();
    }
    /// AsLong unchanged: non-zero means true.
    long AsBool() const { return AsLong(); }
    /// The value as 64 bits, fractions cut off. A floating-point item gives its bit pattern as for
    /// AsLong; a decimal item with a positive exponent gives saturation values (Compatibility C4).
    /// Text saturates on the side of its sign.
    long long AsLongLong() const {
        const long value = smallNumber();
        return value >= 0 ? value : AsLongLongOfAnyItem();
    }
    /// AsLongLong as an address-sized value.
    std::intptr_t AsPtr() const { return AsLongLong(); }
    /// The nearest double. A 4-byte floating-point item is a single widened to double.
    double AsDouble() const {
        constexpr std::size_t bytes = 2 + sizeof(double);  // of a short item that holds one
        if (item_[0] == bytes && item_[1] == item_code::kIeee) [[likely]] {
            double value;
            std::memcpy(&value, item_ + 2, sizeof value);
            return value;
        }
        return AsDoubleOfAnyItem();
    }
    /// Text, 8 bits a character: 16-bit units are cut to their low byte, numbers are printed.
    std::string AsAString() const;
    /// AsAString without a copy: the item's own bytes where it is 8-bit text, or in `storage`.
    std::string_view AsAText(std::string& storage) const;
    /// AsAString as unsigned characters.
    std::basic_string<unsigned char> AsUAString() const;
    /// Text in 16-bit units; 8-bit text is widened byte by byte, whatever its encoding.
    std::u16string AsWString() const;
    /// AsWString.
    std::u16string AsXString() const { return AsWString(); }
    /// A host date ($HOROLOG day or "day,second" text) as seconds since 1970-01-01 00:00 UTC.
    /// Nothing is range-checked; the arithmetic wraps at 64 bits.
    long long AsDateTime() const;

    /// The payload, whatever its type, copied as a list of its own.
    VeltoList AsVeltoList() const;
    /// The payload, whatever its type, viewed as a list; valid as long as this item is.
    VeltoROList AsVeltoROList() const;

    /// `count` bytes as a string.
    static std::string getAscii(const unsigned char* bytes, std::size_t count);
    /// `count` bytes as a string of unsigned characters.
    static std::basic_string<unsigned char> getUAscii(const unsigned char* bytes,
                                                      std::size_t count);
    /// `count` / 2 little-endian 16-bit units; an odd trailing byte is dropped.
    static std::u16string getUnicode(const unsigned char* bytes, std::size_t count);
    /// getUnicode.
    static std::u16string getXString(const unsigned char* bytes, std::size_t count) {
        return getUnicode(bytes, count);
    }
    /// Integer payload of a non-negative item. Throws std::exception for more than 8 bytes and for
    /// 8 bytes with the top bit set.
    static long long getPosLongLong(const unsigned char* bytes, std::size_t count);
    /// Integer payload of a negative item: the bytes one-extended. Throws std::exception for more
    /// than 8 bytes and for 8 bytes with the top bit clear.
    static long long getNegLongLong(const unsigned char* bytes, std::size_t count);

  private:
    /// The value of a short item with up to three bytes of a non-negative integer: handles,
    /// positions and counts, nearly all that hosts pass. -1 for any other item.
    [[gnu::always_inline]] long smallNumber() const {
        const unsigned payloadBytes = item_[0] - 2U;
        if (payloadBytes > 3 || item_[1] != item_code::kPosInteger) [[unlikely]] {
            return -1;
        }
        long value = 0;
        for (unsigned i = payloadBytes; i > 0; --i) {
            value = value << 8 | item_[1 + i];
        }
        return value;
    }
    long AsLongOfAnyItem() const;
    long long AsLongLongOfAnyItem() const;
    int getTypeOfAnyItem(const unsigned char*& payload, std::size_t& length) const noexcept;
    double AsDoubleOfAnyItem() const;

    const unsigned char* item_;
};

}  // namespace nimb
