// Stack values to list items: every type, every mode, every failure text.

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "convert/string_mode.h"
#include "convert/type_index.h"
#include "convert_items.h"

namespace nimb {
namespace {

using test::errorOf;
using test::hex;
using test::Ieee;
using test::items;
using test::uaString;

std::string s(const char* text) { return text; }

/// The items an export appends, or the error it raises.
template <typename Export>
std::string result(Export write) {
    VeltoList list;
    const std::string error = errorOf([&] { write(&list); });
    return error == "no error" ? hex(list) : error;
}

/// An exporter as the value reads set it, in one variant mode.
UACExport exporter(int variantMode, int dataValueMode = 4) {
    return {variantMode, dataValueMode, 0, 0, DATE_UA_INTEGER, STRING_BYTES};
}

UA_Variant scalar(int typeIndex, void* value) {
    UA_Variant variant{};
    UA_Variant_setScalar(&variant, value, &UA_TYPES[typeIndex]);
    return variant;
}

template <typename T>
UA_Variant array(int typeIndex, T& values, std::vector<UA_UInt32>& dims) {
    UA_Variant variant{};
    UA_Variant_setArray(&variant, std::data(values), std::size(values), &UA_TYPES[typeIndex]);
    variant.arrayDimensions = dims.data();
    variant.arrayDimensionsSize = dims.size();
    return variant;
}

template <typename T>
std::string exported(int typeIndex, T value, const UACExport& e = exporter(3), bool flat = false) {
    return result([&](VeltoList* list) { e.addToVeltoList(list, typeIndex, &value, flat); });
}

TEST(ExportScalar, EveryTypeHasItsItem) {
    const long long smallest = std::numeric_limits<long long>::min();
    EXPECT_EQ(exported(0, UA_Byte{2}), hex(items(1)));
    EXPECT_EQ(exported(0, UA_Byte{0}), hex(items(0)));
    EXPECT_EQ(exported(1, UA_SByte{-128}), hex(items(-128)));
    EXPECT_EQ(exported(2, UA_Byte{255}), hex(items(255)));
    EXPECT_EQ(exported(3, UA_Int16{-32768}), hex(items(-32768)));
    EXPECT_EQ(exported(4, UA_UInt16{65535}), hex(items(65535)));
    EXPECT_EQ(exported(5, UA_Int32{-16777216}), "05 05 00 00 00");
    EXPECT_EQ(exported(6, UA_UInt32{0xFFFFFFFF}), hex(items(4294967295LL)));
    EXPECT_EQ(exported(7, UA_Int64{-16777216}), "06 05 00 00 00 FF");
    EXPECT_EQ(exported(7, UA_Int64{smallest}), hex(items(smallest)));
    EXPECT_EQ(exported(8, ~UA_UInt64{0}), hex(items(-1LL)));
    EXPECT_EQ(exported(8, UA_UInt64{1} << 63), hex(items(smallest)));
    EXPECT_EQ(exported(9, 0.1F), hex(items(Ieee{double{0.1F}})));
    EXPECT_EQ(exported(10, -0.0), "0A 08 00 00 00 00 00 00 00 80");
    EXPECT_EQ(exported(11, uaString("AB")), "04 01 41 42");
    EXPECT_EQ(exported(12, UA_DateTime{-5}), hex(items(-5)));
    EXPECT_EQ(exported(14, uaString("\xFF\x80")), "04 01 FF 80");
    EXPECT_EQ(exported(15, uaString("<a/>")), hex(items(s("<a/>"))));
    EXPECT_EQ(exported(18, UA_StatusCode{0x80340000}), hex(items(2150891520LL)));
    EXPECT_EQ(exported(13, UA_Guid{}), "2,6,UA_Guid");
    EXPECT_EQ(exported(21, UA_ExtensionObject{}), "2,6,UA_ExtensionObject");
    EXPECT_EQ(exported(24, UA_DiagnosticInfo{}), "2,6,UA_DiagnosticInfo");
    EXPECT_EQ(exported(25, 0), "2,6,UnknownDataType 25");
    EXPECT_EQ(exported(-1, 0), "2,6,UnknownDataType -1");
}

TEST(ExportScalar, ANullPointerIsAnEmptyStringWhateverTheType) {
    const UACExport e = exporter(3);
    for (const long type : {0L, 11L, 13L, 22L, 24L, 94L, 95L, 1000L}) {
        EXPECT_EQ(result([&](VeltoList* l) { e.addToVeltoList(l, type, nullptr, true); }), "02 01");
        EXPECT_EQ(result([&](VeltoList* l) { e.addToVeltoListB(l, type, nullptr); }), "02 01");
        EXPECT_EQ(result([&](VeltoList* l) { e.UA2CL(l, type, nullptr); }), "02 01");
    }
    EXPECT_EQ(errorOf([&] { e.UA2CL(nullptr, 0, nullptr); }), "5,5,UA2CL null input list");
}

TEST(ExportScalar, StringsFollowTheStringMode) {
    UACExport e = exporter(3);
    struct {
        int mode;
        const char* text;
        std::string expected;
    } const cases[] = {
        {0, "\xC3\xA9\xFF", "05 01 C3 A9 FF"},
        {1,
         "\xC3\xA9"
         "A",
         "06 02 E9 00 41 00"},
        {1, "", "02 02"},
        {1, "A\xFF", "2,5,Error converting string from UTF-8 to UTF-16: 'A\xFF' [x]"},
        {2, "A", "04 02 41 00"},
        {2, "", "02 02"},
        {2, "A\xFF", "02 01"},
        {3, "A", ""},
        {-1, "A", ""},
    };
    for (const auto& c : cases) {
        e.stringMode = c.mode;
        EXPECT_EQ(exported(11, uaString(c.text), e), c.expected) << c.mode << c.text;
        EXPECT_EQ(exported(15, uaString(c.text), e), c.expected) << c.mode << c.text;
    }
    EXPECT_EQ(exported(14, uaString("A\xFF"), e), "04 01 41 FF");
    e.stringMode = STRING_BYTES;
    EXPECT_EQ(exported(11, UA_String{5, nullptr}, e), "02 01");
}

TEST(ExportScalar, DatesFollowTheDateMode) {
    UACExport e = exporter(3);
    const UA_DateTime time = 116444736000000000;
    const std::string expected[] = {hex(items(std::u16string(u"47117,0.000000"))),
                                    hex(items(116444736000000000)),
                                    hex(items(std::u16string(u"1970-01-01 00:00:00.0000000"))),
                                    "2,6,addAsUnixTime() method not implemented", ""};
    for (e.dateMode = 0; e.dateMode <= 4; ++e.dateMode) {
        EXPECT_EQ(exported(12, time, e), expected[e.dateMode]);
    }
}

UA_NodeId nodeId(UA_NodeIdType type) {
    UA_NodeId id{};
    id.namespaceIndex = 2;
    id.identifierType = type;
    if (type == UA_NODEIDTYPE_NUMERIC) {
        id.identifier.numeric = 4000000000;
    } else if (type == UA_NODEIDTYPE_STRING) {
        id.identifier.string = uaString("abc");
    }
    return id;
}

TEST(ExportComposite, NodeIdsGiveTheirParts) {
    const std::pair<UA_NodeIdType, VeltoList> cases[] = {
        {UA_NODEIDTYPE_NUMERIC, items(2, 4000000000LL, 0, 6)},
        {UA_NODEIDTYPE_STRING, items(2, s("abc"), 3, 11)},
        {UA_NODEIDTYPE_GUID, items(2, s(""), 4, 13)},
        {UA_NODEIDTYPE_BYTESTRING, items(2, s(""), 5, 14)},
    };
    for (const auto& [type, parts] : cases) {
        EXPECT_EQ(exported(16, nodeId(type), exporter(3), true), hex(parts));
        EXPECT_EQ(exported(16, nodeId(type)), hex(items(parts)));
        const UA_ExpandedNodeId expanded{nodeId(type), uaString("urn:x"), 4294967295};
        const VeltoList more = parts + s("urn:x") + 4294967295LL;
        EXPECT_EQ(exported(17, expanded, exporter(3), true), hex(more));
        EXPECT_EQ(exported(17, expanded), hex(items(more)));
    }
    EXPECT_EQ(exported(16, nodeId(UA_NodeIdType(1))), "2,6,UA_NodeId");
}

TEST(ExportComposite, NamesAndTextsSpreadOutWhenFlat) {
    UA_QualifiedName name{7, uaString("name")};
    UA_LocalizedText text{uaString("en"), uaString("text")};
    EXPECT_EQ(exported(19, name), hex(items(items(s("name"), 7))));
    EXPECT_EQ(exported(20, text), hex(items(items(s("text"), s("en")))));
    EXPECT_EQ(exported(19, name, exporter(3), true), hex(items(s("name"), 7)));
    EXPECT_EQ(exported(20, text, exporter(3), true), hex(items(s("text"), s("en"))));
    const UA_Variant variants[] = {scalar(19, &name), scalar(20, &text), scalar(16, &name)};
    VeltoList list;
    EXPECT_EQ(exporter(2).addToVeltoList(&list, 23, &variants[0], false), -1);
    EXPECT_EQ(exporter(2).addToVeltoList(&list, 23, &variants[1], false), -1);
    EXPECT_EQ(exporter(2).addToVeltoList(&list, 19, &name, false), 19);
    EXPECT_EQ(list.size(), 5U);
}

TEST(ExportComposite, ABrowseResultIsATreeOfLists) {
    UA_ReferenceDescription rd{};
    rd.referenceTypeId = UA_NODEID_NUMERIC(0, 35);
    rd.isForward = true;
    rd.nodeId.nodeId = nodeId(UA_NODEIDTYPE_STRING);
    rd.browseName = {1, uaString("B")};
    rd.displayName = {uaString("en"), uaString("D")};
    rd.nodeClass = UA_NODECLASS_OBJECT;
    const VeltoList description =
        items(items(0, 35, 0, 6), 1, items(2, s("abc"), 3, 11, s(""), 0), items(s("B"), 1),
              items(s("D"), s("en")), s(""), items(0, 0, 0, 6, s(""), 0));
    UA_ReferenceDescription many[] = {rd, rd};
    UA_BrowseResult br{UA_STATUSCODE_BADNODEIDUNKNOWN, uaString("cp"), 2, many};
    const UACExport e = exporter(3);
    const auto exportB = [&](long type, const void* value) {
        return result([&](VeltoList* l) { EXPECT_EQ(e.addToVeltoListB(l, type, value), type); });
    };
    EXPECT_EQ(exportB(94, &rd), hex(items(description)));
    EXPECT_EQ(exportB(95, &br),
              hex(items(items(2150891520LL, s(""), 2, items(description, description)))));
    br.referencesSize = 0;
    EXPECT_EQ(exportB(95, &br), hex(items(items(2150891520LL, s(""), 0, VeltoList()))));
    const int seven = 7;
    EXPECT_EQ(exportB(5, &seven), hex(items(7)));
    for (const long type : {24L, 25L, 93L, 96L, 223L}) {
        EXPECT_EQ(exportB(type, &rd), "2,6,Unknown Type " + std::to_string(type));
    }
    UACExport strict = e;
    strict.stringMode = STRING_UTF16;
    many[1].displayName.text = uaString("\xFF");
    br.referencesSize = 2;
    VeltoList list = items(1);
    EXPECT_THROW(strict.addToVeltoListB(&list, 95, &br), UACErr);
    EXPECT_EQ(hex(list), hex(items(1))) << "half-built lists must go";
}

TEST(ExportDataValue, EachModeEmitsItsParts) {
    int number = 42;
    UA_DataValue dv{};
    dv.value = scalar(5, &number);
    dv.sourceTimestamp = 11;
    dv.serverTimestamp = 12;
    dv.sourcePicoseconds = 13;
    dv.serverPicoseconds = 14;
    dv.status = 0x80000001;
    dv.hasStatus = dv.hasServerTimestamp = dv.hasServerPicoseconds = true;
    const long long status = 2147483649;
    const VeltoList every = items(42, 11, 12, 13, 14, status, 0, 1, 0, 1, 0, 1);
    const VeltoList expected[] = {every,
                                  items(42),
                                  items(11),
                                  items(12),
                                  items(11, 12, status, 42),
                                  items(11, 12, status, 42),
                                  every};
    for (int mode = 0; mode <= 6; ++mode) {
        VeltoList list;
        EXPECT_EQ(exporter(2, mode).addToVeltoList(&list, 22, &dv, false), 22);
        EXPECT_EQ(hex(list), hex(expected[mode])) << mode;
    }
    UACExport e{3, 4, 0, 0, DATE_ODBC, 0};
    const std::u16string absent = u"1601-01-01 00:00:00.0000000";
    UA_Guid guid{};
    EXPECT_EQ(exported(22, UA_DataValue{}, e), hex(items(absent, absent, 0, VeltoNull())));
    UA_DataValue refused{};
    refused.value = scalar(13, &guid);
    VeltoList list;
    EXPECT_EQ(errorOf([&] { e.UA2CL(&list, 22, &refused); }), "2,6,UA_Guid");
    EXPECT_EQ(hex(list), hex(items(absent, absent, 0))) << "what stood before the failure stays";
}

/// What two lists hold, one behind the other.
VeltoList joined(std::initializer_list<VeltoList> lists) {
    VeltoList all;
    for (const VeltoList& list : lists) {
        all.appendList(list);
    }
    return all;
}

/// Compares what is written of a value in one go with its parts written one by one.
void expectItemByItem(const UA_DataValue& dv, int stringMode) {
    const UACExport e{VARIANT_NESTED, DATA_VALUE_WITH_TIMES, 0, 0, DATE_ODBC, stringMode};
    VeltoList value, source, server;
    e.addToVeltoList(&value, typeIndexOf(dv.value.type), dv.value.data, false);
    UACExport::addAsODBCDate(&source, &dv.sourceTimestamp, false);
    UACExport::addAsODBCDate(&server, &dv.serverTimestamp, false);
    const VeltoList status = items(static_cast<long long>(dv.status));
    const VeltoList parts = joined({source, server, status, value});
    EXPECT_EQ(exported(22, dv, e), hex(parts));
    VeltoList nested;
    e.addNestedDataValue(&nested, dv);
    VeltoList expected = items(parts);
    if (e.addNestedShortAndTime(&nested, dv)) {
        expected += joined({value, source});
    }
    EXPECT_EQ(hex(nested), hex(expected));
    EXPECT_EQ(nested.size(), expected.size());
}

TEST(ExportDataValue, NumbersWrittenInOneGoReadAsItemByItem) {
    UA_DataValue dv{};
    dv.sourceTimestamp = 133485408001234567;
    dv.serverTimestamp = std::numeric_limits<UA_DateTime>::min();
    for (long long bits : {0LL, 1LL, -1LL, 255LL, 256LL, -256LL, -0x100000LL, -0x100001LL,
                           -0x1000001LL, 0x7FFFFFFFLL, std::numeric_limits<long long>::max(),
                           std::numeric_limits<long long>::min()}) {
        for (const int type : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 18}) {
            SCOPED_TRACE(std::to_string(bits) + " as " + std::to_string(type));
            dv.value = scalar(type, &bits);
            dv.status = static_cast<UA_StatusCode>(bits);
            expectItemByItem(dv, STRING_BYTES);
        }
    }
}

TEST(ExportDataValue, TextsOfEveryLengthReadAsItemByItem) {
    for (std::size_t length = 0; length < 300; ++length) {
        for (const char* ending :
             {"", "\xC3\xA9", "\xC3\xA9 \xE2\x82\xAC\xF0\x9F\x98\x80", "\xFF"}) {
            std::string bytes = std::string(length, 'x') + ending;
            UA_String text = uaString(bytes.c_str());
            UA_DataValue dv{};
            dv.value = scalar(UA_TYPES_STRING, &text);
            for (const int mode : {STRING_BYTES, STRING_UTF16, STRING_UTF16_OR_EMPTY}) {
                SCOPED_TRACE(std::to_string(length) + ending + std::to_string(mode));
                if (mode != STRING_UTF16 || bytes.back() != '\xFF') {
                    expectItemByItem(dv, mode);
                }
            }
        }
    }
}

TEST(ExportComposite, ReferencesReadAlikeWhateverTheLengthOfTheirTexts) {
    for (std::size_t length = 0; length < 260; ++length) {
        const std::string name(length, 'n');
        UA_ReferenceDescription rd{};
        rd.referenceTypeId = UA_NODEID_NUMERIC(65535, 0xFFFFFFFF);
        rd.nodeId = {nodeId(UA_NODEIDTYPE_STRING), uaString("urn:x"), 0xFFFFFFFF};
        rd.browseName = {65535, uaString(name.c_str())};
        rd.displayName = {uaString("en"), uaString("D\xC3\xA9")};
        rd.typeDefinition.nodeId = UA_NODEID_NUMERIC(65535, 0xFFFFFFFF);
        rd.typeDefinition.serverIndex = 0xFFFFFFFF;
        for (const int mode : {STRING_BYTES, STRING_UTF16, STRING_UTF16_OR_EMPTY}) {
            UACExport e = exporter(3);
            e.stringMode = mode;
            const auto text = [&](const UA_String& bytes) {
                VeltoList list;
                e.add(&list, &bytes);
                return list;
            };
            const long long most = 0xFFFFFFFF;
            const VeltoList expected = items(
                joined({items(items(65535, most, 0, 6), 0),
                        items(joined({items(2), text(uaString("abc")), items(3, 11),
                                      text(uaString("urn:x")), items(most)})),
                        items(joined({text(rd.browseName.name), items(65535)})),
                        items(joined({text(rd.displayName.text), text(rd.displayName.locale)})),
                        items(s(""), joined({items(65535, most, 0, 6), text({}), items(most)}))}));
            VeltoList list;
            e.UA2CL_ReferenceDescription(&list, &rd);
            EXPECT_EQ(hex(list), hex(expected)) << length << " in mode " << mode;
        }
    }
}

TEST(ExportVariant, EachModeHasItsFormForScalarsArraysAndNulls) {
    int numbers[] = {7, 8};
    std::vector<UA_UInt32> none;
    const UA_Variant lone = scalar(5, numbers);
    const UA_Variant pair = array(5, numbers, none);
    UA_Variant emptyArray{};
    UA_Variant_setArray(&emptyArray, UA_EMPTY_ARRAY_SENTINEL, 0, &UA_TYPES[5]);
    UA_Variant nullArray = emptyArray;
    nullArray.data = nullptr;
    UA_Variant typeless = lone;
    typeless.type = nullptr;
    UA_DataType foreign = UA_TYPES[5];
    UA_Variant outside = lone;
    outside.type = &foreign;
    const std::string full = hex(items(items(5, 5, 0, 0, 0, 0, VeltoList(), 7)));
    const std::string bare = hex(items(7));
    const std::string null = "01";
    const std::string noArray = "2,6,In conversion of array variant";
    const std::string emptyA = "2,6,In conversion of empty variant (a)";
    const std::string emptyB = "2,6,In conversion of empty variant (b)";
    const std::string zero = "2,5,array is of zero-length";
    const std::string unknown = "2,6,UnknownDataType -1";
    const std::string nested = hex(items(items(7, 8), 1));
    struct {
        const char* name;
        UA_Variant variant;
        std::string expected[5];  // modes 0 to 3, and one beyond
    } const cases[] = {
        {"scalar", lone, {full, bare, bare, bare, bare}},
        {"array", pair, {noArray, noArray, null, nested, null}},
        {"empty array", emptyArray, {emptyB, emptyB, null, zero, null}},
        {"null array", nullArray, {emptyA, emptyA, null, zero, null}},
        {"nothing", UA_Variant{}, {emptyA, null, null, null, null}},
        {"no type", typeless, {"2,5,UA2CL_Variant", null, null, null, null}},
        {"foreign type", outside, {unknown, unknown, unknown, unknown, unknown}},
    };
    for (const auto& c : cases) {
        for (int mode = 0; mode <= 4; ++mode) {
            EXPECT_EQ(exported(23, c.variant, exporter(mode)), c.expected[mode]) << c.name << mode;
        }
    }
    std::vector<UA_UInt32> dims = {2, 3};
    UA_Variant odd = lone;
    odd.arrayDimensions = dims.data();
    odd.arrayDimensionsSize = 2;
    EXPECT_EQ(exported(23, odd, exporter(0)), hex(items(items(5, 5, 0, 0, 2, 0, items(2, 3), 7))));
}

TEST(ExportVariant, ArraysNestByTheirDimensions) {
    const UACExport e = exporter(3);
    std::vector<int> six = {1, 2, 3, 4, 5, 6};
    std::vector<int> one = {7};
    const VeltoList flat = items(1, 2, 3, 4, 5, 6);
    const VeltoList cube =
        items(items(items(1), items(2), items(3)), items(items(4), items(5), items(6)));
    const std::string mismatch = "5,10,variant : array elem qty / qty dim mismatch [6,";
    struct {
        std::vector<int>& values;
        std::vector<UA_UInt32> dims;
        std::string expected;
    } cases[] = {
        {six, {}, hex(items(flat, 1))},
        {six, {5}, hex(items(flat, 1))},  // a lone dimension is not looked at
        {six, {2, 3}, hex(items(items(items(1, 2, 3), items(4, 5, 6)), 2))},
        {six, {2, 3, 1}, hex(items(cube, 3))},
        {six, {4, 2}, mismatch + "8]"},
        {six, {0, 6}, mismatch + "0]"},
        {six, {0x80000003, 2}, mismatch + "6]"},
        {six, {0x80000000, 0x80000000, 4, 6}, mismatch + "0]"},
        {six, {0x80000000, 1}, mismatch + "-2147483648]"},
        {six, {1022050301, 2291244626, 9733, 494843}, mismatch + "6]"},  // 6 modulo 2^64
        {one, {}, hex(items(7))},
        {one, {3, 4}, hex(items(7))},  // nor are those of a lone element
    };
    for (auto& c : cases) {
        EXPECT_EQ(exported(23, array(5, c.values, c.dims), e), c.expected) << c.dims.size();
    }
    const UA_Variant matrix = array(5, six, cases[2].dims);
    VeltoList list;
    EXPECT_EQ(e.UA2CL_Variant(&list, &matrix, false), 23);
    EXPECT_EQ(list.size(), 1U) << "the dimension count comes only when flat";
}

TEST(ExportVariant, HostileCountsAreRefusedBeforeAnythingIsRead) {
    const UACExport e = exporter(3);
    int numbers[2] = {};
    std::vector<UA_UInt32> many(1000000, 1);
    many.back() = 2;
    std::vector<UA_UInt32> none;
    UA_Variant v = array(5, numbers, none);
    v.arrayLength = 0x80000000;
    EXPECT_EQ(exported(23, v, e), "5,10,variant : array len [-2147483648]");
    v = array(5, numbers, none);
    v.arrayDimensionsSize = 0xFFFFFFFF;
    EXPECT_EQ(exported(23, v, e), "5,10,variant : qty array dim [-1]");
    EXPECT_EQ(exported(23, array(5, numbers, many), e), "2,5,UA2CL_Variant : Array");
    v = array(5, numbers, none);
    v.arrayDimensionsSize = 2;
    EXPECT_EQ(exported(23, v, e), "2,5,UA2CL_Variant : Array");
    v = array(5, numbers, none);
    v.data = UA_EMPTY_ARRAY_SENTINEL;
    EXPECT_EQ(exported(23, v, e), "2,5,UA2CL_Variant : Array");
}

TEST(ExportVariant, FailingElementsKeepTheirErrorAndLeaveNothingBehind) {
    UA_Guid guids[2] = {};
    UA_String texts[] = {uaString("ok"), uaString("\xFF")};
    std::vector<UA_UInt32> none;
    UACExport e = exporter(3);
    e.stringMode = STRING_UTF16;
    VeltoList list = items(1);
    const UA_Variant refused = array(13, guids, none);
    const UA_Variant invalid = array(11, texts, none);
    const UA_Variant unknown = array(UA_TYPES_RANGE, guids, none);
    EXPECT_EQ(errorOf([&] { e.UA2CL(&list, 23, &refused); }), "2,6,UA_Guid");
    EXPECT_EQ(errorOf([&] { e.UA2CL(&list, 23, &unknown); }),
              "2,6,UnknownDataType " + std::to_string(UA_TYPES_RANGE));
    EXPECT_EQ(errorOf([&] { e.UA2CL(&list, 23, &invalid); }).substr(0, 4), "2,5,");
    EXPECT_EQ(hex(list), hex(items(1)));
}

/// A list that runs out of memory when it must grow beyond `limit` bytes.
class SmallList : public VeltoList {
  public:
    explicit SmallList(std::size_t limit) : limit_(limit) {}
    void ensureBuffer(std::size_t needed) override {
        if (needed > limit_) {
            throw std::bad_alloc();
        }
        VeltoList::ensureBuffer(needed);
    }

