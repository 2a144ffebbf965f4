#include <initializer_list>

#include "convert/number_items.h"
#include "convert/ua_export.h"
#include "errors/uac_err.h"
#include "list/nested_list.h"
#include "list/velto_list.h"

namespace nimb {
namespace {

/// Runs `write` on the list itself when `flat`, otherwise inside one nested list.
template <typename Write>
void writeGroup(VeltoList* list, bool flat, Write write) {
    if (flat) {
        write();
        return;
    }
    NestedList nested(*list);
    write();
    nested.close();
}

/// The index of the type that a node id's identifier has.
int identifierTypeIndex(UA_NodeIdType type) {
    switch (type) {
        case UA_NODEIDTYPE_NUMERIC:
            return UA_TYPES_UINT32;
        case UA_NODEIDTYPE_STRING:
            return UA_TYPES_STRING;
        case UA_NODEIDTYPE_GUID:
            return UA_TYPES_GUID;
        case UA_NODEIDTYPE_BYTESTRING:
            return UA_TYPES_BYTESTRING;
    }
    throw UACErr(UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "UA_NodeId");
}

}  // namespace

void UACExport::addQualifiedName(VeltoList* list, const UA_QualifiedName& name, bool flat) const {
    writeGroup(list, flat, [&] {
        add(list, &name.name);
        *list += int{name.namespaceIndex};
    });
}

void UACExport::addLocalizedText(VeltoList* list, const UA_LocalizedText& text, bool flat) const {
    // Text before locale, against the order in the structure: hosts read them so.
    writeGroup(list, flat, [&] {
        add(list, &text.text);
        add(list, &text.locale);
    });
}

void UACExport::addNodeIdParts(VeltoList* list, const UA_NodeId& id,
                               const UA_ExpandedNodeId* expanded) const {
    const int identifierType = identifierTypeIndex(id.identifierType);
    *list += int{id.namespaceIndex};
    if (id.identifierType == UA_NODEIDTYPE_NUMERIC) {
        *list += static_cast<long long>(id.identifier.numeric);
    } else if (id.identifierType == UA_NODEIDTYPE_STRING) {
        add(list, &id.identifier.string);
    } else {
        list->appendItem(item_code::kBytes, 0);  // hosts have no form for these identifiers
    }
    *list += static_cast<int>(id.identifierType);
    *list += identifierType;
    if (expanded != nullptr) {
        add(list, &expanded->namespaceUri);
        *list += static_cast<long long>(expanded->serverIndex);
    }
}

void UACExport::UA2CL_NodeId(VeltoList* list, const UA_NodeId* id,
                             const UA_ExpandedNodeId* expanded, bool flat) const {
    try {
        const UA_NodeId& inner = expanded != nullptr ? expanded->nodeId : *id;
        writeGroup(list, flat, [&] { addNodeIdParts(list, inner, expanded); });
    } catch (const UACErr&) {
        throw;
    } catch (...) {
        throw UACErr(UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "UA_NodeId");
    }
}

void UACExport::UA2CL_ExpandedNodeId(VeltoList* list, const UA_ExpandedNodeId* id,
                                     bool flat) const {
    UA2CL_NodeId(list, &id->nodeId, id, flat);
}

void UACExport::UA2CL_ReferenceDescription(VeltoList* list,
                                           const UA_ReferenceDescription* rd) const {
    NestedList nested(*list);
    UA2CL_NodeId(list, &rd->referenceTypeId, nullptr, false);
    appendNumber(*list, UA_TYPES_BOOLEAN, &rd->isForward);
    UA2CL_ExpandedNodeId(list, &rd->nodeId, false);
    addQualifiedName(list, rd->browseName, false);
    addLocalizedText(list, rd->displayName, false);
    list->appendItem(item_code::kBytes, 0);  // the node class
    UA2CL_ExpandedNodeId(list, &rd->typeDefinition, false);
    nested.close();
}

void UACExport::UA2CL_BrowseResult(VeltoList* list, const UA_BrowseResult* result) const {
    NestedList nested(*list);
    *list += static_cast<long long>(result->statusCode);
    list->appendItem(item_code::kBytes, 0);  // the continuation point
    *list += static_cast<long long>(static_cast<UA_UInt32>(result->referencesSize));
    NestedList references(*list);
    for (std::size_t i = 0; i < result->referencesSize; ++i) {
        UA2CL_ReferenceDescription(list, &result->references[i]);
    }
    references.close();
    nested.close();
}

}  // namespace nimb
