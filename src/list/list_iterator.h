#pragma once

#include <cstddef>
#include <iterator>

#include "list/list_item.h"

namespace nimb {

class VeltoROList;

/// A position inside a list: at an item, or one past the last. A view like the items themselves:
/// growth of the list may leave it dangling.
class VeltoListIterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = VeltoListItem;
    using difference_type = std::ptrdiff_t;
    using pointer = const VeltoListItem*;
    using reference = VeltoListItem;

    /// The position at the header byte `item` of `list`.
    VeltoListIterator(const unsigned char* item, const VeltoROList* list) noexcept
        : item_(item), list_(list) {}

    /// Address of the header byte at this position.
    const unsigned char* position() const noexcept { return item_; }
    /// The list walked.
    const VeltoROList* list() const noexcept { return list_; }

    /// The item here. Throws std::exception at the end and when the item does not lie wholly within
    /// the list.
    VeltoListItem operator*() const;
    /// Moves to the next item. Throws as operator* does, and then stays where it is.
    VeltoListIterator& operator++();

    friend bool operator==(const VeltoListIterator& a, const VeltoListIterator& b) noexcept {
        return a.item_ == b.item_;
    }

  private:
    const unsigned char* item_;
    const VeltoROList* list_;
};

}  // namespace nimb
