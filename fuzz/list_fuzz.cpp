// The list reader over any bytes: every way of walking, every typed accessor of every item.

#include <exception>

#include "input.h"
#include "list/dump.h"
#include "list/velto_list.h"

namespace {

using nimb::VeltoListItem;
using nimb::VeltoROList;
using nimb::fuzz::require;

constexpr int kMaxDepth = 6;

template <typename Access>
void attempt(Access access) {
    try {
        access();
    } catch (const std::exception&) {
        // the way in which accessors refuse an item
    }
}

void walk(const VeltoROList& list, int depth);

void readItem(const VeltoListItem& item, int depth) {
    attempt([&] { item.AsLong(); });
    attempt([&] { item.AsBool(); });
    attempt([&] { item.AsLongLong(); });
    attempt([&] { item.AsPtr(); });
    attempt([&] { item.AsDouble(); });
    attempt([&] { require(item.AsUAString().size() == item.AsAString().size()); });
    attempt([&] { require(item.AsXString() == item.AsWString()); });
    attempt([&] { item.AsDateTime(); });
    attempt([&] { require(item.AsVeltoList().datalength() == item.datalength()); });
    std::u16string dump;
    nimb::DumpByteArray(item.data(), item.datalength() % 256, dump);
    if (depth < kMaxDepth) {
        walk(item.AsVeltoROList(), depth + 1);
    }
}

/// Iterators, positions and the count must agree on where the items lie.
void walk(const VeltoROList& list, int depth) {
    std::size_t count = 0;
    bool malformed = false;
    try {
        for (auto at = list.begin(); at != list.end(); ++at, ++count) {
            const VeltoListItem item = *at;
            require(list.at(count).header() == item.header());
            readItem(item, depth);
        }
    } catch (const std::exception&) {
        malformed = true;
    }
    try {
        require(list.size() == count && !malformed);
        VeltoROList(list).at(count / 2);
    } catch (const std::exception&) {
        require(malformed || count == 0);
    }
    attempt([&] { list.at(count + 1); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    walk(VeltoROList(data, size), 0);
    return 0;
}
