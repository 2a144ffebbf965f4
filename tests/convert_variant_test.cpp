// Variants and data values to list items: every mode, hostile shapes, exhausted memory.

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <vector>

#include "convert/type_index.h"
#include "convert_items.h"

namespace nimb {
namespace {

using namespace std::string_literals;
using namespace test;

TEST(ExportDataValue, EachModeEmitsItsParts) {
    int number = 42;
    const UA_DataValue dv{
        variant(5, &number), 11, 12, 13, 14, 0x80000001, false, true, false, true, false, true};
    const long long status = 2147483649;
    const VeltoList every = listOf(42, 11, 12, 13, 14, status, 0, 1, 0, 1, 0, 1);
    const VeltoList timed = listOf(11, 12, status, 42);
    const VeltoList expected[] = {every, listOf(42), listOf(11), listOf(12), timed, timed, every};
    UACExport e = exporter(2);
    for (e.dataValueMode = 0; e.dataValueMode <= 6; ++e.dataValueMode) {
        VeltoList list;
        EXPECT_EQ(e.addToVeltoList(&list, 22, &dv, false), 22);
        EXPECT_EQ(hex(list), hex(expected[e.dataValueMode])) << e.dataValueMode;
    }
}

TEST(ExportDataValue, AbsentTimesStandBeforeEveryFormOfValueAndBeforeAFailure) {
    const UACExport e = exporter(3, STRING_UTF16, DATE_ODBC);
    const std::u16string absent = u"1601-01-01 00:00:00.0000000";
    EXPECT_EQ(exported(22, UA_DataValue{}, e), hex(listOf(absent, absent, 0, VeltoNull())));
    UA_DataValue dv{};
    int seven = 7;
    dv.value = variant(5, &seven);
    EXPECT_EQ(exported(22, dv, exporter(VARIANT_FULL, STRING_BYTES, DATE_ODBC)),
              hex(listOf(absent, absent, 0, listOf(5, 5, 0, 0, 0, 0, VeltoList(), 7))));
    UA_String text = uaString("\xFF");
    dv.value = variant(UA_TYPES_STRING, &text);
    VeltoList list;
    EXPECT_THROW(e.UA2CL(&list, 22, &dv), UACErr);
    EXPECT_EQ(hex(list), hex(listOf(absent, absent, 0)));
}

/// Compares what is written of a value in one go with its parts written one by one.
void expectItemByItem(const UA_DataValue& dv, int stringMode) {
    const UACExport e = exporter(VARIANT_NESTED, stringMode, DATE_ODBC);
    VeltoList value, source, server;
    e.addToVeltoList(&value, typeIndexOf(dv.value.type), dv.value.data, false);
    UACExport::addAsODBCDate(&source, &dv.sourceTimestamp, false);
    UACExport::addAsODBCDate(&server, &dv.serverTimestamp, false);
    const VeltoList parts =
        joined(source, server, listOf(static_cast<long long>(dv.status)), value);
    EXPECT_EQ(exported(22, dv, e), hex(parts));
    VeltoList nested;
    e.addNestedDataValue(&nested, dv);
    VeltoList expected = listOf(parts);
    if (e.addNestedShortAndTime(&nested, dv)) {
        expected += joined(value, source);
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
            dv.value = variant(type, &bits);
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
            dv.value = variant(UA_TYPES_STRING, &text);
            SCOPED_TRACE(bytes);
            expectItemByItem(dv, STRING_BYTES);
            expectItemByItem(dv, STRING_UTF16_OR_EMPTY);
            EXPECT_EQ(exported(UA_TYPES_STRING, text, exporter(3, STRING_UTF16)),
                      result([&](VeltoList* l) { *l += UACExport::UAString2XString(&text); }));
        }
    }
}

TEST(ExportVariant, EachModeHasItsFormForScalarsArraysAndNulls) {
    int numbers[] = {7, 8};
    const UA_Variant lone = variant(5, numbers);
    UA_UInt32 dims[] = {2, 3};
    UA_DataType foreign = UA_TYPES[5];
    UA_Variant typeless = lone;
    typeless.type = nullptr;
    UA_Variant outside = lone;
    outside.type = &foreign;
    const std::string full = hex(listOf(listOf(5, 5, 0, 0, 0, 0, VeltoList(), 7)));
    const std::string fullShape = hex(listOf(listOf(5, 5, 0, 0, 2, 0, listOf(2, 3), 7)));
    const std::string bare = hex(listOf(7));
    const std::string null = "01";
    const std::string noArray = "2,6,In conversion of array variant";
    const std::string emptyA = "2,6,In conversion of empty variant (a)";
    const std::string emptyB = "2,6,In conversion of empty variant (b)";
    const std::string zero = "2,5,array is of zero-length";
    const std::string unknown = "2,6,UnknownDataType -1";
    const std::string nested = hex(listOf(listOf(7, 8), 1));
    const struct {
        const char* name;
        UA_Variant variant;
        std::string expected[5];  // modes 0 to 3, and one beyond
    } cases[] = {
        {"scalar", lone, {full, bare, bare, bare, bare}},
        {"with dimensions", variant(5, numbers, 0, 2, dims), {fullShape, bare, bare, bare, bare}},
        {"array", variant(5, numbers, 2), {noArray, noArray, null, nested, null}},
        {"no element", variant(5, UA_EMPTY_ARRAY_SENTINEL), {emptyB, emptyB, null, zero, null}},
        {"null data", variant(5, nullptr), {emptyA, emptyA, null, zero, null}},
        {"nothing", UA_Variant{}, {emptyA, null, null, null, null}},
        {"no type", typeless, {"2,5,UA2CL_Variant", null, null, null, null}},
        {"foreign type", outside, {unknown, unknown, unknown, unknown, unknown}},
    };
    for (const auto& c : cases) {
        for (int mode = 0; mode <= 4; ++mode) {
            EXPECT_EQ(exported(23, c.variant, exporter(mode)), c.expected[mode]) << c.name << mode;
        }
    }
}

TEST(ExportVariant, ArraysNestByTheirDimensions) {
    std::vector<int> six = {1, 2, 3, 4, 5, 6};
    std::vector<int> one = {7};
    const VeltoList flat = listOf(1, 2, 3, 4, 5, 6);
    const VeltoList cube =
        listOf(listOf(listOf(1), listOf(2), listOf(3)), listOf(listOf(4), listOf(5), listOf(6)));
    const std::string mismatch = "5,10,variant : array elem qty / qty dim mismatch [6,";
    struct {
        std::vector<int>& values;
        std::vector<UA_UInt32> dims;
        std::string expected;
    } cases[] = {
        {six, {}, hex(listOf(flat, 1))},
        {six, {5}, hex(listOf(flat, 1))},  // a lone dimension is not looked at
        {six, {2, 3}, hex(listOf(listOf(listOf(1, 2, 3), listOf(4, 5, 6)), 2))},
        {six, {2, 3, 1}, hex(listOf(cube, 3))},
        {six, {4, 2}, mismatch + "8]"},
        {six, {0, 6}, mismatch + "0]"},
        {six, {0x80000003, 2}, mismatch + "6]"},
        {six, {0x80000000, 1}, mismatch + "-2147483648]"},
        {six, {1022050301, 2291244626, 9733, 494843}, mismatch + "6]"},  // 6 modulo 2^64
        {one, {}, hex(listOf(7))},
        {one, {3, 4}, hex(listOf(7))},  // nor are those of a lone element
    };
    const auto of = [](auto& c) {
        return variant(5, c.values.data(), c.values.size(), c.dims.size(), c.dims.data());
    };
    for (auto& c : cases) {
        EXPECT_EQ(exported(23, of(c)), c.expected) << c.dims.size();
    }
    const UA_Variant matrix = of(cases[2]);
    VeltoList list;
    EXPECT_EQ(exporter().UA2CL_Variant(&list, &matrix, false), 23);
    EXPECT_EQ(list.size(), 1U) << "the dimension count comes only when flat";
}

TEST(ExportVariant, HostileCountsAreRefusedBeforeAnythingIsRead) {
    int numbers[2] = {};
    std::vector<UA_UInt32> many(1000000, 1);
    many.back() = 2;
    const std::string other = "2,5,UA2CL_Variant : Array";
    const std::pair<UA_Variant, std::string> cases[] = {
        {variant(5, numbers, 0x80000000), "5,10,variant : array len [-2147483648]"},
        {variant(5, numbers, 2, 0xFFFFFFFF), "5,10,variant : qty array dim [-1]"},
        {variant(5, numbers, 2, many.size(), many.data()), other},
        {variant(5, numbers, 2, 2), other},
        {variant(5, UA_EMPTY_ARRAY_SENTINEL, 2), other},
    };
    for (const auto& [hostile, error] : cases) {
        EXPECT_EQ(exported(23, hostile), error);
    }
}

TEST(ExportVariant, FailingElementsKeepTheirErrorAndLeaveNothingBehind) {
    UA_Guid guids[2] = {};
    UA_String texts[] = {uaString("ok"), uaString("\xFF")};
    VeltoList list = listOf(1);
    const auto error = [&](const UA_Variant& failing) {
        return errorOf([&] { exporter(3, STRING_UTF16).UA2CL(&list, 23, &failing); });
    };
    EXPECT_EQ(error(variant(13, guids, 2)), "2,6,UA_Guid");
    EXPECT_EQ(error(variant(UA_TYPES_RANGE, guids, 2)),
              "2,6,UnknownDataType " + std::to_string(UA_TYPES_RANGE));
    EXPECT_EQ(error(variant(11, texts, 2)).substr(0, 4), "2,5,");
    EXPECT_EQ(hex(list), hex(listOf(1)));
}

/// A list that runs out of memory when it must grow beyond `limit` bytes.
struct SmallList : VeltoList {
    std::size_t limit;
    explicit SmallList(std::size_t bytes) : limit(bytes) {}
    void ensureBuffer(std::size_t needed) override {
        if (needed > limit) {
            throw std::bad_alloc();
        }
        VeltoList::ensureBuffer(needed);
    }
};

TEST(ExportFailures, ExhaustedMemoryIsNamedByTheOutermostConversion) {
    int numbers[100] = {};
    const UA_Variant hundred = variant(5, numbers, 100);
    UA_DataValue dv{};
    dv.value = variant(5, numbers);
    const UA_NodeId id{};
    const UA_String text = uaString("text");
    UACExport e = exporter(VARIANT_FULL);
    const auto failure = [&e](std::size_t limit, long type, const void* value) {
        SmallList list(limit);
        return errorOf([&] { e.UA2CL(&list, type, value); });
    };
    EXPECT_EQ(failure(0, 23, &dv.value), "2,5,UA2CL_Variant");
    e = exporter(VARIANT_NESTED);
    EXPECT_EQ(failure(64, 23, &hundred), "2,5,UA2CL_Variant : Array");
    EXPECT_EQ(failure(0, 11, &text), "7,10,UA2CL");
    EXPECT_EQ(failure(0, 11, nullptr), "5,5,UA2CL null input datum");
    EXPECT_EQ(failure(0, 16, &id), "2,6,UA_NodeId");
    e.dataValueMode = DATA_VALUE_SOURCE_TIME;
    EXPECT_EQ(failure(0, 22, &dv), "2,5,UA2CL_DataValue");
}

}  // namespace
}  // namespace nimb
