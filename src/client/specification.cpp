#include "client/specification.h"

#include <array>
#include <exception>
#include <new>
#include <optional>
#include <string_view>

#include "client/host_string.h"
#include "convert/string_convert.h"
#include "convert/string_mode.h"
#include "list/list_item.h"
#include "list/ro_list.h"

namespace nimb {

namespace {

constexpr std::size_t kPropertyListItem = 2;
constexpr std::size_t kNamespaceItem = 2;
constexpr std::size_t kNameItem = 3;
constexpr std::size_t kAttributeItem = 4;

UACErr malformed(const char* text) { return {UACERR_APPLICATION, APPERR_MALFORMED, "%s", text}; }

UACErr malformed(const char* text, std::size_t n, const char* tag = "") {
    return {UACERR_APPLICATION, APPERR_MALFORMED, "%s (n=%d)%s", text, static_cast<int>(n), tag};
}

/// A list whose items add up to its length; nothing when the item is no such list.
std::optional<VeltoROList> asList(const VeltoListItem& item) {
    if (item.Type() != item_code::kBytes) {
        return std::nullopt;
    }
    VeltoROList list = item.AsVeltoROList();
    static_cast<void>(list.size());
    return list;
}

/// Where the items of a property begin, by position, as far as they matter; null for those that it
/// does not have.
using Fields = std::array<const unsigned char*, kAttributeItem + 1>;

/// False when the item is no list. Throws when it is one whose items do not add up to its length.
bool findFields(const VeltoListItem& property, Fields& fields) {
    const unsigned char* bytes = nullptr;
    std::size_t length = 0;
    if (property.getType(bytes, length) != item_code::kBytes) {
        return false;
    }
    const VeltoROList items(bytes, length);
    std::size_t position = 0;
    for (std::size_t at = 0; at < length; at += items.checkedItemSize(at)) {
        if (position < fields.size()) {
            fields[position++] = bytes + at;
        }
    }
    return true;
}

VeltoListItem fieldOf(const Fields& fields, std::size_t position) {
    if (fields[position] == nullptr) {
        throw std::exception();
    }
    return VeltoListItem(fields[position]);
}

/// Runs a reading step; nothing when it raised anything but exhausted memory.
template <typename Read>
auto attempt(Read&& read) -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return std::nullopt;
    }
}

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// Reads a whole text as strtol with base 10 does in the C locale: leading blanks, one sign,
/// digits. Nothing when other characters follow or the number leaves the 64-bit range. The empty
/// text is 0: Compatibility C18.
std::optional<long> wholeNumber(std::string_view text) {
    if (text.empty()) {
        return 0;
    }
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    if (text.empty()) {
        return std::nullopt;
    }
    long value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        const long digit = negative ? '0' - c : c - '0';
        if (__builtin_mul_overflow(value, 10L, &value) ||
            __builtin_add_overflow(value, digit, &value)) {
            return std::nullopt;
        }
    }
    return value;
}

/// A name that is a number names a numeric node. In string modes other than 0 and 1 every other
/// name is the empty one.
void setNodeName(UA_NodeId& id, long namespaceIndex, const VeltoListItem& name) {
    if (hostTexts() == HostTexts::utf16) {
        OwnedString identifier = hostString(name);
        if (const auto number = wholeNumber(bytesOf(*identifier))) {
            setNumericNodeId(id, namespaceIndex, *number);
        } else {
            setStringNodeId(id, namespaceIndex, std::move(identifier));
        }
        return;
    }
    std::string storage;
    if (const auto number = wholeNumber(name.AsAText(storage))) {
        setNumericNodeId(id, namespaceIndex, *number);
    } else {
        setStringNodeId(id, namespaceIndex, hostString(name));
    }
}

}  // namespace

UACErr Specification::allocate(std::size_t count) {
    try {
        nodeIds_ = NodeIdArray(count);
    } catch (const std::bad_alloc&) {
        return UACErr::outOfMemory(" (node ids)");
    }
    try {
        attributeIds_.assign(count, 0);
    } catch (const std::bad_alloc&) {
        return UACErr::outOfMemory(" (attribute ids)");
    }
    return {};
}

UACErr Specification::setProperty(std::size_t n, const VeltoListItem& property) {
    Fields fields{};
    if (!attempt([&] { return findFields(property, fields); }).value_or(false)) {
        return malformed(
            "Malformed specification. Unable to access Specification element for property", n);
    }
    const auto namespaceIndex = attempt([&] { return fieldOf(fields, kNamespaceItem).AsLong(); });
    if (!namespaceIndex) {
        return malformed("Unable to read namespace for property", n);
    }
    const auto named = attempt([&] {
        setNodeName(nodeIds_[n - 1], *namespaceIndex, fieldOf(fields, kNameItem));
        return true;
    });
    if (!named) {
        const char* tag = hostTexts() == HostTexts::utf16 ? " [x]" : " [a]";
        return malformed("Unable to read node name for property", n, tag);
    }
    const auto attribute = attempt([&] { return fieldOf(fields, kAttributeItem).AsLong(); });
    if (!attribute) {
        return malformed("Unable to read attribute id for property", n);
    }
    attributeIds_[n - 1] = static_cast<UA_UInt32>(*attribute);
    return {};
}

UACErr Specification::set(const VeltoROList& container) {
    nodeIds_ = NodeIdArray();
    attributeIds_.clear();
    try {
        return parse(container);
    } catch (...) {
        return malformed("Specification parse error");
    }
}

UACErr Specification::parse(const VeltoROList& container) {
    auto properties = attempt([&] { return asList(container.at(kPropertyListItem)); });
    if (!properties || !*properties) {
        return malformed("Malformed specification. Unable to access Specification as an NIMB list");
    }
    const std::size_t items = (*properties)->size();
    const std::size_t count = items == 0 ? 0 : items - 1;
    if (UACErr error = allocate(count); error.isError()) {
        return error;
    }
    for (std::size_t n = 1; n <= count; ++n) {
        if (UACErr error = setProperty(n, (*properties)->at(n)); error.isError()) {
            return error;
        }
    }
    return {};
}

}  // namespace nimb
