// The exporter over stack values of any structure, in any mode. Every buffer is a block of its own
// and of exactly its size, so that reading past one is noticed.

#include <cstring>
#include <exception>
#include <memory>

#include "convert/type_index.h"
#include "convert/ua_export.h"
#include "errors/uac_err.h"
#include "input.h"
#include "list/velto_list.h"

namespace {

using nimb::Owned;
using nimb::UACExport;
using nimb::fuzz::Input;
using nimb::fuzz::require;

constexpr int kMaxDepth = 4;
constexpr std::size_t kMaxElements = 24;
constexpr std::size_t kBuiltInTypes = 25;

void fill(Input& input, void* value, const UA_DataType* type, int depth);

UA_String makeString(Input& input) {
    const auto bytes = input.takeBytes(input.below(40));
    UA_String text = UA_STRING_NULL;
    if (!bytes.empty()) {
        text.data = static_cast<UA_Byte*>(UA_malloc(bytes.size()));
        text.length = bytes.size();
        std::memcpy(text.data, bytes.data(), bytes.size());
    } else if (input.flag()) {
        text.data = static_cast<UA_Byte*>(UA_EMPTY_ARRAY_SENTINEL);
    }
    return text;
}

void* makeArray(Input& input, const UA_DataType* type, std::size_t size, int depth) {
    void* array = UA_Array_new(size, type);
    for (std::size_t i = 0; array != nullptr && i < size; ++i) {
        fill(input, static_cast<unsigned char*>(array) + i * type->memSize, type, depth);
    }
    return array;
}

UA_NodeId makeNodeId(Input& input) {
    UA_NodeId id{};
    constexpr UA_NodeIdType types[] = {UA_NODEIDTYPE_NUMERIC, UA_NODEIDTYPE_STRING,
                                       UA_NODEIDTYPE_GUID, UA_NODEIDTYPE_BYTESTRING};
    id.identifierType = types[input.below(4)];
    id.namespaceIndex = input.take<UA_UInt16>();
    if (id.identifierType == UA_NODEIDTYPE_STRING ||
        id.identifierType == UA_NODEIDTYPE_BYTESTRING) {
        id.identifier.string = makeString(input);
    } else {
        id.identifier.numeric = input.take<UA_UInt32>();
    }
    return id;
}

/// Dimensions that fit the length, that do not, and those of sizes no array has.
void makeDimensions(Input& input, UA_Variant& variant) {
    const std::size_t count = input.below(6);
    if (count == 0) {
        return;
    }
    variant.arrayDimensions =
        static_cast<UA_UInt32*>(UA_Array_new(count, &UA_TYPES[UA_TYPES_UINT32]));
    variant.arrayDimensionsSize = count;
    std::size_t left = variant.arrayLength;
    for (std::size_t i = 0; i < count; ++i) {
        const auto divisor = static_cast<UA_UInt32>(1 + input.below(4));
        const bool fits = divisor != 0 && left % divisor == 0;
        variant.arrayDimensions[i] = fits ? divisor : 1;
        left /= variant.arrayDimensions[i];
    }
    variant.arrayDimensions[count - 1] *= static_cast<UA_UInt32>(left);
    if (input.below(4) == 0) {
        variant.arrayDimensions[input.below(count)] = input.take<UA_UInt32>();
    }
}

/// A type outside the table that hosts know, as servers with types of their own send it.
const UA_DataType* makeType(Input& input) {
    const std::size_t index = input.below(kBuiltInTypes + 3);
    return &UA_TYPES[index < kBuiltInTypes ? index : UA_TYPES_READREQUEST + index];
}

UA_Variant makeVariant(Input& input, int depth) {
    UA_Variant variant{};
    const std::size_t form = input.below(6);
    if (form == 0 || depth >= kMaxDepth) {
        return variant;
    }
    variant.type = makeType(input);
    if (form <= 2) {
        variant.data = makeArray(input, variant.type, 1, depth + 1);
        return variant;
    }
    variant.arrayLength = form == 3 ? 1 : input.below(kMaxElements);
    variant.data = makeArray(input, variant.type, variant.arrayLength, depth + 1);
    makeDimensions(input, variant);
    return variant;
}

UA_DataValue makeDataValue(Input& input, int depth) {
    UA_DataValue value{};
    const auto parts = input.take<std::uint8_t>();
    value.hasValue = (parts & 1) != 0;
    value.hasStatus = (parts & 2) != 0;
    value.hasSourceTimestamp = (parts & 4) != 0;
    value.hasServerTimestamp = (parts & 8) != 0;
    value.status = input.take<UA_StatusCode>();
    value.sourceTimestamp = input.take<UA_DateTime>();
    value.serverTimestamp = input.take<UA_DateTime>();
    if (value.hasValue) {
        value.value = makeVariant(input, depth);
    }
    return value;
}

UA_ExpandedNodeId makeExpandedNodeId(Input& input) {
    UA_ExpandedNodeId id{};
    id.nodeId = makeNodeId(input);
    id.namespaceUri = makeString(input);
    id.serverIndex = input.take<UA_UInt32>();
    return id;
}

UA_ReferenceDescription makeReference(Input& input) {
    UA_ReferenceDescription reference{};
    reference.referenceTypeId = makeNodeId(input);
    reference.isForward = input.flag();
    reference.nodeId = makeExpandedNodeId(input);
    reference.browseName.name = makeString(input);
    reference.displayName.text = makeString(input);
    reference.typeDefinition = makeExpandedNodeId(input);
    return reference;
}

UA_BrowseResult makeBrowseResult(Input& input) {
    UA_BrowseResult result{};
    result.statusCode = input.take<UA_StatusCode>();
    result.continuationPoint = makeString(input);
    result.referencesSize = input.below(4);
    result.references = static_cast<UA_ReferenceDescription*>(
        UA_Array_new(result.referencesSize, &UA_TYPES[UA_TYPES_REFERENCEDESCRIPTION]));
    for (std::size_t i = 0; i < result.referencesSize; ++i) {
        result.references[i] = makeReference(input);
    }
    return result;
}

template <typename T>
void put(void* value, T made) {
    *static_cast<T*>(value) = made;
}

void fillStructured(Input& input, void* value, const UA_DataType* type, int depth) {
    switch (nimb::typeIndexOf(type)) {
        case UA_TYPES_NODEID:
            return put(value, makeNodeId(input));
        case UA_TYPES_EXPANDEDNODEID:
            return put(value, makeExpandedNodeId(input));
        case UA_TYPES_QUALIFIEDNAME:
            return put(value, UA_QualifiedName{input.take<UA_UInt16>(), makeString(input)});
        case UA_TYPES_LOCALIZEDTEXT:
            return put(value, UA_LocalizedText{makeString(input), makeString(input)});
        case UA_TYPES_DATAVALUE:
            return put(value, makeDataValue(input, depth));
        case UA_TYPES_VARIANT:
            return put(value, makeVariant(input, depth));
        case UA_TYPES_REFERENCEDESCRIPTION:
            return put(value, makeReference(input));
        case UA_TYPES_BROWSERESULT:
            return put(value, makeBrowseResult(input));
        default:
            return;  // stays zero: no form that hosts know
    }
}

void fill(Input& input, void* value, const UA_DataType* type, int depth) {
    switch (type->typeKind) {
        case UA_DATATYPEKIND_BOOLEAN:
            return put(value, input.flag());
        case UA_DATATYPEKIND_STRING:
        case UA_DATATYPEKIND_BYTESTRING:
        case UA_DATATYPEKIND_XMLELEMENT:
            return put(value, makeString(input));
        default:
            break;
    }
    if (type->pointerFree && type->typeKind <= UA_DATATYPEKIND_STATUSCODE) {
        const auto bytes = input.takeBytes(type->memSize);
        if (!bytes.empty()) {
            std::memcpy(value, bytes.data(), bytes.size());
        }
        return;
    }
    fillStructured(input, value, type, depth);
}

void convert(Input& input, const UACExport& exporter, long index, const void* value) {
    nimb::VeltoList list;
    list += 1;
    const bool flat = input.flag();
    try {
        switch (input.below(3)) {
            case 0:
                exporter.addToVeltoList(&list, index, value, flat);
                break;
            case 1:
                exporter.addToVeltoListB(&list, index, value);
                break;
            default:
                exporter.UA2CL(&list, index, value);
        }
    } catch (const std::exception&) {
    } catch (const nimb::UACErr&) {
    }
    // What was appended before a failure stays; it must be whole items.
    require(list.size() >= 1 && list.at(0).AsLong() == 1);
}

void printId(Input& input) {
    const Owned<UA_NodeId, UA_TYPES_NODEID> id(makeNodeId(input));
    const auto buffer = std::make_unique<char[]>(nimb::printedNodeIdCapacity(*id));
    UACExport::printNodeId(id.get(), buffer.get());
}

void exportOne(Input& input) {
    UACExport exporter;
    exporter.variantMode = static_cast<int>(input.below(5));
    exporter.dataValueMode = static_cast<int>(input.below(7));
    exporter.dateMode = static_cast<int>(input.below(5));
    exporter.stringMode = static_cast<int>(input.below(4));
    std::size_t index = input.below(kBuiltInTypes + 2);
    const UA_DataType* type = &UA_TYPES[index];
    if (index >= kBuiltInTypes) {
        const bool browse = index > kBuiltInTypes;
        type = &UA_TYPES[browse ? UA_TYPES_BROWSERESULT : UA_TYPES_REFERENCEDESCRIPTION];
        index = browse ? nimb::kBrowseResultIndex : nimb::kReferenceDescriptionIndex;
    }
    void* value = makeArray(input, type, 1, 0);
    convert(input, exporter, static_cast<long>(index), value);
    UA_Array_delete(value, 1, type);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input(data, size);
    while (!input.empty()) {
        exportOne(input);
        printId(input);
    }
    return 0;
}
