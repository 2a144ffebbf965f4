#include <initializer_list>
#include <limits>
#include <string>

#include "demo_server/address_space.h"

namespace nimb::plant {

namespace {

/// A scalar and an array of one built-in type, filed under the type's index.
class TypePair {
  public:
    TypePair(AddressSpace& space, std::uint32_t typeIndex)
        : space_(space), type_(typeIndex), name_(UA_TYPES[typeIndex].typeName) {}

    template <typename T>
    void add(const T& single, std::initializer_list<T> several) {
        space_.addVariable(scalarOf(type_), allTypesFolder, name_, scalar(single, type_));
        addArray(several);
    }

    template <typename T>
    void addArray(std::initializer_list<T> several) {
        space_.addVariable(arrayOf(type_), allTypesFolder, name_ + "Array",
                           array(std::span<const T>(several.begin(), several.size()), type_));
    }

    template <typename T>
    void addNumber(T single, T least, T greatest) {
        add<T>(single, {least, single, greatest});
        space_.addVariable(minimumOf(type_), allTypesFolder, name_ + "Minimum",
                           scalar(least, type_));
        space_.addVariable(maximumOf(type_), allTypesFolder, name_ + "Maximum",
                           scalar(greatest, type_));
    }

    template <typename T>
    void addNumber(T single) {
        addNumber<T>(single, std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max());
    }

