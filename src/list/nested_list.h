#pragma once

#include <cstddef>
#include <cstdint>

#include "list/velto_list.h"

namespace nimb {

/// Writes a nested list in place at the end of its parent, instead of building it apart and copying
/// it in: results are trees of lists, and each level would otherwise cost a buffer and a copy.
///
///     NestedList nested(list);
///     list += status;            // lands inside
///     nested.close();
///
/// Scopes may stand inside each other and end in reverse order, as scopes do. While one is open the
/// parent is only appended to. A scope left without close() takes everything behind its beginning
/// off the parent again, so that a failure half-way leaves no torn list.
class NestedList {
  public:
    /// Opens an 8-bit item at the parent's end. Throws std::bad_alloc.
    /// @param expected  about how many bytes will be written inside: room is made for them and a
    ///                  header of that width; where it turns out to be another, they are moved
    explicit NestedList(VeltoList& parent, std::size_t expected = 0)
        : parent_(parent),
          start_(parent.length_),
          itemCount_(parent.itemCount_),
          headerBytes_(ItemHeader::bytesFor(expected + 1)) {
        parent.appendItem(item_code::kBytes, expected);
        parent.length_ -= expected;
    }

    NestedList(const NestedList&) = delete;
    NestedList& operator=(const NestedList&) = delete;

    ~NestedList() {
        if (open_) {
            restore(start_, 0);
        }
    }

    /// Completes the item: the bytes are exactly those of appending a list built apart. Its items
    /// were counted as the parent's own until now; from here they are one. Throws std::bad_alloc
    /// when a wider header finds no room; the scope then stays open.
    void close() {
        const std::size_t content = parent_.length_ - start_ - headerBytes_;
        if (headerBytes_ == ItemHeader::kShortBytes && content < ItemHeader::kShortLimit)
            [[likely]] {
            parent_.bytes()[start_] = static_cast<unsigned char>(content + 1);
        } else {
            writeHeader(content);
        }
        restore(parent_.length_, 1);
        open_ = false;
    }

  private:
    void writeHeader(std::size_t content);

    /// Sets length and count as if `items` items had been appended since the beginning. The cursor
    /// is counted from them.
    void restore(std::size_t length, std::size_t items) noexcept {
        parent_.length_ = length;
        parent_.itemCount_ = itemCount_ + items;
    }

    VeltoList& parent_;
    const std::size_t start_;
    const std::uint64_t itemCount_;
    const std::size_t headerBytes_;  ///< that were left for it
    bool open_ = true;
};

}  // namespace nimb
