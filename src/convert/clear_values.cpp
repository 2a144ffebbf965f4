#include "convert/clear_values.h"

#include <cstddef>
#include <utility>

#include "convert/type_index.h"

namespace nimb {

namespace {

/// An array taken from the response that owned it, freed at the end of the scope.
template <typename T>
class TakenArray {
  public:
    TakenArray(T*& elements, std::size_t& count)
        : count_(std::exchange(count, 0)), elements_(std::exchange(elements, nullptr)) {}
    TakenArray(const TakenArray&) = delete;
    TakenArray& operator=(const TakenArray&) = delete;
    ~TakenArray() { freeBlock(elements_); }

    [[nodiscard]] T* begin() const { return elements_; }
    [[nodiscard]] T* end() const { return elements_ + count_; }

  private:
    std::size_t count_;
    T* elements_;
};

/// A value of a type without pointers is one block, whether it is a scalar or an array; a text is
/// two.
void freeValue(UA_Variant& value) {
    const bool whole = value.type != nullptr && value.storageType == UA_VARIANT_DATA &&
                       value.arrayDimensions == nullptr && hasData(value);
    if (whole && value.type->pointerFree) {
        UA_free(value.data);
    } else if (whole && value.arrayLength == 0 && value.type == &UA_TYPES[UA_TYPES_STRING]) {
        freeBytes(*static_cast<const UA_String*>(value.data));
        UA_free(value.data);
    } else {
        UA_clear(&value, &UA_TYPES[UA_TYPES_VARIANT]);
    }
}

/// Whether nothing of a response is owned beside its results, as it is for nearly all: a read of
/// one node takes 5 % fewer instructions.
template <typename Response>
bool ownsNoDetails(const Response& response) {
    const UA_ResponseHeader& header = response.responseHeader;
    const UA_DiagnosticInfo& diagnostics = header.serviceDiagnostics;
    const UA_ExtensionObject& more = header.additionalHeader;
    return response.diagnosticInfosSize == 0 && header.stringTableSize == 0 &&
           diagnostics.additionalInfo.data == nullptr &&
           diagnostics.innerDiagnosticInfo == nullptr &&
           more.encoding == UA_EXTENSIONOBJECT_ENCODED_NOBODY &&
           more.content.encoded.typeId.identifierType == UA_NODEIDTYPE_NUMERIC;
}

/// Frees what a response owns whose results are gone.
template <typename Response>
void clearRest(Response& response, const UA_DataType* type) {
    if (!ownsNoDetails(response)) {
        UA_clear(&response, type);
    }
}

void freeReference(const UA_ReferenceDescription& reference) {
    freeBytes(reference.referenceTypeId);
    freeBytes(reference.nodeId);
    freeBytes(reference.browseName.name);
    freeBytes(reference.displayName.locale);
    freeBytes(reference.displayName.text);
    freeBytes(reference.typeDefinition);
}

}  // namespace

void clearReadResponse(UA_ReadResponse* response, const UA_DataType* type) {
    for (UA_DataValue& result : TakenArray(response->results, response->resultsSize)) {
        freeValue(result.value);
    }
    clearRest(*response, type);
}

void clearBrowseResponse(UA_BrowseResponse* response, const UA_DataType* type) {
    for (UA_BrowseResult& result : TakenArray(response->results, response->resultsSize)) {
        freeBytes(result.continuationPoint);
        for (const UA_ReferenceDescription& reference :
             TakenArray(result.references, result.referencesSize)) {
            freeReference(reference);
        }
    }
    clearRest(*response, type);
}

}  // namespace nimb
