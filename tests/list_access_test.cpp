// What every accessor makes of every item type.

#include <gtest/gtest.h>

#include <limits>
#include <optional>

#include "list_hex.h"

namespace nimb {
namespace {

using test::item;
using test::raw;
using Bytes = std::basic_string<unsigned char>;
constexpr long long kDay = 86400;
constexpr long kMax32 = std::numeric_limits<int>::max();
constexpr long kMin32 = std::numeric_limits<int>::min();
constexpr long long kMax64 = std::numeric_limits<long long>::max();
constexpr long long kMin64 = std::numeric_limits<long long>::min();

/// The result of an accessor, or nothing where it throws.
template <typename T>
std::optional<T> read(const VeltoList& list, T (VeltoListItem::*accessor)() const) {
    try {
        return (list.at(0).*accessor)();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

template <typename T>
VeltoList of(const T& value) {
    VeltoList list;
    list += value;
    return list;
}

VeltoList decimal(int exponent, long long mantissa) {
    VeltoList list;
    if (mantissa < 0) {
        list.stuffNegNum(0, exponent, mantissa);
    } else {
        list.stuffPosNum(0, exponent, mantissa);
    }
    return list;
}

struct AccessRow {
    const char* name;
    VeltoList list;
    std::optional<long> asLong;
    std::optional<long long> asLongLong;
    std::optional<double> asDouble;
    std::optional<std::string> asText;
    std::optional<long long> asDateTime;
    std::optional<std::u16string> asWide = std::nullopt;  ///< where it is not the text widened
};

std::vector<AccessRow> accessRows() {
    const auto none = std::nullopt;
    const long long noDay = -4070908800;
    const long long one = 4607182418800017408;
    return {
        {"undefined", of(VeltoNull{}), 0, 0, 0.0, "", 0},
        {"empty text", of(""), 0, 0, 0.0, "", noDay},
        {"empty wide text", of(u""), 0, 0, 0.0, "", noDay},
        {"text", of("12abc"), 12, 12, 12.0, "12abc", noDay + 12 * kDay},
        {"wide text", of(u"-1.5E2"), -150, -150, -150.0, "-1.5E2", noDay - 150 * kDay},
        {"blank first", of(" 12"), 0, 0, 0.0, " 12", noDay},
        {"day and second", of("58074,43200.5"), 58074, 58074, 58074.0, "58074,43200.5", 946728000},
        {"wide day and second", of(u"58074,43200.5"), 58074, 58074, 58074.0, "58074,43200.5",
         946728000},
        {"foreign text", of(u"\u0141B"), 0, 0, 0.0, "AB", noDay, u"\u0141B"},
        {"odd wide text", item(2, {'7', 0, '8'}), none, none, none, "7", none},
        {"8-bit text", item(1, {0xE9}), 0, 0, 0.0, "\xE9", noDay, u"\u00E9"},
        {"integer", of(47118), 47118, 47118, 47118.0, "47118", kDay},
        {"negative integer", of(-5), -5, -5, -5.0, "-5", noDay - 5 * kDay},
        {"large integer", of(3000000000), kMax32, 3000000000, 3e9, "3000000000",
         (3000000000 - 47117) * kDay},
        {"large negative integer", of(-3000000000), kMin32, -3000000000, -3e9, "-3000000000",
         (-3000000000 - 47117) * kDay},
        {"least integer", of(kMin64), kMin32, kMin64, -9223372036854775808.0, "LONG64_MI", noDay},
        {"greatest integer", of(kMax64), kMax32, kMax64, 9223372036854775808.0,
         "9223372036854775807", noDay - kDay},
        {"decimal", decimal(-2, 12345), 123, 123, 123.45, "123.45", noDay + 123 * kDay},
        {"negative decimal", decimal(-2, -12345), -123, -123, -123.45, "-123.45",
         noDay - 123 * kDay},
        {"power of ten", decimal(2, 5), 500, kMin64, 500.0, "500", noDay + 500 * kDay},
        {"tiny decimal", decimal(-19, 5), 0, 0, 5e-19, ".0000000000000000005", noDay},
        {"zero decimal", decimal(9, 0), 0, 0, 0.0, "0", noDay},
        {"double", item(8, {0, 0, 0, 0, 0, 0, 0xF0, 0x3F}), one, one, 1.0, "1", noDay + kDay},
        {"single", item(8, {0, 0, 0x80, 0x3F}), one, one, 1.0, "1", noDay + kDay},
        {"torn floating point", item(8, {0, 0, 0}), none, none, none, none, none},
        {"nine-byte integer", item(4, Bytes(9, 1)), none, none, none, none, none},
        {"top bit set", item(4, Bytes(8, 0xFF)), none, none, none, none, none},
        {"top bit clear", item(5, Bytes(8, 0)), none, none, none, none, none},
        {"no exponent", item(6, {}), none, none, none, none, none},
        {"code 0", item(0, {1}), none, none, 0.0, none, none},
        {"code 3", item(3, {}), none, none, 0.0, none, none},
        {"code 9", item(9, {1}), none, none, 0.0, none, none},
        {"code 255", item(255, {1}), none, none, 0.0, none, none},
    };
}

TEST(ItemAccess, ConvertsEveryTypeForEveryAccessor) {
    for (const AccessRow& row : accessRows()) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(read(row.list, &VeltoListItem::AsLong), row.asLong);
        EXPECT_EQ(read(row.list, &VeltoListItem::AsBool), row.asLong);
        EXPECT_EQ(read(row.list, &VeltoListItem::AsLongLong), row.asLongLong);
        EXPECT_EQ(read(row.list, &VeltoListItem::AsPtr), row.asLongLong);
        EXPECT_EQ(read(row.list, &VeltoListItem::AsDouble), row.asDouble);
        EXPECT_EQ(read(row.list, &VeltoListItem::AsDateTime), row.asDateTime);
        EXPECT_EQ(read(row.list, &VeltoListItem::AsAString), row.asText);
        std::optional<Bytes> unsignedText;
        std::optional<std::u16string> wide = row.asWide;
        if (row.asText) {
            unsignedText.emplace(row.asText->begin(), row.asText->end());
        }
        if (row.asText && !wide) {
            wide.emplace(row.asText->begin(), row.asText->end());
        }
        EXPECT_EQ(read(row.list, &VeltoListItem::AsUAString), unsignedText);
        EXPECT_EQ(read(row.list, &VeltoListItem::AsWString), wide);
        EXPECT_EQ(read(row.list, &VeltoListItem::AsXString), wide);
    }
}

TEST(ItemAccess, ReadsNumberText) {
    const struct {
        std::string text;
        long asLong;
        long long asLongLong;
    } rows[] = {
        {"--5", 5, 5},
        {"+-7", -7, -7},
        {"-+-", 0, 0},
        {".75", 0, 0},
        {"-12.99x", -12, -12},
        {"1234E-2", 12, 12},
        {"12E", 12, 12},
        {"12E-", 12, 12},
        {"5E2", 500, 500},
        {"1e+2", 100, 100},
        {"-1E2", -100, -100},
        {"12.5E1", 125, 125},
        {"1.25E1x", 12, 12},
        {"1E-2", 0, 0},
        {" 1E2", 0, 0},
        {"1E2 ", 100, 100},
        {"0E5", 0, 0},
        {"1E18", kMax32, 1000000000000000000},
        {"1E19", kMax32, kMax64},
        {"-1E19", kMin32, kMin64},
        {"9.223372036854775807E18", kMax32, kMax64},
        {"9.223372036854775808E18", kMax32, kMax64},
        {"92233720368547758E2", kMax32, 9223372036854775800},
        {"-9.223372036854775808E18", kMin32, kMin64},
        {"-9223372036854775808E0", kMin32, kMin64},
        {"1E99999999999999999999", kMax32, kMax64},
        {"-1E99999999999999999999", kMin32, kMin64},
        {"1E-99999999999999999999", 0, 0},
        {"9223372036854775807", kMax32, kMax64},
        {"9223372036854775808", kMax32, 9223372036854775800},
        {"92233720368547758080", kMax32, kMax64},
        {"-9223372036854775808", kMin32, kMin64},
        {"100000000000000000000E-20", 1, 1},
        {"0." + std::string(30000, '0') + "1E30001", 1, 1},
        {std::string(32767, '9'), kMax32, kMax64},
        {std::string(32766, '-') + "8", 8, 8},
        {"\xB2", 0, 0},
    };
    for (const auto& row : rows) {
        const std::u16string wide(row.text.begin(), row.text.end());
        EXPECT_EQ(of(row.text).at(0).AsLong(), row.asLong) << row.text;
        EXPECT_EQ(of(wide).at(0).AsLong(), row.asLong) << row.text;
        EXPECT_EQ(of(row.text).at(0).AsLongLong(), row.asLongLong) << row.text;
        EXPECT_EQ(of(wide).at(0).AsLongLong(), row.asLongLong) << row.text;
    }
    EXPECT_EQ(of(u"\u0131\u0132").at(0).AsLong(), 0);  // low bytes "12"
}

TEST(ItemAccess, SaturatesDecimals) {
    EXPECT_EQ(decimal(1, 214748364).at(0).AsLong(), 2147483640);
    EXPECT_EQ(decimal(1, 214748365).at(0).AsLong(), kMax32);
    EXPECT_EQ(decimal(1, -214748364).at(0).AsLong(), -2147483640);
    EXPECT_EQ(decimal(1, -214748365).at(0).AsLong(), kMin32);
    EXPECT_EQ(decimal(127, -1).at(0).AsLong(), kMin32);
    EXPECT_EQ(decimal(-1, 30000000000).at(0).AsLong(), kMax32);
    EXPECT_EQ(decimal(1, 922337203685477580).at(0).AsLongLong(), 9223372036854775800);
    EXPECT_EQ(decimal(2, 922337203685477580).at(0).AsLongLong(), kMax64);
    EXPECT_EQ(decimal(1, 922337203685477581).at(0).AsLongLong(), kMax64);
    EXPECT_EQ(decimal(1, 922337203685477579).at(0).AsLongLong(), kMin64);
    EXPECT_EQ(decimal(-18, kMin64).at(0).AsLongLong(), -9);
}

TEST(ItemAccess, ReadsAnyPayloadAsANestedList) {
    const VeltoList inner = raw({2, 4, 3, 4, 9});
    const VeltoList outer = of(inner);
    EXPECT_EQ(outer.at(0).AsVeltoROList().size(), 2U);
    EXPECT_EQ(outer.at(0).AsVeltoList().at(1).AsLong(), 9);
    EXPECT_EQ(of(VeltoNull{}).at(0).AsVeltoROList().size(), 0U);
    EXPECT_EQ(VeltoListItem::getUnicode(inner.data(), 5).size(), 2U);
}

TEST(ItemAccess, CutsDoublesToDays) {
    EXPECT_EQ(VeltoROList::ieee2long(-1.9), -1);
    EXPECT_EQ(VeltoROList::ieee2long(9.3e18), kMin64);
    EXPECT_EQ(VeltoROList::ieee2long(-9.3e18), kMin64);
    EXPECT_EQ(VeltoROList::ieee2long(std::numeric_limits<double>::quiet_NaN()), kMin64);
}

}  // namespace
}  // namespace nimb
