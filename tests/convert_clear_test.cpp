#include <array>

#include "convert/owned.h"
#include "convert_items.h"
#include "testbed/heap.h"

namespace nimb::test {
namespace {

const UA_String text = uaString("a text that needs some bytes of its own");
const UA_NodeId node{1, UA_NODEIDTYPE_STRING, {.string = text}};
const UA_NodeId opaque{1, UA_NODEIDTYPE_BYTESTRING, {.byteString = text}};

/// Deep copies are cleared again and again; what one of them kept would add up. Builds with the
/// sanitizers see what is freed twice.
template <typename Response>
void expectNothingKept(const decltype(Response().release())& prototype) {
    constexpr std::size_t rounds = 1000;
    constexpr std::size_t smallestBlock = 24;
    std::size_t before = 0;
    for (std::size_t i = 0; i < rounds; ++i) {
        Response copy;
        ASSERT_EQ(UA_copy(&prototype, copy.get(), Response::type()), UA_STATUSCODE_GOOD);
        copy.reset();
        if (i == 0) before = heapInUse();
    }
    EXPECT_LT(heapInUse(), before + rounds * smallestBlock / 2);
}

TEST(ClearedResponses, KeepNothingOfValues) {
    std::array<double, 4> numbers{};
    std::array<UA_String, 2> texts{text, text};
    std::array<UA_NodeId, 2> nodes{node, opaque};
    std::array<UA_UInt32, 2> dimensions{2, 2};
    std::array<UA_Variant, 2> variants{variant(UA_TYPES_STRING, texts.data()), {}};
    std::array values{UA_Variant{},
                      variant(UA_TYPES_DOUBLE, numbers.data()),
                      variant(UA_TYPES_DOUBLE, numbers.data(), 4),
                      variant(UA_TYPES_DOUBLE, numbers.data(), 4, 2, dimensions.data()),
                      variant(UA_TYPES_DOUBLE, UA_EMPTY_ARRAY_SENTINEL),
                      variant(UA_TYPES_STRING, texts.data()),
                      variant(UA_TYPES_STRING, texts.data(), 2),
                      variant(UA_TYPES_NODEID, nodes.data(), 2),
                      variant(UA_TYPES_VARIANT, variants.data(), 2)};
    std::array<UA_DataValue, values.size()> results{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        results[i].hasValue = true;
        results[i].value = values[i];
    }
    UA_ReadResponse response{};
    response.results = results.data();
    response.resultsSize = results.size();
    expectNothingKept<OwnedReadResponse>(response);
    expectNothingKept<OwnedReadResponse>({});
}

TEST(ClearedResponses, KeepNothingOfWhatIsRareInThem) {
    UA_String name = text;
    UA_DiagnosticInfo inner{};
    inner.hasAdditionalInfo = true;
    inner.additionalInfo = text;
    UA_DiagnosticInfo outer{};
    outer.hasInnerDiagnosticInfo = true;
    outer.innerDiagnosticInfo = &inner;
    std::array<UA_ReadResponse, 6> responses{};
    responses[0].responseHeader.serviceDiagnostics = inner;
    responses[1].responseHeader.serviceDiagnostics = outer;
    responses[2].responseHeader.stringTable = &name;
    responses[2].responseHeader.stringTableSize = 1;
    responses[3].responseHeader.additionalHeader.content.encoded.typeId = node;
    responses[4].responseHeader.additionalHeader.encoding = UA_EXTENSIONOBJECT_ENCODED_BYTESTRING;
    responses[4].responseHeader.additionalHeader.content.encoded.body = text;
    responses[5].diagnosticInfos = &inner;
    responses[5].diagnosticInfosSize = 1;
    for (const UA_ReadResponse& response : responses) {
        expectNothingKept<OwnedReadResponse>(response);
    }
}

TEST(ClearedResponses, KeepNothingOfReferences) {
    std::array<UA_ReferenceDescription, 2> references{};
    references[0] = {node, true, {opaque, text, 1}, {1, text}, {text, text}, {}, {node, text, 1}};
    std::array<UA_BrowseResult, 2> results{};
    results[0] = {0, text, references.size(), references.data()};
    UA_BrowseResponse response{};
    response.results = results.data();
    response.resultsSize = results.size();
    expectNothingKept<OwnedBrowseResponse>(response);
}

}  // namespace
}  // namespace nimb::test
