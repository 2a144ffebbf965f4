#include "client/node_id_array.h"
#include "client/opcua_client.h"
#include "client/specification.h"
#include "convert/string_mode.h"
#include "list/nested_list.h"
#include "list/velto_list.h"

namespace nimb {

/// How a poll words what goes wrong before there are values: Compatibility C11.
struct BulkReadTexts {
    UACERR_TYPE unknownHandleKind;
    const char* tag;
};

namespace {

constexpr BulkReadTexts kPollTexts = {UACERR_CLIENT, ""};
constexpr BulkReadTexts kPollBTexts = {UACERR_APPLICATION, ""};
constexpr BulkReadTexts kPollCTexts = {UACERR_CLIENT, " [rbp-c]"};

UACErr conversionFailed(const char* tag, std::size_t index) {
    return {UACERR_APPLICATION, APPERR_VARIANT_CONVERSION,
            "Error encountered processing OPC response%s: idx = %d", tag, static_cast<int>(index)};
}

/// [value, source timestamp], an empty string standing for what the server did not send.
void appendValueAndTime(VeltoList* out, const UACExport& exporter, const UA_DataValue& value,
                        bool& inValue) {
    inValue = true;
    if (value.hasValue && value.hasSourceTimestamp && exporter.addNestedShortAndTime(out, value)) {
        return;
    }
    NestedList node(*out);
    if (value.hasValue) {
        exporter.UA2CL_DataValue(out, &value);
    } else {
        out->stuffAscii(out->datalength(), nullptr, 0);
    }
    inValue = false;
    if (value.hasSourceTimestamp) {
        exporter.addToVeltoList(out, UA_TYPES_DATETIME, &value.sourceTimestamp, false);
    } else {
        out->stuffAscii(out->datalength(), nullptr, 0);
    }
    node.close();
}

}  // namespace

UACErr OpcuaClient::readBulkSetup(int* queryHandle, NodeIdArray ids,
                                  const UA_UInt32* attributeIds) {
    auto request = std::make_unique<BulkReadReq>(std::move(ids), attributeIds);
    ++lastQueryHandle_;
    *queryHandle = static_cast<int>(lastQueryHandle_);
    bulkReads_[lastQueryHandle_] = std::move(request);
    return {};
}

UACErr OpcuaClient::readBulkSetup(int* queryHandle, Specification specification) {
    return readBulkSetup(queryHandle, std::move(specification.nodeIds()),
                         specification.attributeIds());
}

UACErr OpcuaClient::sendBulkRead(long queryHandle, const BulkReadTexts& texts,
                                 OwnedReadResponse& response) {
    if (UACErr error = prepareService(); error.isError()) {
        return error;
    }
    const auto found = bulkReads_.find(queryHandle);
    if (found == bulkReads_.end()) {
        return {texts.unknownHandleKind, UACErr::kGeneralCode,
                "Query handle does not correspond to a prespecified read request%s : handle = %d",
                texts.tag, static_cast<int>(queryHandle)};
    }
    // The stack writes a handle, a time stamp and a timeout into the header of what it sends, so it
    // gets a shallow copy.
    const UA_ReadRequest request = found->second->request();
    callService(&request, &UA_TYPES[UA_TYPES_READREQUEST], response.get(), response.type());
    UA_StatusCode status = response->responseHeader.serviceResult;
    if (status == UA_STATUSCODE_GOOD && response->resultsSize != request.nodesToReadSize) {
        status = UA_STATUSCODE_BADUNKNOWNRESPONSE;  // results could not be told apart
    }
    if (status != UA_STATUSCODE_GOOD) {
        return UACErr::opcua(status, "Error encountered during execution of read request%s",
                             texts.tag);
    }
    return {};
}

UACErr OpcuaClient::readBulkPoll(VeltoList* out, long queryHandle) {
    OwnedReadResponse response;
    if (UACErr error = sendBulkRead(queryHandle, kPollTexts, response); error.isError()) {
        return error;
    }
    const UACExport exporter = resultExporter(VARIANT_SCALAR, DATA_VALUE_WITH_TIMES_FLAT);
    std::size_t i = 0;
    try {
        for (; i < response->resultsSize; ++i) {
            exporter.UA2CL_DataValue(out, &response->results[i]);
        }
    } catch (...) {
        return conversionFailed(" ", i + 1);  // Compatibility C11
    }
    return {};
}

UACErr OpcuaClient::readBulkPollB(VeltoList* out, long queryHandle) {
    OwnedReadResponse response;
    if (UACErr error = sendBulkRead(queryHandle, kPollBTexts, response); error.isError()) {
        return error;
    }
    const UACExport exporter = resultExporter(VARIANT_SCALAR, DATA_VALUE_ONLY);
    std::size_t i = 0;
    bool inValue = false;
    try {
        for (; i < response->resultsSize; ++i) {
            appendValueAndTime(out, exporter, response->results[i], inValue);
        }
    } catch (...) {
        return conversionFailed(inValue ? " [v]" : " ", i);
    }
    return {};
}

UACErr OpcuaClient::readBulkPollC(VeltoList* out, long queryHandle, bool valueRequired) {
    OwnedReadResponse response;
    if (UACErr error = sendBulkRead(queryHandle, kPollCTexts, response); error.isError()) {
        return error;
    }
    const UACExport exporter = resultExporter(VARIANT_NESTED, DATA_VALUE_WITH_TIMES);
    std::size_t i = 0;
    try {
        for (; i < response->resultsSize; ++i) {
            const UA_DataValue& value = response->results[i];
            if (value.hasValue) {
                exporter.addNestedDataValue(out, value);
            } else if (valueRequired) {
                return {UACERR_SERVER, UACErr::kGeneralCode,
                        "Missing return value [rbp-c] : idx = %d", static_cast<int>(i + 1)};
            } else {
                out->stuffAscii(out->datalength(), nullptr, 0);
            }
        }
    } catch (...) {
        return conversionFailed(" [v,rbp-c]", i);
    }
    return {};
}

UACErr OpcuaClient::readBulkClear(long queryHandle) {
    bulkReads_.erase(queryHandle);
    return {};
}

}  // namespace nimb
