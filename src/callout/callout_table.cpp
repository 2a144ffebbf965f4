// The entries, which are the functions that hosts call, and the table by which hosts find them. A
// new entry takes a line among the entries and a row at the end of the table.

#include <nimbopcua/callout_table.h>
#include <open62541/types.h>

#include <cstring>

#include "callout/handle_map.h"
#include "callout/opcua_static.h"
#include "client/opcua_client.h"
#include "host/function_table.h"

namespace {

using Out = nimb::HostBytes*;
using In = const nimb::HostBytes*;
using Handle = nimb::OpcuaStatic;

/// Errors travel in the result list, so every entry returns 0.
template <auto handler, typename... Argument>
int by(Argument... arguments) {
    handler(arguments...);
    return 0;
}

int refuse(Out out) { return by<Handle::returnUnsupported>(out); }

}  // namespace

#pragma GCC visibility push(default)

extern "C" {

int zfTestGetInt(int* out) {
    if (out != nullptr) {
        *out = static_cast<int>(nimb::HandleMap<nimb::OpcuaClient>::getMap().size());
    }
    return 0;
}

int zfTestStatusCodeName(nimb::HostDescriptor* out, unsigned int statusCode) {
    const char* name = UA_StatusCode_name(statusCode);
    const std::size_t size = std::strlen(name) + 1;
    nimb::hostReleaseDescriptor(out);
    if (nimb::hostObtainBuffer(out, static_cast<int>(size))) {
        std::memcpy(out->data, name, size);
    }
    return 0;
}

int zfTest(Out out, In) { return refuse(out); }
int zfReadLog(Out out, In) { return refuse(out); }
int zfGetStatusCodeNameB(Out out, In in) { return by<Handle::getStatusCodeNameB>(out, in); }
int zfGetClientStateNameB(Out out, In in) { return by<Handle::getClientStateNameB>(out, in); }
int zfGetSimpleErrorCodeNameB(Out out, In in) {
    return by<Handle::getSimpleErrorCodeNameB>(out, in);
}
int zfCreateClientB(Out out) { return by<Handle::createB>(out); }
int zfGetClientStateB(Out out, In) { return refuse(out); }
int zfGetClientStateC(Out out, In) { return refuse(out); }
int zfSetupClientB(Out out, In) { return refuse(out); }
int zfDestroyClientB(Out out, In in) { return by<Handle::destroyB>(out, in); }
int zfConnectB(Out out, In in) { return by<Handle::connectB>(out, in); }
int zfDisconnectB(Out out, In in) { return by<Handle::disconnectB>(out, in); }
int zfReadBulkSetup(Out out, In in) { return by<Handle::readBulkSetup>(out, in); }
int zfReadBulkSetupB(Out out, In) { return refuse(out); }
int zfReadBulkSetupC(Out out, In in) { return by<Handle::readBulkSetupC>(out, in); }
int zfReadBulkPoll(Out out, In in) { return by<Handle::readBulkPoll>(out, in); }
int zfReadBulkPollB(Out out, In in) { return by<Handle::readBulkPollB>(out, in); }
int zfReadBulkPollC(Out out, In in) { return by<Handle::readBulkPollC>(out, in); }
int zfReadBulkClear(Out out, In in) { return by<Handle::readBulkClear>(out, in); }
int zfCreateSubscription(Out out, In) { return refuse(out); }
int zfCreateSubscriptionB(Out out, In in) { return by<Handle::createSubscriptionB>(out, in); }
int zfPollSubscription(Out out, In in) { return by<Handle::pollSubscription>(out, in); }
int zfDeleteSubscription(Out out, In in) { return by<Handle::deleteSubscription>(out, in); }
int zfReadAttribute(Out out, In in) { return by<Handle::readAttribute>(out, in); }
int zfReadValueAttribute(Out out, In) { return refuse(out); }
int zfWriteAttribute(Out out, In in) { return by<Handle::writeAttribute>(out, in); }
int zfWriteValueAttributeIntB(Out out, In) { return refuse(out); }
int zfWriteValueAttributeStrB(Out out, In) { return refuse(out); }
int zfDateConvOPCUA2HOROLOG(Out out, In in) { return by<Handle::dtcUA2Horolog>(out, in); }
int zfDateConvHOROLOG2OPCUA(Out out, In in) { return by<Handle::dtcHorolog2UA>(out, in); }
int zfDateConvOPCUA2ODBC(Out out, In in) { return by<Handle::dtcUA2ODBC>(out, in); }
int zfDateConvODBC2OPCUA(Out out, In) { return refuse(out); }
int zfDateConvOPCUA2UNIX(Out out, In) { return refuse(out); }
int zfDateConvUNIX2OPCUA(Out out, In) { return refuse(out); }
int zfGetClientStateD(Out out, In in) { return by<Handle::getClientStateD>(out, in); }
int zfConnectUser(Out out, In in) { return by<Handle::connectUser>(out, in); }
int zfSetupClientC(Out out, In in) { return by<Handle::setupC>(out, in); }
int zfGetChannelStateName(Out out, In in) { return by<Handle::getSecureChannelStateName>(out, in); }
int zfGetSessionStateName(Out out, In in) { return by<Handle::getSessionStateName>(out, in); }
int zfBrowse(Out out, In in) { return by<Handle::browse>(out, in); }
int zfBrowseNext(Out out, In) { return refuse(out); }
int zfVersion(Out out, In) { return by<Handle::getVersion>(out); }
int zfGetUStr(Out out, In in) { return by<Handle::getUStr>(out, in); }
int zfSetLogFile(Out out, In in) { return by<Handle::setLogFile>(out, in); }

}  // extern "C"

