// Decimal numbers against exact rows and against the C library.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "list_hex.h"
#include "testbed/comma_locale.h"

namespace nimb {
namespace {

using test::itemHex;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr long long kMin64 = std::numeric_limits<long long>::min();

/// The number that a text spells, in bytes and in 16-bit units at an odd address, whatever stands
/// around it.
double parse(const std::string& text) {
    std::vector<double> values;
    for (const char* behind : {"5", "E5"}) {
        std::basic_string<unsigned char> bytes(1, '7'), units(1, '\0');
        for (const char c : text + behind) bytes += static_cast<unsigned char>(c);
        for (const unsigned char c : bytes) units.append({c, 0});
        values.push_back(VeltoROList::parsedblb(bytes.data(), 1, text.size() + 1));
        values.push_back(VeltoROList::parsedblu(units.data() + 1, 1, text.size() + 1));
    }
    for (const double value : values) EXPECT_EQ(value, values[0]) << text;
    return values[0];
}

std::string text(const VeltoList& list) { return list.at(0).AsAString(); }

VeltoList of(double value) {
    VeltoList list;
    list += value;
    return list;
}

/// The same numbers in every run.
std::mt19937_64 randomFrom(std::uint64_t seed) { return std::mt19937_64(seed); }

double randomDouble(std::mt19937_64& random) {
    for (;;) {
        const auto value = std::bit_cast<double>(random());
        if (std::isfinite(value)) {
            return random() % 2 != 0 ? value : std::ldexp(std::fmod(value, 1e6), -20);
        }
    }
}

TEST(DecimalText, IsCanonical) {
    const struct {
        int exponent;
        long long mantissa;
        const char* text;
    } rows[] = {{0, 0, "0"},
                {-5, 0, "0"},
                {2, 5, "500"},
                {-2, 500, "5"},
                {-3, 1250, "1.25"},
                {-2, 5, ".05"},
                {-1, -5, "-.5"},
                {-2, -1234, "-12.34"},
                {-3, 1000000, "1000"},
                {-4, 1234, ".1234"},
                {1, kMin64, "-LONG64_MI0"},
                {-2, kMin64, "-LONG64_.MI"}};
    for (const auto& row : rows) {
        EXPECT_EQ(VeltoROList::dblstr(row.exponent, row.mantissa), row.text);
    }
    for (long long value : {0LL, 7LL, 10LL, -99LL, 100LL, 12345LL, kMin64 / 7, kMin64 + 1}) {
        EXPECT_EQ(VeltoROList::lngstr(value), std::to_string(value));
    }
    EXPECT_EQ(VeltoROList::lngstr(kMin64), "LONG64_MI");
}

TEST(DecimalText, ReadsAsTheDoubleItBeginsWith) {
    const std::string zeros(30000, '0');
    const std::pair<double, std::vector<std::string>> rows[] = {
        {0.0, {"", " 1", "+", ".", "12.", "12.E1", "0..5", "0.0.5", "inf", "0E99999999999"}},
        {0.0, {"0x10", "1E-400", "2E-324"}},
        {1.0, {"1E", "1e-", "+1,5", "1" + zeros + "E-30000", "." + zeros + "1E30001"}},
        {1.5, {"--1.5x", "1.5.7", "0001.500", "15e-1", ".15e+1"}},
        {5e-324, {"5E-324", "3E-324"}},
        {kInfinity, {"1E400", "1E2147483647", std::string(32767, '9')}},
        {-kInfinity, {"-1E400"}},
    };
    for (const auto& [value, texts] : rows) {
        for (const std::string& text : texts) {
            EXPECT_EQ(parse(text), value) << text.substr(0, 40);
        }
    }
    EXPECT_EQ(parse("1E2147483649"), kInfinity);
    EXPECT_THROW(parse("1E21474836500"), std::exception);
    EXPECT_THROW(parse("1E-99999999999"), std::exception);
}

TEST(DecimalText, ReadsTheNearestDoubleOfAnyDigits) {
    // Halfway between 1 and the next double, decided only by the digit far behind.
    const std::string halfway = "1.00000000000000011102230246251565404236316680908203125";
    const double next = std::nextafter(1.0, 2.0);
    EXPECT_EQ(parse(halfway), 1.0);
    EXPECT_EQ(parse(halfway + std::string(2000, '0')), 1.0);
    EXPECT_EQ(parse(halfway + std::string(2000, '0') + "1"), next);
    std::mt19937_64 random = randomFrom(1);
    for (int i = 0; i < 20000; ++i) {
        std::string digits = "1";
        for (auto n = random() % (i % 100 == 0 ? 1200 : 30); n > 0; --n) {
            digits += static_cast<char>('0' + random() % 10);
        }
        digits.insert(random() % digits.size(), ".");
        digits += "E" + std::to_string(static_cast<int>(random() % 700) - 350);
        ASSERT_EQ(parse(digits), std::strtod(digits.c_str(), nullptr)) << digits;
    }
}

TEST(DecimalToDouble, IsTheNearest) {
    std::mt19937_64 random = randomFrom(2);
    for (int i = 0; i < 50000; ++i) {
        const auto mantissa = static_cast<long long>(random()) >> random() % 64;
        const int exponent = static_cast<int>(random() % 256) - 128;
        const std::string number = std::to_string(mantissa) + "e" + std::to_string(exponent);
        ASSERT_EQ(VeltoROList::dbl2dbl(exponent, mantissa), std::strtod(number.c_str(), nullptr))
            << number;
    }
    EXPECT_EQ(VeltoROList::dbl2dbl(-1, 1), 0.1);
    EXPECT_EQ(VeltoROList::dbl2dbl(0, kMin64), -9223372036854775808.0);
}

TEST(DoubleItems, TakeTheirExactBytes) {
    const struct {
        double value;
        const char* bytes;
    } rows[] = {
        {0.0, "02 04"},
        {-0.0, "02 04"},
        {3.0, "03 04 03"},
        {0.5, "04 06 FF 05"},
        {-2.25, "04 07 FE 1F"},
        {-16777216.0, "06 05 00 00 00 FF"},
        {9223372036854774784.0, "0A 04 00 FC FF FF FF FF FF 7F"},
        {1e22, "08 06 0B 00 E8 76 48 17"},       // 10^11 x 10^11
        {0.1, "0A 06 EF 01 00 C1 6F F2 86 23"},  // 17 digits
        {9223372036854775808.0, "0B 06 02 AE 47 E1 7A 14 AE 47 01"},
        {1e129, "04 06 7F 64"},
        {-7e-128, "04 07 80 F9"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(itemHex(row.value), row.bytes) << row.value;
    }
    EXPECT_THROW(of(kInfinity), std::exception);
    EXPECT_THROW(of(std::nan("")), std::exception);
}

TEST(DoubleItems, BeyondDecimalExponentsAreText) {
    EXPECT_EQ(text(of(-1e148)), "-1" + std::string(148, '0'));
    EXPECT_EQ(text(of(-1e-300)), "-." + std::string(299, '0') + "1");
    EXPECT_EQ(text(of(5e-324)), "." + std::string(323, '0') + "49406564584124654");
    EXPECT_EQ(text(of(3e146)), "3" + std::string(146, '0'));  // 19 digits would reach, 20 not
    EXPECT_EQ(of(3e146).at(0).Type(), item_code::kBytes);
    EXPECT_EQ(of(2e145).at(0).Type(), item_code::kPosDecimal);
}

TEST(DoubleItems, ReadBackAsTheSameDouble) {
    std::mt19937_64 random = randomFrom(3);
    for (int i = 0; i < 50000; ++i) {
        const double value = randomDouble(random);
        ASSERT_EQ(of(value).at(0).AsDouble(), value);
    }
}

TEST(DoubleItems, PrintAsTheCLibraryPrintsThem) {
    std::mt19937_64 random = randomFrom(4);
    VeltoList list;
    char expected[64];
    for (int i = 0; i < 50000; ++i) {
        const double value = i == 0   ? -0.0
                             : i == 1 ? kInfinity
                             : i == 2 ? -kInfinity
                                      : randomDouble(random);
        list.Reset();
        list.appendIEEE64(value);
        ASSERT_EQ(text(list), ::gcvt(value, 60, expected));
    }
}

TEST(NumberText, BecomesANumberItemOnlyWhereThatIsExact) {
    const struct {
        const char* text;
        const char* bytes;
    } rows[] = {
        {"300", "04 04 2C 01"},    {"-0", "02 04"},        {"3E2", "04 04 2C 01"},
        {"1.50", "04 06 FF 0F"},   {"-.5", "04 07 FF FB"}, {"5E120", "04 06 78 05"},
        {"12x", "05 01 31 32 78"}, {"", "02 01"},          {"1E500", "07 01 31 45 35 30 30"},
    };
    for (const auto& row : rows) {
        VeltoList list;
        list.appendDoubleString(std::string(row.text));
        EXPECT_EQ(test::hex(list), row.bytes) << row.text;
        list.Reset();
        const std::string narrow(row.text);
        list.appendDoubleString(std::u16string(narrow.begin(), narrow.end()));
        EXPECT_EQ(test::hex(list), row.bytes) << row.text;
    }
    VeltoList list;
    list.appendDoubleString("92233720368547758.071");
    EXPECT_EQ(list.at(0).Type(), 1);
    long exponent = -129;
    long long mantissa = 70;
    EXPECT_TRUE(VeltoROList::scale(exponent, mantissa));
    EXPECT_EQ(mantissa, 7);
}

TEST(Numbers, KnowNoLocale) {
    const test::CommaLocale comma;
    EXPECT_EQ(parse("1.5"), 1.5);
    EXPECT_EQ(parse("1,5"), 1.0);
    EXPECT_EQ(parse("1.2345678901234567890123"), 1.2345678901234567890123);
    EXPECT_EQ(VeltoROList::dbl2dbl(-30, 123456789012345678), 1.23456789012345678e-13);
    EXPECT_EQ(itemHex(0.1), "0A 06 EF 01 00 C1 6F F2 86 23");
    VeltoList list;
    list.appendIEEE64(1234.5);
    EXPECT_EQ(text(list), "1234.5");
}

}  // namespace
}  // namespace nimb
