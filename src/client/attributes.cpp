#include <open62541/client_highlevel.h>

#include <limits>
#include <utility>

#include "client/opcua_client.h"
#include "client/stack_call.h"
#include "convert/string_mode.h"

namespace nimb {

namespace {

/// SByte to Int64 and StatusCode, by their positions in the stack's type table. The gaps are
/// deliberate: Compatibility C23.
constexpr unsigned long kIntegerTypes = 0x400FE;

constexpr long kFloatType = UA_TYPES_FLOAT;
constexpr long kDoubleType = UA_TYPES_DOUBLE;

constexpr const char* kReadFailed = "Error encountered during execution of read request";

UACErr taggedStatus(UA_StatusCode status, const char* tag) {
    if (status == UA_STATUSCODE_GOOD) {
        return {};
    }
    return UACErr::opcua(status, "%s", tag);
}

}  // namespace

WriteForm writeFormOf(long type) {
    if (type >= 0 && type <= UA_TYPES_STATUSCODE && ((kIntegerTypes >> type) & 1U) != 0) {
        return WriteForm::integer;
    }
    if (type == kFloatType || type == kDoubleType) {
        return WriteForm::floatingPoint;
    }
    return type == UA_TYPES_STRING ? WriteForm::text : WriteForm::refused;
}

UACErr OpcuaClient::sendRead(const UA_NodeId& id, OwnedReadResponse& response) {
    if (UACErr error = prepareService(); error.isError()) {
        return error;
    }
    UA_ReadValueId node{};
    node.nodeId = id;
    node.attributeId = UA_ATTRIBUTEID_VALUE;
    UA_ReadRequest request{};
    request.timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
    request.nodesToRead = &node;
    request.nodesToReadSize = 1;
    callService(&request, &UA_TYPES[UA_TYPES_READREQUEST], response.get(), response.type());
    UA_StatusCode status = response->responseHeader.serviceResult;
    if (status == UA_STATUSCODE_GOOD && response->resultsSize != 1) {
        status = UA_STATUSCODE_BADUNKNOWNRESPONSE;
    }
    return taggedStatus(status, kReadFailed);
}

UACErr OpcuaClient::readValueAttribute(UA_DataValue* out, const UA_NodeId& id) {
    OwnedReadResponse response;
    UACErr error = sendRead(id, response);
    if (!error.isError()) {
        *out = std::exchange(response->results[0], UA_DataValue{});
    }
    return error;
}

UACErr OpcuaClient::readValueAttribute(VeltoList* out, const UA_NodeId& id) {
    OwnedReadResponse response;
    UACErr error = sendRead(id, response);
    if (!error.isError()) {
        const UACExport exporter = resultExporter(VARIANT_SCALAR, DATA_VALUE_WITH_TIMES);
        exporter.UA2CL_DataValue(out, &response->results[0]);
    }
    return error;
}

UACErr OpcuaClient::readAttribute(void* out, const UA_NodeId& id, UA_AttributeId attribute,
                                  const UA_DataType* type) {
    if (UACErr error = prepareService(); error.isError()) {
        return error;
    }
    UA_StatusCode status = UA_STATUSCODE_BADCONNECTIONCLOSED;
    if (sessionMayBeUsed()) {
        const auto call = StackCall::request(client_.get());
        status = __UA_Client_readAttribute(client_.get(), &id, attribute, out, type);
    }
    noteServiceResult(status);
    if (status == UA_STATUSCODE_GOOD) {
        return {};
    }
    return UACErr::opcua(status, "AttributeId = %d", static_cast<int>(attribute));
}

UACErr OpcuaClient::readValueAttribute(UA_Variant* out, const UA_NodeId& id) {
    UACErr error = readAttribute(out, id, UA_ATTRIBUTEID_VALUE, &UA_TYPES[UA_TYPES_VARIANT]);
    if (error.kind == UACERR_OPCUA) {
        error.text = "[C5]";
    }
    return error;
}

UA_StatusCode OpcuaClient::writeValue(const UA_NodeId& id, void* value, std::size_t typeIndex) {
    if (!sessionMayBeUsed()) {
        return UA_STATUSCODE_BADCONNECTIONCLOSED;
    }
    UA_Variant variant;
    UA_Variant_setScalar(&variant, value, &UA_TYPES[typeIndex]);
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    {
        const auto call = StackCall::request(client_.get());
        status = __UA_Client_writeAttribute(client_.get(), &id, UA_ATTRIBUTEID_VALUE, &variant,
                                            &UA_TYPES[UA_TYPES_VARIANT]);
    }
    noteServiceResult(status);
    return status;
}

UACErr OpcuaClient::writeValueAttributeInt(long value, const UA_NodeId& id, long type) {
    if (UACErr error = prepareService(); error.isError()) {
        return error;
    }
    if (writeFormOf(type) != WriteForm::integer) {
        return {UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "[C3.b]"};
    }
    // On this little-endian platform every narrower integer is the low bytes of the wider one.
    return taggedStatus(writeValue(id, &value, static_cast<std::size_t>(type)), "[C3.a]");
}

UACErr OpcuaClient::writeValueAttributeDouble(double value, const UA_NodeId& id, long type) {
    if (UACErr error = prepareService(); error.isError()) {
        return error;
    }
    if (type == kFloatType) {
        // Values beyond the range of Float become infinities.
        static_assert(std::numeric_limits<float>::is_iec559);
        auto narrowed = static_cast<float>(value);
        return taggedStatus(writeValue(id, &narrowed, UA_TYPES_FLOAT), "[C6.a]");
    }
    if (type == kDoubleType) {
        return taggedStatus(writeValue(id, &value, UA_TYPES_DOUBLE), "[C6.a]");
    }
    return {UACERR_APPLICATION, APPERR_UNSUPPORTED_TYPE, "[C6.b]"};
}

UACErr OpcuaClient::writeValueAttributeStr(UA_String* value, const UA_NodeId& id) {
    if (UACErr error = prepareService(); error.isError()) {
        return error;
    }
    return taggedStatus(writeValue(id, value, UA_TYPES_STRING), "[C4]");
}

}  // namespace nimb