#pragma GCC visibility pop

namespace nimb {

namespace {

/// A row of the table as hosts read it, nimb_callout_row, save that the function keeps its type:
/// the type gives the argument characters, and a cast away from it would have to run when the
/// library is loaded.
struct Row {
    constexpr Row() : name(nullptr), arguments(nullptr), function{.none = nullptr} {}
    constexpr Row(const char* entryName, int (*entry)(HostBytes*, const HostBytes*))
        : name(entryName), arguments("Bb"), function{.withInput = entry} {}
    constexpr Row(const char* entryName, int (*entry)(HostBytes*))
        : name(entryName), arguments("B"), function{.withoutInput = entry} {}
    constexpr Row(const char* entryName, int (*entry)(int*))
        : name(entryName), arguments("P"), function{.toInteger = entry} {}
    constexpr Row(const char* entryName, int (*entry)(HostDescriptor*, unsigned int))
        : name(entryName), arguments("1Ji"), function{.toDescriptor = entry} {}

    const char* name;
    const char* arguments;
    union {
        HostFunction none;
        int (*withInput)(HostBytes*, const HostBytes*);
        int (*withoutInput)(HostBytes*);
        int (*toInteger)(int*);
        int (*toDescriptor)(HostDescriptor*, unsigned int);
    } function;
};

static_assert(sizeof(Row) == 3 * sizeof(void*) && sizeof(Row) == sizeof(nimb_callout_row),
              "hosts step through rows of three pointers");

/// The order is fixed: Compatibility C6.
constinit const Row zfedll_static[] = {
    {"zfTest", zfTest},
    {"zfTestGetInt", zfTestGetInt},
    {"zfTestStatusCodeName", zfTestStatusCodeName},
    {"zfReadLog", zfReadLog},
    {"zfGetStatusCodeNameB", zfGetStatusCodeNameB},
    {"zfGetClientStateNameB", zfGetClientStateNameB},
    {"zfGetSimpleErrorCodeNameB", zfGetSimpleErrorCodeNameB},
    {"zfCreateClientB", zfCreateClientB},
    {"zfGetClientStateB", zfGetClientStateB},
    {"zfGetClientStateC", zfGetClientStateC},
    {"zfSetupClientB", zfSetupClientB},
    {"zfDestroyClientB", zfDestroyClientB},
    {"zfConnectB", zfConnectB},
    {"zfDisconnectB", zfDisconnectB},
    {"zfReadBulkSetup", zfReadBulkSetup},
    {"zfReadBulkSetupB", zfReadBulkSetupB},
    {"zfReadBulkSetupC", zfReadBulkSetupC},
    {"zfReadBulkPoll", zfReadBulkPoll},
    {"zfReadBulkPollB", zfReadBulkPollB},
    {"zfReadBulkPollC", zfReadBulkPollC},
    {"zfReadBulkClear", zfReadBulkClear},
    {"zfCreateSubscription", zfCreateSubscription},
    {"zfCreateSubscriptionB", zfCreateSubscriptionB},
    {"zfPollSubscription", zfPollSubscription},
    {"zfDeleteSubscription", zfDeleteSubscription},
    {"zfReadAttribute", zfReadAttribute},
    {"zfReadValueAttribute", zfReadValueAttribute},
    {"zfWriteAttribute", zfWriteAttribute},
    {"zfWriteValueAttributeIntB", zfWriteValueAttributeIntB},
    {"zfWriteValueAttributeStrB", zfWriteValueAttributeStrB},
    {"zfDateConvOPCUA2HOROLOG", zfDateConvOPCUA2HOROLOG},
    {"zfDateConvHOROLOG2OPCUA", zfDateConvHOROLOG2OPCUA},
    {"zfDateConvOPCUA2ODBC", zfDateConvOPCUA2ODBC},
    {"zfDateConvODBC2OPCUA", zfDateConvODBC2OPCUA},
    {"zfDateConvOPCUA2UNIX", zfDateConvOPCUA2UNIX},
    {"zfDateConvUNIX2OPCUA", zfDateConvUNIX2OPCUA},
    {"zfGetClientStateD", zfGetClientStateD},
    {"zfConnectUser", zfConnectUser},
    {"zfSetupClientC", zfSetupClientC},
    {"zfGetChannelStateName", zfGetChannelStateName},
    {"zfGetSessionStateName", zfGetSessionStateName},
    {"zfBrowse", zfBrowse},
    {"zfBrowseNext", zfBrowseNext},
    {"zfVersion", zfVersion},
    {"zfGetUStr", zfGetUStr},
    {"zfSetLogFile", zfSetLogFile},
    {},
};

}  // namespace

}  // namespace nimb

#pragma GCC visibility push(default)

const nimb_callout_row* GetZFTable(void* callback, nimb_function* function_table) {
    nimb::nimbcallbackp = callback;
    nimb::nimbfunctabp = function_table;
    return reinterpret_cast<const nimb_callout_row*>(nimb::zfedll_static);
}

#pragma GCC visibility pop
