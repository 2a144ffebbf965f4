#include "callout/entries.h"

#include <open62541/types.h>

#include <cstring>

#include "callout/handle_map.h"
#include "callout/opcua_static.h"
#include "client/opcua_client.h"

using nimb::HandleMap;
using nimb::HostBytes;
using nimb::HostDescriptor;
using nimb::OpcuaClient;
using nimb::OpcuaStatic;

int zfTestGetInt(int* out) {
    if (out != nullptr) {
        *out = static_cast<int>(HandleMap<OpcuaClient>::getMap().size());
    }
    return 0;
}

int zfTestStatusCodeName(HostDescriptor* out, unsigned int statusCode) {
    const char* name = UA_StatusCode_name(statusCode);
    const std::size_t size = std::strlen(name) + 1;
    nimb::hostReleaseDescriptor(out);
    if (nimb::hostObtainBuffer(out, static_cast<int>(size))) {
        std::memcpy(out->data, name, size);
    }
    return 0;
}

int zfTest(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfReadLog(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfGetStatusCodeNameB(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::getStatusCodeNameB(out, in);
    return 0;
}

int zfGetClientStateNameB(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::getClientStateNameB(out, in);
    return 0;
}

int zfGetSimpleErrorCodeNameB(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::getSimpleErrorCodeNameB(out, in);
    return 0;
}

int zfCreateClientB(HostBytes* out) {
    OpcuaStatic::createB(out);
    return 0;
}

int zfGetClientStateB(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfGetClientStateC(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfSetupClientB(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfDestroyClientB(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::destroyB(out, in);
    return 0;
}

int zfConnectB(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::connectB(out, in);
    return 0;
}

int zfDisconnectB(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::disconnectB(out, in);
    return 0;
}

int zfReadBulkSetup(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::readBulkSetup(out, in);
    return 0;
}

int zfReadBulkSetupB(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfReadBulkSetupC(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::readBulkSetupC(out, in);
    return 0;
}

int zfReadBulkPoll(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::readBulkPoll(out, in);
    return 0;
}

int zfReadBulkPollB(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::readBulkPollB(out, in);
    return 0;
}

int zfReadBulkPollC(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::readBulkPollC(out, in);
    return 0;
}

int zfReadBulkClear(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::readBulkClear(out, in);
    return 0;
}

int zfCreateSubscription(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfCreateSubscriptionB(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::createSubscriptionB(out, in);
    return 0;
}

int zfPollSubscription(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::pollSubscription(out, in);
    return 0;
}

int zfDeleteSubscription(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::deleteSubscription(out, in);
    return 0;
}

int zfReadAttribute(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::readAttribute(out, in);
    return 0;
}

int zfReadValueAttribute(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfWriteAttribute(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::writeAttribute(out, in);
    return 0;
}

int zfWriteValueAttributeIntB(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfWriteValueAttributeStrB(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfDateConvOPCUA2HOROLOG(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::dtcUA2Horolog(out, in);
    return 0;
}

int zfDateConvHOROLOG2OPCUA(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::dtcHorolog2UA(out, in);
    return 0;
}

int zfDateConvOPCUA2ODBC(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::dtcUA2ODBC(out, in);
    return 0;
}

int zfDateConvODBC2OPCUA(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfDateConvOPCUA2UNIX(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfDateConvUNIX2OPCUA(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfGetClientStateD(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::getClientStateD(out, in);
    return 0;
}

int zfConnectUser(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::connectUser(out, in);
    return 0;
}

int zfSetupClientC(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::setupC(out, in);
    return 0;
}

int zfGetChannelStateName(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::getSecureChannelStateName(out, in);
    return 0;
}

int zfGetSessionStateName(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::getSessionStateName(out, in);
    return 0;
}

int zfBrowse(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::browse(out, in);
    return 0;
}

int zfBrowseNext(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::returnUnsupported(out);
    return 0;
}

int zfVersion(HostBytes* out, const HostBytes* /*in*/) {
    OpcuaStatic::getVersion(out);
    return 0;
}

int zfGetUStr(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::getUStr(out, in);
    return 0;
}

int zfSetLogFile(HostBytes* out, const HostBytes* in) {
    OpcuaStatic::setLogFile(out, in);
    return 0;
}