  private:
    std::size_t limit_;
};

TEST(ExportFailures, ExhaustedMemoryIsNamedByTheOutermostConversion) {
    int numbers[100] = {};
    std::vector<UA_UInt32> none;
    const UA_Variant variant = array(5, numbers, none);
    UA_DataValue dv{};
    dv.value = scalar(5, numbers);
    const UA_NodeId id = nodeId(UA_NODEIDTYPE_STRING);
    const UA_String text = uaString("text");
    const auto failure = [](std::size_t limit, int variantMode, int dvMode, long type,
                            const void* value) {
        SmallList list(limit);
        return errorOf([&] { exporter(variantMode, dvMode).UA2CL(&list, type, value); });
    };
    EXPECT_EQ(failure(0, 3, 4, 11, &text), "7,10,UA2CL");
    EXPECT_EQ(failure(0, 3, 4, 11, nullptr), "5,5,UA2CL null input datum");
    EXPECT_EQ(failure(64, 3, 4, 23, &variant), "2,5,UA2CL_Variant : Array");
    EXPECT_EQ(failure(0, 0, 4, 23, &dv.value), "2,5,UA2CL_Variant");
    EXPECT_EQ(failure(0, 3, 2, 22, &dv), "2,5,UA2CL_DataValue");
    EXPECT_EQ(failure(0, 3, 4, 16, &id), "2,6,UA_NodeId");
}

TEST(TypeWidth, EqualsTheStacksOwnSizes) {
    for (long i = 0; i <= 24; ++i) {
        EXPECT_EQ(UACExport::getTypeWidth(i), UA_TYPES[i].memSize) << i;
    }
    for (const long index : {-1L, 25L, 94L}) {
        EXPECT_EQ(errorOf([&] { UACExport::getTypeWidth(index); }),
                  "2,6,UnknownDataType " + std::to_string(index));
    }
}

TEST(PrintedNodeId, FollowsTheIdentifierTypeAndTheStringMode) {
    const std::pair<UA_NodeIdType, std::string> cases[] = {
        {UA_NODEIDTYPE_NUMERIC, "(2,4000000000)"},
        {UA_NODEIDTYPE_STRING, "(2,'abc') [ 61 62 63]"},
        {UA_NODEIDTYPE_GUID, "(2,[G/B/O]),)"},
        {UA_NODEIDTYPE_BYTESTRING, "(2,[G/B/O]),)"},
    };
    for (const int usage : {0, 1, 2}) {
        UAC_unicode_usage = usage;
        for (const auto& [type, text] : cases) {
            const UA_NodeId id = nodeId(type);
            std::vector<char> buffer(printedNodeIdCapacity(id), '\0');
            EXPECT_EQ(UACExport::printNodeId(&id, buffer.data()), buffer.data());
            const bool silent = usage == 2 && type == UA_NODEIDTYPE_STRING;
            EXPECT_EQ(std::string(buffer.data()), silent ? "" : text);
        }
    }
    UAC_unicode_usage = 0;
    char untouched[] = "x";
    EXPECT_STREQ(UACExport::printNodeId(nullptr, untouched), "x");
    UA_NodeId id = nodeId(UA_NODEIDTYPE_STRING);
    std::string bytes(5000, 'a');
    bytes[2500] = '\0';
    id.identifier.string = {bytes.size(), reinterpret_cast<UA_Byte*>(bytes.data())};
    std::vector<char> buffer(printedNodeIdCapacity(id), '\0');
    const std::string printed = UACExport::printNodeId(&id, buffer.data());
    EXPECT_EQ(printed.size(), 2500U + 3 * 5000 + 9) << "the text ends at a zero byte, the dump not";
}

}  // namespace
}  // namespace nimb
