#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "list/integer_bytes.h"
#include "list/velto_list.h"

namespace nimb {

/// Appends a run of short items whose largest size is known beforehand: room is made once for all
/// of them, and each is then a few plain stores. The members that VeltoList has too write the same
/// bytes. The list is not used between construction and commit(); without commit() it stays as it
/// was. Inlined by force: out of line, each member would keep the writer in memory. Builds with
/// assertions check that each item stays within the room; those that are shipped do not pay for it.
class ItemWriter {
  public:
    static constexpr std::size_t kHeaderBytes = 2;  ///< length and type
    /// Room that one integer or one double needs.
    static constexpr std::size_t kNumberRoom = 10;

    /// Whether a payload of that many bytes can be written here.
    static constexpr bool fits(std::size_t payloadLength) {
        return payloadLength < ItemHeader::kShortLimit - 1;
    }

    /// @param most  bytes that all items together may take
    /// @throws std::bad_alloc
    ItemWriter(VeltoList& list, std::size_t most)
        : list_(list), at_(list.roomFor(most + kWholeInteger)), end_(at_ + most) {}
    ItemWriter(const ItemWriter&) = delete;
    ItemWriter& operator=(const ItemWriter&) = delete;

    /// Writes header and type and returns the payload's address.
    /// @param payloadLength  one that fits()
    [[gnu::always_inline]] unsigned char* appendItem(unsigned char type,
                                                     std::size_t payloadLength) {
        unsigned char* item = at_;
        assert(payloadLength + kHeaderBytes <= static_cast<std::size_t>(end_ - at_));
        // Both bytes in one store: a browse of 100 references takes 1 % fewer instructions.
        const auto header =
            static_cast<std::uint16_t>(payloadLength + kHeaderBytes + (std::size_t{type} << 8));
        std::memcpy(item, &header, sizeof header);
        at_ += payloadLength + kHeaderBytes;
        return item + kHeaderBytes;
    }

    [[gnu::always_inline]] ItemWriter& operator+=(int value) {
        return integer(value, integerBytes(value));
    }
    [[gnu::always_inline]] ItemWriter& operator+=(long long value) {
        return integer(value, integerBytes(value));
    }

    [[gnu::always_inline]] void appendIEEE64(double value) {
        std::memcpy(appendItem(item_code::kIeee, sizeof value), &value, sizeof value);
    }

    /// Appends items that were encoded before.
    [[gnu::always_inline]] void appendItems(std::span<const unsigned char> encoded) {
        assert(encoded.size() <= static_cast<std::size_t>(end_ - at_));
        at_ = std::copy(encoded.begin(), encoded.end(), at_);
    }

    /// Where the payload of the next item will begin, for those whose length only writing tells.
    /// @param most  bytes that the payload may take
    [[nodiscard]] unsigned char* nextPayload([[maybe_unused]] std::size_t most) const {
        assert(most + kHeaderBytes <= static_cast<std::size_t>(end_ - at_));
        return at_ + kHeaderBytes;
    }

    /// A nested list that stays short, written where it stands: NestedList's counterpart.
    class Nested {
      public:
        explicit Nested(ItemWriter& items)
            : items_(items), item_(items.appendItem(item_code::kBytes, 0) - kHeaderBytes) {}
        void close() {
            assert(fits(static_cast<std::size_t>(items_.at_ - item_) - kHeaderBytes));
            item_[0] = static_cast<unsigned char>(items_.at_ - item_);
        }

      private:
        ItemWriter& items_;
        unsigned char* item_;
    };

    /// Makes what was written the list's.
    /// @param items  number of items, a nested list being one
    void commit(std::size_t items) noexcept { list_.takeAppended(at_, items); }

  private:
    [[gnu::always_inline]] ItemWriter& integer(long long value, std::size_t bytes) {
        const unsigned char type = value < 0 ? item_code::kNegInteger : item_code::kPosInteger;
        // All eight bytes in one store; what is too many is written over by what follows.
        std::memcpy(appendItem(type, bytes), &value, sizeof value);
        return *this;
    }

    /// What a short integer, stored with all its bytes, writes over behind its item.
    static constexpr std::size_t kWholeInteger = sizeof(long long);

    VeltoList& list_;
    unsigned char* at_;
    [[maybe_unused]] const unsigned char* const end_;
};

}  // namespace nimb
