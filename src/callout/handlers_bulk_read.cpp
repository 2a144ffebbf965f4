#include <utility>
#include <vector>

#include "callout/call_frame.h"
#include "callout/opcua_static.h"
#include "client/node_id_array.h"
#include "client/opcua_client.h"
#include "client/specification.h"

namespace nimb {

namespace {

/// Every attribute id is read, so each must be readable, but reads of the Value attribute are
/// prepared, whatever was given: Compatibility C19.
std::vector<UA_UInt32> valueAttributes(const VeltoROList& attributeIds, std::size_t count) {
    std::size_t at = 0;
    while (at < attributeIds.datalength()) {
        const std::size_t size = attributeIds.checkedItemSize(at);
        static_cast<void>(VeltoListItem(attributeIds.data() + at).AsLong());
        at += size;
    }
    return std::vector<UA_UInt32>(count, UA_ATTRIBUTEID_VALUE);
}

}  // namespace

void OpcuaStatic::readBulkSetup(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B10]", 5, [](const Arguments& arguments, VeltoList& results) -> UACErr {
        const long handle = arguments.handle();
        const VeltoROList types = arguments[1].AsVeltoROList();
        const VeltoROList namespaces = arguments[2].AsVeltoROList();
        const VeltoROList identifiers = arguments[3].AsVeltoROList();
        const VeltoROList attributeIds = arguments[4].AsVeltoROList();
        const std::size_t count = types.size();
        if (namespaces.size() != count || identifiers.size() != count ||
            attributeIds.size() != count) {
            return inconsistentLists();
        }
        NodeIdArray ids(count);
        if (UACErr error = getNodeIds(ids, types, namespaces, identifiers); error.isError()) {
            return error;
        }
        const std::vector<UA_UInt32> attributes = valueAttributes(attributeIds, count);
        OpcuaClient* client = clientOf(handle);
        if (client == nullptr) {
            return badHandle();
        }
        int queryHandle = 0;
        UACErr error = client->readBulkSetup(&queryHandle, std::move(ids), attributes.data());
        results += queryHandle;
        return error;
    });
}

void OpcuaStatic::readBulkSetupC(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B11]", 2, [](const Arguments& arguments, VeltoList& results) -> UACErr {
        const long handle = arguments.handle();
        Specification specification;
        if (UACErr error = specification.set(arguments[1].AsVeltoROList()); error.isError()) {
            return error;
        }
        OpcuaClient* client = clientOf(handle);
        if (client == nullptr) {
            return badHandle();
        }
        int queryHandle = -1;
        UACErr error = client->readBulkSetup(&queryHandle, std::move(specification));
        results += queryHandle;
        return error;
    });
}

void OpcuaStatic::readBulkPoll(HostBytes* out, const HostBytes* in) {
    clientFrame(out, in, "[B12]", 2,
                [](OpcuaClient& client, const Arguments& arguments, VeltoList& results) {
                    return client.readBulkPoll(&results, arguments[1].AsLong());
                });
}

void OpcuaStatic::readBulkPollB(HostBytes* out, const HostBytes* in) {
    clientFrame(out, in, "[B13]", 2,
                [](OpcuaClient& client, const Arguments& arguments, VeltoList& results) {
                    return client.readBulkPollB(&results, arguments[1].AsLong());
                });
}

void OpcuaStatic::readBulkPollC(HostBytes* out, const HostBytes* in) {
    clientFrame(out, in, "[B14]", 4,
                [](OpcuaClient& client, const Arguments& arguments, VeltoList& results) -> UACErr {
                    constexpr long lastDateOption = 2;
                    const long queryHandle = arguments[1].AsLong();
                    const bool valueRequired = arguments[2].AsLong() == 1;
                    // Dates are ODBC text all the same: Compatibility C28.
                    if (const long option = arguments[3].AsLong(); option > lastDateOption) {
                        return {UACERR_APPLICATION, APPERR_OTHER,
                                "Invalid datetime format option (opt=%d)",
                                static_cast<int>(option)};
                    }
                    return client.readBulkPollC(&results, queryHandle, valueRequired);
                });
}

void OpcuaStatic::readBulkClear(HostBytes* out, const HostBytes* in) {
    localClientFrame(out, in, "[B15]", 2,
                     [](OpcuaClient& client, const Arguments& arguments, VeltoList&) {
                         return client.readBulkClear(arguments[1].AsLong());
                     });
}

}  // namespace nimb
