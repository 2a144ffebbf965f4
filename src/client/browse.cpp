#include <chrono>
#include <optional>
#include <vector>

#include "client/node_id_array.h"
#include "client/opcua_client.h"
#include "convert/string_mode.h"
#include "list/nested_list.h"
#include "list/velto_list.h"

namespace nimb {

namespace {

/// Reference type, direction, node class, browse name, display name and type definition.
constexpr UA_UInt32 kAllReferenceFields = 0x3F;

/// Forward references of all types to nodes of all classes; the server chooses the page size. The
/// descriptions borrow the node ids.
std::vector<UA_BrowseDescription> descriptionsOf(const NodeIdArray& ids) {
    std::vector<UA_BrowseDescription> descriptions(ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i) {
        descriptions[i].nodeId = ids[i];
        descriptions[i].resultMask = kAllReferenceFields;
    }
    return descriptions;
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

std::size_t leastBytes(const UA_BrowseResponse& response) {
    std::size_t sum = 0;
    for (std::size_t i = 0; i < response.resultsSize; ++i) {
        sum += UACExport::leastBytes(response.results[i]);
    }
    return sum;
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
        NestedList results(*out, leastBytes(response));
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
    std::vector<UA_BrowseDescription> descriptions = descriptionsOf(ids);
    UA_BrowseRequest request{};
    request.nodesToBrowse = descriptions.data();
    request.nodesToBrowseSize = descriptions.size();
    OwnedBrowseResponse response;
    const auto begin = std::chrono::steady_clock::now();
    // A failed call is one without results: Compatibility C14.
    callService(&request, &UA_TYPES[UA_TYPES_BROWSEREQUEST], response.get(), response.type());
    releaseContinuationPoints(*response, begin);
    return appendResults(out, *response);
}

}  // namespace nimb
