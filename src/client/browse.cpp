#include <chrono>
#include <new>
#include <optional>

#include "client/node_id_array.h"
#include "client/opcua_client.h"
#include "convert/string_mode.h"
#include "list/nested_list.h"
#include "list/velto_list.h"

namespace nimb {

namespace {

/// Reference type, direction, node class, browse name, display name and type definition.
constexpr UA_UInt32 kAllReferenceFields = 0x3F;

/// Forward references of all types to nodes of all classes; the server chooses the page size.
void fillRequest(const NodeIdArray& ids, UA_BrowseRequest& request) {
    void* nodes = UA_Array_new(ids.size(), &UA_TYPES[UA_TYPES_BROWSEDESCRIPTION]);
    if (nodes == nullptr) {
        throw std::bad_alloc();
    }
    request.nodesToBrowse = static_cast<UA_BrowseDescription*>(nodes);
    request.nodesToBrowseSize = ids.size();
    for (std::size_t i = 0; i < ids.size(); ++i) {
        request.nodesToBrowse[i].resultMask = kAllReferenceFields;
        if (UA_NodeId_copy(&ids[i], &request.nodesToBrowse[i].nodeId) != UA_STATUSCODE_GOOD) {
            throw std::bad_alloc();
        }
    }
}

std::optional<std::size_t> firstBadNode(const UA_BrowseResponse& response) {
    for (std::size_t i = 0; i < response.resultsSize; ++i) {
        if (response.results[i].statusCode != UA_STATUSCODE_GOOD) {
            return i;
        }
    }
    return std::nullopt;
}

void appendContinuationPoints(VeltoList* out, const UACExport& exporter,
                              const UA_BrowseResponse& response) {
    NestedList points(*out);
    for (std::size_t i = 0; i < response.resultsSize; ++i) {
        exporter.addToVeltoListB(out, UA_TYPES_BYTESTRING, &response.results[i].continuationPoint);
    }
    points.close();
}

UACErr conversionFailed(UA_StatusCode firstBad) {
    if (firstBad == UA_STATUSCODE_GOOD) {
        return UACErr::unknown("Unknown error encountered handling browse request");
    }
    return UACErr::opcua(firstBad,
                         "Errors encountered handling browse request (1 unknown, 1+ OPCUA)");
}

UACErr appendResults(VeltoList* out, const UA_BrowseResponse& response) {
    const UACExport exporter = resultExporter(VARIANT_NESTED, DATA_VALUE_WITH_TIMES);
    const std::optional<std::size_t> bad = firstBadNode(response);
    const UA_StatusCode badStatus = bad ? response.results[*bad].statusCode : UA_STATUSCODE_GOOD;
    std::size_t i = 0;
    try {
        exporter.addToVeltoListB(out, UA_TYPES_STATUSCODE, &badStatus);
        appendContinuationPoints(out, exporter, response);
        NestedList results(*out);
        for (; i < response.resultsSize; ++i) {
            exporter.addToVeltoListB(out, kBrowseResultIndex, &response.results[i]);
        }
        results.close();
    } catch (...) {
        return conversionFailed(bad && *bad < i ? badStatus : UA_STATUSCODE_GOOD);
    }
    if (!bad) {
        return {};
    }
    return UACErr::opcua(badStatus, "Error encountered regarding node #%d of %d",
                         static_cast<int>(*bad + 1), static_cast<int>(response.resultsSize));
}

}  // namespace

UACErr OpcuaClient::browse(VeltoList* out, const NodeIdArray& ids) {
    if (UACErr error = prepareService(); error.isError()) {
        return error;
    }
    OwnedBrowseRequest request;
    fillRequest(ids, *request);
    OwnedBrowseResponse response;
    const auto begin = std::chrono::steady_clock::now();
    // A failed call is one without results: Compatibility C14.
    callService(request.get(), request.type(), response.get(), response.type());
    releaseContinuationPoints(*response, std::chrono::steady_clock::now() - begin);
    return appendResults(out, *response);
}

}  // namespace nimb
