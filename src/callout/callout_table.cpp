#include "callout/callout_table.h"

#include "callout/entries.h"

namespace nimb {

namespace {

template <typename Entry>
HostFunction asFunction(Entry* entry) {
    return reinterpret_cast<HostFunction>(entry);
}

}  // namespace

// Hosts know some entries by their row, so the order is fixed; it is not alphabetical.
const CalloutRow zfedll_static[kCalloutRows + 1] = {
    {"zfTest", "Bb", asFunction(zfTest)},
    {"zfTestGetInt", "P", asFunction(zfTestGetInt)},
    {"zfTestStatusCodeName", "1Ji", asFunction(zfTestStatusCodeName)},
    {"zfReadLog", "Bb", asFunction(zfReadLog)},
    {"zfGetStatusCodeNameB", "Bb", asFunction(zfGetStatusCodeNameB)},
    {"zfGetClientStateNameB", "Bb", asFunction(zfGetClientStateNameB)},
    {"zfGetSimpleErrorCodeNameB", "Bb", asFunction(zfGetSimpleErrorCodeNameB)},
    {"zfCreateClientB", "B", asFunction(zfCreateClientB)},
    {"zfGetClientStateB", "Bb", asFunction(zfGetClientStateB)},
    {"zfGetClientStateC", "Bb", asFunction(zfGetClientStateC)},
    {"zfSetupClientB", "Bb", asFunction(zfSetupClientB)},
    {"zfDestroyClientB", "Bb", asFunction(zfDestroyClientB)},
    {"zfConnectB", "Bb", asFunction(zfConnectB)},
    {"zfDisconnectB", "Bb", asFunction(zfDisconnectB)},
    {"zfReadBulkSetup", "Bb", asFunction(zfReadBulkSetup)},
    {"zfReadBulkSetupB", "Bb", asFunction(zfReadBulkSetupB)},
    {"zfReadBulkSetupC", "Bb", asFunction(zfReadBulkSetupC)},
    {"zfReadBulkPoll", "Bb", asFunction(zfReadBulkPoll)},
    {"zfReadBulkPollB", "Bb", asFunction(zfReadBulkPollB)},
    {"zfReadBulkPollC", "Bb", asFunction(zfReadBulkPollC)},
    {"zfReadBulkClear", "Bb", asFunction(zfReadBulkClear)},
    {"zfCreateSubscription", "Bb", asFunction(zfCreateSubscription)},
    {"zfCreateSubscriptionB", "Bb", asFunction(zfCreateSubscriptionB)},
    {"zfPollSubscription", "Bb", asFunction(zfPollSubscription)},
    {"zfDeleteSubscription", "Bb", asFunction(zfDeleteSubscription)},
    {"zfReadAttribute", "Bb", asFunction(zfReadAttribute)},
    {"zfReadValueAttribute", "Bb", asFunction(zfReadValueAttribute)},
    {"zfWriteAttribute", "Bb", asFunction(zfWriteAttribute)},
    {"zfWriteValueAttributeIntB", "Bb", asFunction(zfWriteValueAttributeIntB)},
    {"zfWriteValueAttributeStrB", "Bb", asFunction(zfWriteValueAttributeStrB)},
    {"zfDateConvOPCUA2HOROLOG", "Bb", asFunction(zfDateConvOPCUA2HOROLOG)},
    {"zfDateConvHOROLOG2OPCUA", "Bb", asFunction(zfDateConvHOROLOG2OPCUA)},
    {"zfDateConvOPCUA2ODBC", "Bb", asFunction(zfDateConvOPCUA2ODBC)},
    {"zfDateConvODBC2OPCUA", "Bb", asFunction(zfDateConvODBC2OPCUA)},
    {"zfDateConvOPCUA2UNIX", "Bb", asFunction(zfDateConvOPCUA2UNIX)},
    {"zfDateConvUNIX2OPCUA", "Bb", asFunction(zfDateConvUNIX2OPCUA)},
    {"zfGetClientStateD", "Bb", asFunction(zfGetClientStateD)},
    {"zfConnectUser", "Bb", asFunction(zfConnectUser)},
    {"zfSetupClientC", "Bb", asFunction(zfSetupClientC)},
    {"zfGetChannelStateName", "Bb", asFunction(zfGetChannelStateName)},
    {"zfGetSessionStateName", "Bb", asFunction(zfGetSessionStateName)},
    {"zfBrowse", "Bb", asFunction(zfBrowse)},
    {"zfBrowseNext", "Bb", asFunction(zfBrowseNext)},
    {"zfVersion", "Bb", asFunction(zfVersion)},
    {"zfGetUStr", "Bb", asFunction(zfGetUStr)},
    {"zfSetLogFile", "Bb", asFunction(zfSetLogFile)},
    {nullptr, nullptr, nullptr},
};

}  // namespace nimb

const nimb::CalloutRow* GetZFTable(void* callback, nimb::HostFunction* functionTable) {
    nimb::nimbcallbackp = callback;
    nimb::nimbfunctabp = functionTable;
    return nimb::zfedll_static;
}
