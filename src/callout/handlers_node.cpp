#include "callout/call_frame.h"
#include "callout/opcua_static.h"
#include "client/host_string.h"
#include "client/node_id_array.h"
#include "client/opcua_client.h"
#include "convert/string_mode.h"

namespace nimb {

namespace {

UACErr writeText(OpcuaClient& client, const VeltoListItem& item, const UA_NodeId& id) {
    if (hostTexts() == HostTexts::ignored) {
        return {};  // Compatibility C15
    }
    OwnedString text = hostString(item);
    return client.writeValueAttributeStr(text.get(), id);
}

UACErr writeItem(OpcuaClient& client, const VeltoListItem& item, long type, const UA_NodeId& id) {
    switch (writeFormOf(type)) {
        case WriteForm::integer:
            return client.writeValueAttributeInt(item.AsLongLong(), id, type);
        case WriteForm::floatingPoint:
            return client.writeValueAttributeDouble(item.AsDouble(), id, type);
        case WriteForm::text:
            return writeText(client, item, id);
        case WriteForm::refused:
        default:
            return {UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "Input (type=%d)",
                    static_cast<int>(type)};
    }
}

UACErr decodeNodeId(UA_NodeId* id, const Arguments& arguments, std::size_t typeItem) {
    if (arguments.holds(typeItem + 1) &&
        OpcuaStatic::getNodeId(id, arguments[typeItem], arguments[typeItem - 1],
                               arguments[typeItem - 2])) {
        return {};
    }
    return {UACERR_APPLICATION, APPERR_BAD_NODE_ID, "NodeId error"};
}

}  // namespace

void OpcuaStatic::readAttribute(HostBytes* out, const HostBytes* in) {
    clientFrame(out, in, "[B22]", 1,
                [](OpcuaClient& client, const Arguments& arguments, VeltoList& results) -> UACErr {
                    OwnedNodeId id;
                    if (UACErr error = decodeNodeId(id.get(), arguments, 3); error.isError()) {
                        return error;
                    }
                    if (arguments[4].AsLong() != UA_ATTRIBUTEID_VALUE) {
                        return {UACERR_APPLICATION, APPERR_OTHER,
                                "Query of selected attribute is unsupported"};
                    }
                    return client.readValueAttribute(&results, *id);
                });
}

void OpcuaStatic::writeAttribute(HostBytes* out, const HostBytes* in) {
    clientFrame(out, in, "[B23]", 3,
                [](OpcuaClient& client, const Arguments& arguments, VeltoList&) -> UACErr {
                    const long type = arguments[2].AsLong();
                    OwnedNodeId id;
                    if (UACErr error = decodeNodeId(id.get(), arguments, 5); error.isError()) {
                        return error;
                    }
                    if (arguments[6].AsLong() != UA_ATTRIBUTEID_VALUE) {
                        return {UACERR_APPLICATION, APPERR_OTHER,
                                "Write of selected attribute is unsupported"};
                    }
                    return writeItem(client, arguments[1], type, *id);
                });
}

/// The lists come as type, namespace, identifier: Compatibility C16.
void OpcuaStatic::browse(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B24]", 4, [](const Arguments& arguments, VeltoList& results) -> UACErr {
        const long handle = arguments.handle();
        const VeltoROList types = arguments[1].AsVeltoROList();
        const VeltoROList namespaces = arguments[2].AsVeltoROList();
        const VeltoROList identifiers = arguments[3].AsVeltoROList();
        if (identifiers.size() != types.size() || namespaces.size() != types.size()) {
            return inconsistentLists();
        }
        NodeIdArray ids(types.size());
        if (UACErr error = getNodeIds(ids, types, namespaces, identifiers); error.isError()) {
            return error;
        }
        OpcuaClient* client = clientOf(handle);
        return client == nullptr ? badHandle() : client->browse(&results, ids);
    });
}

}  // namespace nimb
