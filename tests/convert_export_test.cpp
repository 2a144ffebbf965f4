// Stack values to list items: scalars and composites in every mode, and every failure text.

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "convert/string_mode.h"
#include "convert_items.h"

namespace nimb {
namespace {

using namespace std::string_literals;
using namespace test;

TEST(ExportScalar, EveryTypeHasItsItem) {
    const long long smallest = std::numeric_limits<long long>::min();
    EXPECT_EQ(exported(0, UA_Byte{2}), hex(listOf(1)));
    EXPECT_EQ(exported(0, UA_Byte{0}), hex(listOf(0)));
    EXPECT_EQ(exported(1, UA_SByte{-128}), hex(listOf(-128)));
    EXPECT_EQ(exported(2, UA_Byte{255}), hex(listOf(255)));
    EXPECT_EQ(exported(3, UA_Int16{-32768}), hex(listOf(-32768)));
    EXPECT_EQ(exported(4, UA_UInt16{65535}), hex(listOf(65535)));
    EXPECT_EQ(exported(5, UA_Int32{-16777216}), "05 05 00 00 00");
    EXPECT_EQ(exported(6, UA_UInt32{0xFFFFFFFF}), hex(listOf(4294967295LL)));
    EXPECT_EQ(exported(7, UA_Int64{-16777216}), "06 05 00 00 00 FF");
    EXPECT_EQ(exported(7, UA_Int64{smallest}), hex(listOf(smallest)));
    EXPECT_EQ(exported(8, UA_UInt64{1} << 63), hex(listOf(smallest)));
    EXPECT_EQ(exported(9, 0.1F), exported(10, double{0.1F}));
    EXPECT_EQ(exported(10, -0.0), "0A 08 00 00 00 00 00 00 00 80");
    EXPECT_EQ(exported(12, UA_DateTime{-5}), hex(listOf(-5)));
    EXPECT_EQ(exported(14, uaString("\xFF\x80")), "04 01 FF 80");
    EXPECT_EQ(exported(18, UA_StatusCode{0x80340000}), hex(listOf(2150891520LL)));
    EXPECT_EQ(exported(13, UA_Guid{}), "2,6,UA_Guid");
    EXPECT_EQ(exported(21, UA_ExtensionObject{}), "2,6,UA_ExtensionObject");
    EXPECT_EQ(exported(24, UA_DiagnosticInfo{}), "2,6,UA_DiagnosticInfo");
    EXPECT_EQ(exported(25, 0), "2,6,UnknownDataType 25");
    EXPECT_EQ(exported(-1, 0), "2,6,UnknownDataType -1");
}

TEST(ExportScalar, ANullPointerIsAnEmptyStringWhateverTheType) {
    const UACExport e = exporter();
    for (const long type : {0L, 11L, 13L, 22L, 24L, 94L, 95L, 1000L}) {
        EXPECT_EQ(result([&](VeltoList* l) { e.addToVeltoList(l, type, nullptr, true); }), "02 01");
        EXPECT_EQ(result([&](VeltoList* l) { e.addToVeltoListB(l, type, nullptr); }), "02 01");
        EXPECT_EQ(result([&](VeltoList* l) { e.UA2CL(l, type, nullptr); }), "02 01");
    }
    EXPECT_EQ(errorOf([&] { e.UA2CL(nullptr, 0, nullptr); }), "5,5,UA2CL null input list");
}

TEST(ExportScalar, StringsFollowTheStringMode) {
    const struct {
        int mode;
        const char* text;
        std::string expected;
    } cases[] = {
        {0, "\xC3\xA9\xFF", "05 01 C3 A9 FF"},
        {1, "\xC3\xA9!", "06 02 E9 00 21 00"},
        {1, "", "02 02"},
        {1, "A\xFF", "2,5,Error converting string from UTF-8 to UTF-16: 'A\xFF' [x]"},
        {2, "A", "04 02 41 00"},
        {2, "A\xFF", "02 01"},
        {3, "A", ""},
    };
    for (const auto& c : cases) {
        for (const int type : {UA_TYPES_STRING, UA_TYPES_XMLELEMENT}) {
            EXPECT_EQ(exported(type, uaString(c.text), exporter(3, c.mode)), c.expected) << c.mode;
        }
        EXPECT_EQ(exported(14, uaString("A\xFF"), exporter(3, c.mode)), "04 01 41 FF");
    }
    EXPECT_EQ(exported(11, UA_String{5, nullptr}), "02 01");
}

/// A device that cuts a text at a number of bytes may cut its last character.
TEST(ExportScalar, ACharacterThatWasCutOffAtTheEndIsLeftOut) {
    const auto shortAndLong = [](const char* end, std::size_t before) {
        const std::string text = std::string(before, 'a') + end;
        UA_QualifiedName name{1, uaString(text.c_str())};
        VeltoList list;
        exporter(3, STRING_UTF16_OR_EMPTY).addToVeltoList(&list, 11, &name.name, false);
        exporter(3, STRING_UTF16_OR_EMPTY).addToVeltoList(&list, 19, &name, true);
        EXPECT_EQ(list.at(0).AsXString(), list.at(1).AsXString()) << text;
        return list.at(0).Type() == 1 ? std::u16string(u"empty") : list.at(0).AsXString();
    };
    for (const std::size_t before : {1U, 7U, 300U}) {
        const std::u16string kept(before, u'a');
        for (const char* cut : {"\xC3", "\xE2", "\xE2\x82", "\xED\x9F", "\xF0", "\xF0\x9F",
                                "\xF0\x9F\x98", "\xF4\x8F\xBF"}) {
            EXPECT_EQ(shortAndLong(cut, before), kept) << before;
        }
        EXPECT_EQ(shortAndLong("\xC3\xA9\xC3", before), kept + u"\xE9");
        for (const char* wrong : {"\x80", "\xC0", "\xE0\x80", "\xED\xA0", "\xF4\x90", "\xF5",
                                  "\xE2\xE2", "\xC3\xA9\x80", "\xFF\xC3", "\xC3z"}) {
            EXPECT_EQ(shortAndLong(wrong, before), u"empty") << before;
        }
    }
    EXPECT_EQ(shortAndLong("\xC3", 0), u"empty");
}

TEST(ExportScalar, DatesFollowTheDateMode) {
    const UA_DateTime time = 116444736000000000;
    const std::string expected[] = {hex(listOf(u"47117,0.000000"s)), hex(listOf(time)),
                                    hex(listOf(u"1970-01-01 00:00:00.0000000"s)),
                                    "2,6,addAsUnixTime() method not implemented", ""};
    for (int mode = 0; mode <= 4; ++mode) {
        EXPECT_EQ(exported(12, time, exporter(3, STRING_BYTES, mode)), expected[mode]);
    }
}

UA_NodeId nodeId(UA_NodeIdType type) {
    UA_NodeId id{2, type, {}};
    if (type == UA_NODEIDTYPE_NUMERIC) {
        id.identifier.numeric = 4000000000;
    } else if (type == UA_NODEIDTYPE_STRING) {
        id.identifier.string = uaString("abc");
    }
    return id;
}

TEST(ExportComposite, NodeIdsGiveTheirParts) {
    const std::pair<UA_NodeIdType, VeltoList> cases[] = {
        {UA_NODEIDTYPE_NUMERIC, listOf(2, 4000000000LL, 0, 6)},
        {UA_NODEIDTYPE_STRING, listOf(2, "abc"s, 3, 11)},
        {UA_NODEIDTYPE_GUID, listOf(2, ""s, 4, 13)},
        {UA_NODEIDTYPE_BYTESTRING, listOf(2, ""s, 5, 14)},
    };
    for (const auto& [type, parts] : cases) {
        EXPECT_EQ(exported(16, nodeId(type), exporter(), true), hex(parts));
        EXPECT_EQ(exported(16, nodeId(type)), hex(listOf(parts)));
        const UA_ExpandedNodeId expanded{nodeId(type), uaString("urn:x"), 4294967295};
        const VeltoList more = joined(parts, listOf("urn:x", 4294967295LL));
        EXPECT_EQ(exported(17, expanded, exporter(), true), hex(more));
        EXPECT_EQ(exported(17, expanded), hex(listOf(more)));
    }
    EXPECT_EQ(exported(16, nodeId(UA_NodeIdType(1))), "2,6,UA_NodeId");
}

TEST(ExportComposite, NamesAndTextsAreSpreadOutInVariantsAndNestedElsewhere) {
    UA_QualifiedName name{7, uaString("name")};
    UA_LocalizedText text{uaString("en"), uaString("text")};
    const UA_Variant variants[] = {variant(19, &name), variant(20, &text)};
    const UACExport e = exporter();
    VeltoList list;
    EXPECT_EQ(e.addToVeltoList(&list, 23, &variants[0], false), -1);
    EXPECT_EQ(e.addToVeltoList(&list, 23, &variants[1], false), -1);
    EXPECT_EQ(e.addToVeltoList(&list, 19, &name, false), 19);
    EXPECT_EQ(e.addToVeltoList(&list, 20, &text, false), 20);
    const VeltoList nameParts = listOf("name"s, 7);
    const VeltoList textParts = listOf("text"s, "en"s);
    EXPECT_EQ(hex(list), hex(joined(nameParts, textParts, listOf(nameParts, textParts))));
}

UA_ReferenceDescription reference(const char* name) {
    const UA_NodeId numeric = UA_NODEID_NUMERIC(65535, 0xFFFFFFFF);
    const UA_ExpandedNodeId target{nodeId(UA_NODEIDTYPE_STRING), uaString("urn:x"), 0xFFFFFFFF};
    const UA_LocalizedText shown{uaString("en"), uaString("D\xC3\xA9")};
    const UA_QualifiedName browseName{65535, uaString(name)};
    const UA_ExpandedNodeId type{numeric, {}, 0xFFFFFFFF};
    return {numeric, true, target, browseName, shown, UA_NODECLASS_OBJECT, type};
}

/// The items that the parts of a reference give one by one.
VeltoList described(const UA_ReferenceDescription& rd, const UACExport& e) {
    VeltoList list;
    e.addToVeltoList(&list, UA_TYPES_NODEID, &rd.referenceTypeId, false);
    list += rd.isForward ? 1 : 0;
    e.addToVeltoList(&list, UA_TYPES_EXPANDEDNODEID, &rd.nodeId, false);
    e.addToVeltoList(&list, UA_TYPES_QUALIFIEDNAME, &rd.browseName, false);
    e.addToVeltoList(&list, UA_TYPES_LOCALIZEDTEXT, &rd.displayName, false);
    list += ""s;  // the node class
    e.addToVeltoList(&list, UA_TYPES_EXPANDEDNODEID, &rd.typeDefinition, false);
    return list;
}

TEST(ExportComposite, ABrowseResultIsATreeOfLists) {
    const UA_ReferenceDescription rd = reference("B");
    UA_ReferenceDescription many[] = {rd, rd};
    UA_BrowseResult br{UA_STATUSCODE_BADNODEIDUNKNOWN, uaString("cp"), 2, many};
    const auto exportB = [e = exporter()](long type, const void* value) {
        return result([&](VeltoList* l) { EXPECT_EQ(e.addToVeltoListB(l, type, value), type); });
    };
    const VeltoList one = described(rd, exporter());
    EXPECT_EQ(exportB(94, &rd), hex(listOf(one)));
    EXPECT_EQ(exportB(95, &br), hex(listOf(listOf(2150891520LL, ""s, 2, listOf(one, one)))));
    const int seven = 7;
    EXPECT_EQ(exportB(5, &seven), hex(listOf(7)));
    for (const long type : {24L, 25L, 93L, 96L, 223L}) {
        EXPECT_EQ(exportB(type, &rd), "2,6,Unknown Type " + std::to_string(type));
    }
    many[1].displayName.text = uaString("\xFF");
    VeltoList list = listOf(1);
    EXPECT_THROW(exporter(3, STRING_UTF16).addToVeltoListB(&list, 95, &br), UACErr);
    EXPECT_EQ(hex(list), hex(listOf(1))) << "half-built lists must go";
    br.referencesSize = 0;
    EXPECT_EQ(exportB(95, &br), hex(listOf(listOf(2150891520LL, ""s, 0, VeltoList()))));
}

TEST(ExportComposite, ReferencesReadAlikeWhateverTheLengthOfTheirTexts) {
    for (std::size_t length = 0; length < 260; ++length) {
        const std::string name(length, 'n');
        UA_ReferenceDescription rd = reference(name.c_str());
        if (length % 2 != 0) rd.nodeId.nodeId = rd.referenceTypeId;  // the largest identifier
        for (const int mode : {STRING_BYTES, STRING_UTF16, STRING_UTF16_OR_EMPTY}) {
            const UACExport e = exporter(3, mode);
            EXPECT_EQ(result([&](VeltoList* list) { e.UA2CL_ReferenceDescription(list, &rd); }),
                      hex(listOf(described(rd, e))))
                << length << " in mode " << mode;
        }
    }
}

TEST(TypeWidth, EqualsTheStacksOwnSizes) {
    for (long i = 0; i <= 24; ++i) {
        EXPECT_EQ(UACExport::getTypeWidth(i), UA_TYPES[i].memSize) << i;
    }
    EXPECT_EQ(errorOf([] { UACExport::getTypeWidth(-1); }), "2,6,UnknownDataType -1");
    EXPECT_EQ(errorOf([] { UACExport::getTypeWidth(25); }), "2,6,UnknownDataType 25");
}

std::string printed(const UA_NodeId& id) {
    std::vector<char> buffer(printedNodeIdCapacity(id), '\0');
    EXPECT_EQ(UACExport::printNodeId(&id, buffer.data()), buffer.data());
    return buffer.data();
}

TEST(PrintedNodeId, FollowsTheIdentifierTypeAndTheStringMode) {
    for (const int usage : {2, 1, 0}) {
        UAC_unicode_usage = usage;
        EXPECT_EQ(printed(nodeId(UA_NODEIDTYPE_NUMERIC)), "(2,4000000000)");
        EXPECT_EQ(printed(nodeId(UA_NODEIDTYPE_STRING)), usage == 2 ? "" : "(2,'abc') [ 61 62 63]");
        EXPECT_EQ(printed(nodeId(UA_NODEIDTYPE_GUID)), "(2,[G/B/O]),)");
    }
    char untouched[] = "x";
    EXPECT_STREQ(UACExport::printNodeId(nullptr, untouched), "x");
    UA_NodeId id = nodeId(UA_NODEIDTYPE_STRING);
    std::string bytes(5000, 'a');
    bytes[2500] = '\0';
    id.identifier.string = {bytes.size(), reinterpret_cast<UA_Byte*>(bytes.data())};
    EXPECT_EQ(printed(id).size(), 2500U + 3 * 5000 + 9)
        << "the text ends at a zero byte, the dump not";
}

}  // namespace
}  // namespace nimb
