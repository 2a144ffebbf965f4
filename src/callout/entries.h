#pragma once

#include "host/counted_string.h"
#include "host/function_table.h"

/// The functions that hosts call. Each passes its arguments to one handler and returns 0: errors
/// travel in the result list, and nothing is ever thrown across this boundary.
///
/// The output and input strings are the host's and are used only during the call.
extern "C" {

#pragma GCC visibility push(default)

int zfTest(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfTestGetInt(int* out);
int zfTestStatusCodeName(nimb::HostDescriptor* out, unsigned int statusCode);
int zfReadLog(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfGetStatusCodeNameB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfGetClientStateNameB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfGetSimpleErrorCodeNameB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfCreateClientB(nimb::HostBytes* out);
int zfGetClientStateB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfGetClientStateC(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfSetupClientB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfDestroyClientB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfConnectB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfDisconnectB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfReadBulkSetup(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfReadBulkSetupB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfReadBulkSetupC(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfReadBulkPoll(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfReadBulkPollB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfReadBulkPollC(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfReadBulkClear(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfCreateSubscription(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfCreateSubscriptionB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfPollSubscription(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfDeleteSubscription(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfReadAttribute(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfReadValueAttribute(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfWriteAttribute(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfWriteValueAttributeIntB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfWriteValueAttributeStrB(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfDateConvOPCUA2HOROLOG(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfDateConvHOROLOG2OPCUA(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfDateConvOPCUA2ODBC(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfDateConvODBC2OPCUA(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfDateConvOPCUA2UNIX(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfDateConvUNIX2OPCUA(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfGetClientStateD(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfConnectUser(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfSetupClientC(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfGetChannelStateName(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfGetSessionStateName(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfBrowse(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfBrowseNext(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfVersion(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfGetUStr(nimb::HostBytes* out, const nimb::HostBytes* in);
int zfSetLogFile(nimb::HostBytes* out, const nimb::HostBytes* in);

#pragma GCC visibility pop
}