  private:
    AddressSpace& space_;
    std::uint32_t type_;
    std::string name_;
};

void addNumbers(AddressSpace& space) {
    TypePair(space, type::boolean).add<UA_Boolean>(true, {true, false, true});
    TypePair(space, type::sByte).addNumber<UA_SByte>(-5);
    TypePair(space, type::byte).addNumber<UA_Byte>(200);
    TypePair(space, type::int16).addNumber<UA_Int16>(-1234);
    TypePair(space, type::uInt16).addNumber<UA_UInt16>(54321);
    TypePair(space, type::int32).addNumber<UA_Int32>(-123456789);
    TypePair(space, type::uInt32).addNumber<UA_UInt32>(4000000000);
    TypePair(space, type::int64).addNumber<UA_Int64>(-9007199254740993);       // -(2^53 + 1)
    TypePair(space, type::uInt64).addNumber<UA_UInt64>(9223372036854775808U);  // 2^63
    TypePair(space, type::singleFloat).addNumber<UA_Float>(0.1F);
    TypePair(space, type::doubleFloat).addNumber<UA_Double>(-2.25);
    TypePair(space, type::dateTime)
        .addNumber<UA_DateTime>(fixedTime, 0, std::numeric_limits<UA_DateTime>::max());
    TypePair(space, type::statusCode)
        .add<UA_StatusCode>(UA_STATUSCODE_BADOUTOFRANGE,
                            {UA_STATUSCODE_GOOD, UA_STATUSCODE_BADOUTOFRANGE});
    constexpr UA_Guid guid{
        0x72962B91, 0xFA75, 0x4AE6, {0x8D, 0x28, 0xB4, 0x04, 0xDC, 0x7D, 0xAF, 0x63}};
    TypePair(space, type::guid).add<UA_Guid>(guid, {guid, UA_GUID_NULL});
}

void addTexts(AddressSpace& space) {
    using namespace std::string_view_literals;
    TypePair(space, type::string)
        .add<UA_String>(borrowed(coolingText), {borrowed("first"), borrowed(""), UA_STRING_NULL});
    const UA_ByteString bytes = borrowed("\x00\x01\xFF\x00\x7F"sv);
    TypePair(space, type::byteString)
        .add<UA_ByteString>(bytes, {bytes, borrowed(""), UA_BYTESTRING_NULL});
    const UA_XmlElement xml = borrowed("<pump id=\"1\">läuft</pump>");
    TypePair(space, type::xmlElement).add<UA_XmlElement>(xml, {xml, borrowed("<off/>")});
    const UA_QualifiedName qualified{namespaceIndex, borrowed("Füllstand")};
    TypePair(space, type::qualifiedName)
        .add<UA_QualifiedName>(qualified, {qualified, {0, borrowed("Server")}});
    const UA_LocalizedText localized{borrowed("de"), borrowed("Behälter leer")};
    TypePair(space, type::localizedText)
        .add<UA_LocalizedText>(localized, {localized, {UA_STRING_NULL, borrowed("empty")}});
}

void addNodeIds(AddressSpace& space) {
    const UA_NodeId text = stackId(tank1Level);
    UA_NodeId guid = UA_NODEID_GUID(namespaceIndex, {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}});
    UA_NodeId opaque = UA_NODEID_NUMERIC(namespaceIndex, 0);
    opaque.identifierType = UA_NODEIDTYPE_BYTESTRING;
    opaque.identifier.byteString = borrowed("\x01\x02\x03");
    TypePair(space, type::nodeId)
        .add<UA_NodeId>(text, {UA_NODEID_NUMERIC(0, 2253), text, guid, opaque});
    const UA_ExpandedNodeId remote{UA_NODEID_NUMERIC(0, 77), borrowed("urn:other:plant"), 3};
    TypePair(space, type::expandedNodeId)
        .add<UA_ExpandedNodeId>(remote, {remote, {text, UA_STRING_NULL, 0}});
}

/// A body that the server cannot know: it stays the bytes 01 02 03.
UA_ExtensionObject unknownBody() {
    UA_ExtensionObject object{};
    object.encoding = UA_EXTENSIONOBJECT_ENCODED_BYTESTRING;
    object.content.encoded.typeId = UA_NODEID_NUMERIC(namespaceIndex, 9999);
    object.content.encoded.body = borrowed("\x01\x02\x03");
    return object;
}

void addComposites(AddressSpace& space) {
    TypePair(space, type::extensionObject).add<UA_ExtensionObject>(unknownBody(), {unknownBody()});

    // Borrows from locals throughout: the server copies what it is given.
    UA_Int32 answer = 42;
    UA_DataValue data{};
    UA_Variant_setScalar(&data.value, &answer, &UA_TYPES[UA_TYPES_INT32]);
    data.hasValue = true;
    data.hasStatus = true;
    data.status = UA_STATUSCODE_UNCERTAININITIALVALUE;
    data.hasSourceTimestamp = true;
    data.sourceTimestamp = fixedTime;
    TypePair(space, type::dataValue).add<UA_DataValue>(data, {data, UA_DataValue{}});

    UA_String two = borrowed("two");
    UA_Variant text{};
    UA_Variant_setScalar(&text, &two, &UA_TYPES[UA_TYPES_STRING]);
    TypePair(space, type::variant).addArray<UA_Variant>({data.value, text, UA_Variant{}});

    UA_DiagnosticInfo info{};
    info.hasSymbolicId = true;
    info.symbolicId = 5;
    info.hasAdditionalInfo = true;
    info.additionalInfo = borrowed("detail");
    TypePair(space, type::diagnosticInfo).add<UA_DiagnosticInfo>(info, {info});
}

}  // namespace

void addAllTypes(AddressSpace& space) {
    space.addFolder(allTypesFolder, "AllTypes");
    addNumbers(space);
    addTexts(space);
    addNodeIds(space);
    addComposites(space);
}

void addWritable(AddressSpace& space) {
    space.addFolder(writableFolder, "Writable");
    const auto add = [&space](std::uint32_t typeIndex) {
        const UA_DataType& dataType = UA_TYPES[typeIndex];
        OwnedVariant zero;
        UA_Variant_setScalar(&*zero, UA_new(&dataType), &dataType);
        space.addVariable(writableOf(typeIndex), writableFolder, dataType.typeName, zero,
                          Access::readWrite);
    };
    for (std::uint32_t index = type::boolean; index <= type::byteString; ++index) add(index);
    add(type::statusCode);
}

}  // namespace nimb::plant
