#pragma once

#include <open62541/types.h>

#include "errors/uac_err.h"
#include "host/counted_string.h"
#include "list/ro_list.h"

namespace nimb {

class NodeIdArray;

/// The handlers behind the exported entries. Each decodes its arguments by position, calls one
/// operation and appends results; the call frame does the rest. Positions and results of every
/// entry are listed in docs/entries.md.
class OpcuaStatic {
  public:
    OpcuaStatic() = delete;

    /// @name About the library
    /// @{
    static void returnUnsupported(HostBytes* out);
    static void getVersion(HostBytes* out);
    static void setLogFile(HostBytes* out, const HostBytes* in);
    static void getUStr(HostBytes* out, const HostBytes* in);
    /// @}

    /// @name Names
    /// @{
    static void getStatusCodeNameB(HostBytes* out, const HostBytes* in);
    static void getClientStateNameB(HostBytes* out, const HostBytes* in);
    static void getSimpleErrorCodeNameB(HostBytes* out, const HostBytes* in);
    static void getSecureChannelStateName(HostBytes* out, const HostBytes* in);
    static void getSessionStateName(HostBytes* out, const HostBytes* in);
    /// @}

    /// @name Dates
    /// @{
    static void dtcUA2Horolog(HostBytes* out, const HostBytes* in);
    static void dtcHorolog2UA(HostBytes* out, const HostBytes* in);
    static void dtcUA2ODBC(HostBytes* out, const HostBytes* in);
    /// @}

    /// @name Sessions
    /// @{
    static void createB(HostBytes* out);
    static void setupC(HostBytes* out, const HostBytes* in);
    static void connectB(HostBytes* out, const HostBytes* in);
    static void connectUser(HostBytes* out, const HostBytes* in);
    static void disconnectB(HostBytes* out, const HostBytes* in);
    static void getClientStateD(HostBytes* out, const HostBytes* in);
    static void destroyB(HostBytes* out, const HostBytes* in);
    /// @}

    /// @name Reading, writing, browsing
    /// @{
    static void readAttribute(HostBytes* out, const HostBytes* in);
    static void writeAttribute(HostBytes* out, const HostBytes* in);
    static void browse(HostBytes* out, const HostBytes* in);
    /// @}

    /// @name Bulk reads
    /// @{
    static void readBulkSetup(HostBytes* out, const HostBytes* in);
    static void readBulkSetupC(HostBytes* out, const HostBytes* in);
    static void readBulkPoll(HostBytes* out, const HostBytes* in);
    static void readBulkPollB(HostBytes* out, const HostBytes* in);
    static void readBulkPollC(HostBytes* out, const HostBytes* in);
    static void readBulkClear(HostBytes* out, const HostBytes* in);
    /// @}

    /// @name Subscriptions
    /// @{
    static void createSubscriptionB(HostBytes* out, const HostBytes* in);
    static void pollSubscription(HostBytes* out, const HostBytes* in);
    static void deleteSubscription(HostBytes* out, const HostBytes* in);
    /// @}

    /// Decodes a node id from three items: identifier type (0 numeric, 3 string), namespace index,
    /// identifier.
    /// @param out  null node id; on success the caller owns its identifier, else it is untouched
    /// @return false for another identifier type and for an item that is unreadable
    static bool getNodeId(UA_NodeId* out, const VeltoListItem& type, const VeltoListItem& index,
                          const VeltoListItem& identifier);
    /// The same from items of three lists, which may be one and the same.
    /// @return false also for an item that is missing
    static bool getNodeId(UA_NodeId* out, const VeltoROList* typeList, std::size_t typeItem,
                          const VeltoROList* nsList, std::size_t nsItem, const VeltoROList* idList,
                          std::size_t idItem);

    /// Decodes one node id from each position of three lists.
    /// @param out  as many as each list has items
    /// @return kind 2, code 4, with the 0-based position of the first that is none
    static UACErr getNodeIds(NodeIdArray& out, const VeltoROList& types,
                             const VeltoROList& namespaces, const VeltoROList& identifiers);
};

/// The answer to node lists of different sizes.
[[nodiscard]] inline UACErr inconsistentLists() {
    return {UACERR_APPLICATION, APPERR_OTHER, "Inconsistent input list lengths"};
}

}  // namespace nimb
