#include "list/list_iterator.h"

#include "list/ro_list.h"

namespace nimb {

namespace {

std::size_t checkedSize(const unsigned char* item, const VeltoROList& list) {
    return list.checkedItemSize(static_cast<std::size_t>(item - list.data()));
}

}  // namespace

VeltoListItem VeltoListIterator::operator*() const {
    checkedSize(item_, *list_);
    return VeltoListItem(item_);
}

VeltoListIterator& VeltoListIterator::operator++() {
    item_ += checkedSize(item_, *list_);
    return *this;
}

}  // namespace nimb
