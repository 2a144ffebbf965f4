#include "callout/call_frame.h"
#include "callout/opcua_static.h"
#include "client/node_id_array.h"
#include "client/opcua_client.h"

namespace nimb {

// The lists come as type, namespace, identifier: the reverse of the single-node entries, and what
// hosts send.
void OpcuaStatic::browse(HostBytes* out, const HostBytes* in) {
    waitingFrame(out, in, "[B24]", [](const Arguments& arguments, VeltoList& results) -> UACErr {
        const long handle = arguments.handle();
        const VeltoROList types = arguments[1].AsVeltoROList();
        const VeltoROList namespaces = arguments[2].AsVeltoROList();
        const VeltoROList identifiers = arguments[3].AsVeltoROList();
        if (identifiers.size() != types.size() || namespaces.size() != types.size()) {
            return inconsistentLists();
        }
        const NodeIdArray ids = getNodeIds(types, namespaces, identifiers);
        return Arguments::clientOf(handle).browse(&results, ids);
    });
}

}  // namespace nimb
