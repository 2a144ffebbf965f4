#include <span>

#include "convert/number_items.h"
#include "convert/short_text.h"
#include "convert/string_convert.h"
#include "convert/ua_export.h"
#include "errors/uac_err.h"
#include "list/item_writer.h"
#include "list/nested_list.h"
#include "list/velto_list.h"

namespace nimb {
namespace {

// Composites are written to a list, or to an ItemWriter where their largest size is known: the same
// items by the same code. Inlined by force, because a writer passed on would be kept in memory.

/// Runs `write` on the items themselves when `flat`, otherwise inside one nested list.
template <typename Items, typename Write>
[[gnu::always_inline]] inline void writeGroup(Items& items, bool flat, Write write) {
    if (flat) {
        write();
        return;
    }
    typename Items::Nested nested(items);
    write();
    nested.close();
}

UACErr unsupportedNodeId() { return {UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "UA_NodeId"}; }

void writeText(const UACExport& exporter, VeltoList& list, const UA_String& text) {
    exporter.add(&list, &text);
}

[[gnu::always_inline]] inline void writeText(const UACExport& exporter, ItemWriter& items,
                                             const UA_String& text) {
    writeShortText(items, bytesOf(text), exporter.stringMode);
}

/// In place of an identifier that hosts have no form for.
template <typename Items>
[[gnu::always_inline]] inline void writeWithoutForm(Items& items, int kind, int typeIndex) {
    items.appendItem(item_code::kBytes, 0);
    items += kind;
    items += typeIndex;
}

/// The identifier, the number of its kind and the index of its type. Each kind by itself, so that
/// both numbers are written as constants.
template <typename Items>
[[gnu::always_inline]] inline void writeIdentifier(const UACExport& exporter, Items& items,
                                                   const UA_NodeId& id) {
    switch (id.identifierType) {
        case UA_NODEIDTYPE_NUMERIC:
            items += static_cast<long long>(id.identifier.numeric);
            items += int{UA_NODEIDTYPE_NUMERIC};
            items += int{UA_TYPES_UINT32};
            break;
        case UA_NODEIDTYPE_STRING:
            writeText(exporter, items, id.identifier.string);
            items += int{UA_NODEIDTYPE_STRING};
            items += int{UA_TYPES_STRING};
            break;
        case UA_NODEIDTYPE_GUID:
            writeWithoutForm(items, UA_NODEIDTYPE_GUID, UA_TYPES_GUID);
            break;
        case UA_NODEIDTYPE_BYTESTRING:
            writeWithoutForm(items, UA_NODEIDTYPE_BYTESTRING, UA_TYPES_BYTESTRING);
            break;
        default:
            throw unsupportedNodeId();
    }
}

template <typename Items>
[[gnu::always_inline]] inline void writeNodeIdParts(const UACExport& exporter, Items& items,
                                                    const UA_NodeId& id,
                                                    const UA_ExpandedNodeId* expanded) {
    items += int{id.namespaceIndex};
    writeIdentifier(exporter, items, id);
    if (expanded != nullptr) {
        writeText(exporter, items, expanded->namespaceUri);
        items += static_cast<long long>(expanded->serverIndex);
    }
}

void appendNodeId(const UACExport& exporter, VeltoList& list, const UA_NodeId& id,
                  const UA_ExpandedNodeId* expanded, bool flat) {
    orError(
        [&] { writeGroup(list, flat, [&] { writeNodeIdParts(exporter, list, id, expanded); }); },
        unsupportedNodeId);
}

void writeNodeId(const UACExport& exporter, VeltoList& list, const UA_NodeId& id,
                 const UA_ExpandedNodeId* expanded) {
    appendNodeId(exporter, list, id, expanded, false);
}

[[gnu::always_inline]] inline void writeNodeId(const UACExport& exporter, ItemWriter& items,
                                               const UA_NodeId& id,
                                               const UA_ExpandedNodeId* expanded) {
    ItemWriter::Nested nested(items);
    writeNodeIdParts(exporter, items, id, expanded);
    nested.close();
}

template <typename Items>
[[gnu::always_inline]] inline void writeQualifiedName(const UACExport& exporter, Items& items,
                                                      const UA_QualifiedName& name, bool flat) {
    writeGroup(items, flat, [&] {
        writeText(exporter, items, name.name);
        items += int{name.namespaceIndex};
    });
}

template <typename Items>
[[gnu::always_inline]] inline void writeLocalizedText(const UACExport& exporter, Items& items,
                                                      const UA_LocalizedText& text, bool flat) {
    // Text before locale, against the order in the structure: Compatibility C20.
    writeGroup(items, flat, [&] {
        writeText(exporter, items, text.text);
        writeText(exporter, items, text.locale);
    });
}

template <typename Items>
[[gnu::always_inline]] inline void writeReference(const UACExport& exporter, Items& items,
                                                  const UA_ReferenceDescription& reference) {
    typename Items::Nested nested(items);
    writeNodeId(exporter, items, reference.referenceTypeId, nullptr);
    appendNumber(items, UA_TYPES_BOOLEAN, &reference.isForward);
    writeNodeId(exporter, items, reference.nodeId.nodeId, &reference.nodeId);
    writeQualifiedName(exporter, items, reference.browseName, false);
    writeLocalizedText(exporter, items, reference.displayName, false);
    items.appendItem(item_code::kBytes, 0);  // the node class
    writeNodeId(exporter, items, reference.typeDefinition.nodeId, &reference.typeDefinition);
    nested.close();
}

std::size_t identifierLength(const UA_NodeId& id) {
    return id.identifierType == UA_NODEIDTYPE_STRING ? id.identifier.string.length : 0;
}

/// Most bytes of writeReference(), the payload of texts apart.
constexpr std::size_t kHeader = ItemWriter::kHeaderBytes;
constexpr std::size_t kByteRoom = kHeader + 1;
constexpr std::size_t kInt16Room = kHeader + 2;
constexpr std::size_t kInt32Room = kHeader + 4;
/// A numeric identifier, whose type 0 takes no payload; the others have a text and a type of a
/// byte.
constexpr std::size_t kNodeIdRoom = kHeader + kInt16Room + kInt32Room + kHeader + kByteRoom;
constexpr std::size_t kExpandedNodeIdRoom = kNodeIdRoom + kHeader + kInt32Room;
constexpr std::size_t kNamesRoom = 2 * kHeader + 3 * kHeader + kInt16Room;
constexpr std::size_t kReferenceRoom =
    kHeader + kNodeIdRoom + kByteRoom + 2 * kExpandedNodeIdRoom + kNamesRoom + kHeader;

static_assert((ItemHeader::kShortLimit & (ItemHeader::kShortLimit + 1)) == 0, "all bits set");

/// The sum, or enough for fits() to refuse when a length is above kShortLimit: as that has all bits
/// set, one comparison tells for all of them.
template <typename... Lengths>
std::size_t boundedSum(Lengths... lengths) {
    return (lengths | ...) > ItemHeader::kShortLimit ? ItemHeader::kShortLimit : (lengths + ...);
}

/// Most bytes of a reference's texts.
std::size_t textRoom(const UACExport& exporter, const UA_ReferenceDescription& reference) {
    const std::size_t sum = boundedSum(
        identifierLength(reference.referenceTypeId), identifierLength(reference.nodeId.nodeId),
        reference.nodeId.namespaceUri.length, reference.browseName.name.length,
        reference.displayName.text.length, reference.displayName.locale.length,
        identifierLength(reference.typeDefinition.nodeId),
        reference.typeDefinition.namespaceUri.length);
    return exporter.stringMode == STRING_BYTES ? sum : 2 * sum;
}

}  // namespace

void UACExport::addQualifiedName(VeltoList* list, const UA_QualifiedName& name, bool flat) const {
    writeQualifiedName(*this, *list, name, flat);
}

void UACExport::addLocalizedText(VeltoList* list, const UA_LocalizedText& text, bool flat) const {
    writeLocalizedText(*this, *list, text, flat);
}

void UACExport::UA2CL_NodeId(VeltoList* list, const UA_NodeId* id,
                             const UA_ExpandedNodeId* expanded, bool flat) const {
    if (expanded != nullptr) {
        UA2CL_ExpandedNodeId(list, expanded, flat);
    } else {
        appendNodeId(*this, *list, *id, nullptr, flat);
    }
}

void UACExport::UA2CL_ExpandedNodeId(VeltoList* list, const UA_ExpandedNodeId* id,
                                     bool flat) const {
    appendNodeId(*this, *list, id->nodeId, id, flat);
}

void UACExport::UA2CL_ReferenceDescription(VeltoList* list,
                                           const UA_ReferenceDescription* rd) const {
    const std::size_t room = kReferenceRoom + textRoom(*this, *rd);
    if (textsCannotFail(stringMode) && ItemWriter::fits(room)) {
        ItemWriter items(*list, room);
        writeReference(*this, items, *rd);
        items.commit(1);
    } else {
        writeReference(*this, *list, *rd);
    }
}

std::size_t UACExport::leastBytes(const UA_BrowseResult& result) {
    constexpr std::size_t itemsOfReference = 28;  // those of its nested lists too
    return itemsOfReference * ItemWriter::kHeaderBytes * result.referencesSize;
}

void UACExport::UA2CL_BrowseResult(VeltoList* list, const UA_BrowseResult* result) const {
    NestedList nested(*list, leastBytes(*result));
    *list += static_cast<long long>(result->statusCode);
    list->appendItem(item_code::kBytes, 0);  // the continuation point
    *list += static_cast<long long>(static_cast<UA_UInt32>(result->referencesSize));
    NestedList references(*list, leastBytes(*result));
    for (const auto& reference : std::span(result->references, result->referencesSize)) {
        UA2CL_ReferenceDescription(list, &reference);
    }
    references.close();
    nested.close();
}

}  // namespace nimb
