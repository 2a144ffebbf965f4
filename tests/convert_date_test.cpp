// Dates: both text forms, against the stack's calendar and the way back.

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <random>
#include <vector>

#include "convert_items.h"

namespace nimb {
namespace {

using namespace std::string_literals;

constexpr UA_DateTime kEpoch = 116444736000000000;
constexpr UA_DateTime kSecond = 10000000;
constexpr UA_DateTime kDay = 86400 * kSecond;
constexpr UA_DateTime kYear0 = -584754 * kDay;
constexpr UA_DateTime kYear10000 = (3652425 - 584754) * kDay;
constexpr UA_DateTime kNoon2000 = kEpoch + 10957 * kDay + 43200 * kSecond;
/// The first instant whose day has six digits in $HOROLOG.
constexpr UA_DateTime kDay100000 = kEpoch + 52883 * kDay;
constexpr UA_DateTime kFirst = std::numeric_limits<UA_DateTime>::min();
constexpr UA_DateTime kLast = std::numeric_limits<UA_DateTime>::max();

using Writer = void (*)(VeltoList*, const UA_DateTime*, bool);

std::string written(Writer writer, UA_DateTime time, bool wholeSeconds) {
    VeltoList list;
    writer(&list, &time, wholeSeconds);
    EXPECT_EQ(list.at(0).Type(), item_code::kUnicode);
    EXPECT_EQ(list.size(), 1U);
    return list.at(0).AsAString();
}

std::string odbc(UA_DateTime time, bool wholeSeconds = false) {
    return written(UACExport::addAsODBCDate, time, wholeSeconds);
}

std::string horolog(UA_DateTime time, bool wholeSeconds = false) {
    return written(UACExport::addAsHorolog, time, wholeSeconds);
}

/// The text by printf from the stack's fields, through the 28-byte buffer.
std::string printedOdbc(UA_DateTime time, bool wholeSeconds) {
    const UA_DateTimeStruct f = UA_DateTime_toStruct(time);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d%03d%d", f.year, f.month,
                  f.day, f.hour, f.min, f.sec, f.milliSec, f.microSec, f.nanoSec / 100);
    const std::string all = text;
    return all.substr(0, wholeSeconds ? all.find('.') : 27);
}

std::mt19937_64 randomFrom(std::uint64_t seed) { return std::mt19937_64(seed); }

TEST(DateText, KnownInstantsReadAsHostsExpect) {
    EXPECT_EQ(odbc(kNoon2000 + 1234567), "2000-01-01 12:00:00.1234567");
    EXPECT_EQ(odbc(kNoon2000 + 1234567, true), "2000-01-01 12:00:00");
    EXPECT_EQ(horolog(kNoon2000 + 1234567), "58074,43200.123456");
    EXPECT_EQ(horolog(kNoon2000 + 1234567, true), "58074,43200");
    EXPECT_EQ(horolog(kEpoch), "47117,0.000000");
    EXPECT_EQ(horolog(kEpoch + kDay + 5), "47118,0.000000");
    EXPECT_EQ(horolog(kEpoch - 1), "47117,0.999999");
    EXPECT_EQ(horolog(kDay100000 - 1), "99999,86399.999999");
    for (const UA_DateTime beyond : {kEpoch - kSecond, kDay100000, UA_DateTime{0}, kFirst, kLast}) {
        EXPECT_EQ(horolog(beyond), "47117,0") << beyond;
        EXPECT_EQ(horolog(beyond, true), "47117,0") << beyond;
    }
}

TEST(DateText, OdbcEqualsThePrintedFormOnEveryDayAndForAllInstants) {
    auto random = randomFrom(1);
    std::uniform_int_distribution<UA_DateTime> fourDigits(kYear0, kYear10000 - 1);
    std::vector<UA_DateTime> instants = {kFirst, kFirst + 1, kLast - 1, kLast};
    for (const UA_DateTime edge : {UA_DateTime{0}, kYear0, kYear10000}) {
        for (const UA_DateTime step : {UA_DateTime{1}, UA_DateTime{2}, kSecond, kDay}) {
            instants.insert(instants.end(), {edge - step, edge - step + 1, edge, edge + step - 1});
        }
    }
    for (int i = 0; i < 200000; ++i) {
        instants.push_back(static_cast<UA_DateTime>(random()));
        instants.push_back(fourDigits(random));
        // Seconds that come back, one after the other and with others in between.
        instants.push_back(kEpoch + i / 8 % 40 * kSecond + i);
        instants.push_back(kEpoch + i % 3 * 16 * kSecond + i);
    }
    for (const UA_DateTime time : instants) {
        ASSERT_EQ(odbc(time), printedOdbc(time, false)) << time;
        ASSERT_EQ(odbc(time, true), printedOdbc(time, true)) << time;
    }
    for (UA_DateTime time = kYear0 + kDay - 1; time < kYear10000; time += kDay) {
        ASSERT_EQ(odbc(time, true), printedOdbc(time, true)) << time;
    }
}

template <typename T>
UA_DateTime readDate(const T& value, bool wholeSeconds = false) {
    const VeltoList args = test::listOf(value);
    long time = 0;
    UACExport::read(&time, &args, 0, wholeSeconds);
    return time;
}

TEST(DateReading, HostValuesBecomeInstants) {
    EXPECT_EQ(readDate("47117,0"s), kEpoch);
    EXPECT_EQ(readDate("47117"s), kEpoch);
    EXPECT_EQ(readDate(""s), kEpoch - 47117 * kDay);
    EXPECT_EQ(readDate(VeltoNull()), kEpoch);
    EXPECT_EQ(readDate(47118), kEpoch + kDay);
    EXPECT_EQ(readDate("58074,43200.5"s), kNoon2000 + 5000000);
    EXPECT_EQ(readDate("58074,43200.5"s, true), kNoon2000);
    EXPECT_EQ(readDate(u"58074,43200.5"s), kNoon2000 + 5000000);
    EXPECT_EQ(readDate(58074.5), kEpoch + 10957 * kDay + 5000000);
}

TEST(DateReading, FractionsFollowTheirDigits) {
    // Characters of any kind fill places; blanks are skipped, signs read; the product is unsigned
    // and cut to 32 bits, after saturation at 64.
    const std::pair<const char*, UA_DateTime> cases[] = {
        {".", 0},
        {".5", 5000000},
        {".1234567", 1234567},
        {".123456789", 3456789},
        {".5.7", 50000},
        {". 5", 500000},
        {".x5", 0},
        {".+5", 500000},
        {".-5", 4467296},
        {".9223372036854775806", 4967294},
        {".9999999999999999999", 4967295},
        {".-9999999999999999999", 0},
    };
    for (const auto& [text, ticks] : cases) {
        EXPECT_EQ(readDate("47117,7" + std::string(text)), kEpoch + 7 * kSecond + ticks) << text;
    }
}

TEST(DateReading, AnyTextGivesSomeInstantAndUnusableItemsThrow) {
    EXPECT_NO_THROW(readDate(std::string(32000, '9')));
    EXPECT_NO_THROW(readDate("1," + std::string(16000, '9') + "." + std::string(16000, '7')));
    EXPECT_NO_THROW(readDate(std::numeric_limits<long>::min()));
    const VeltoList unusable = test::item(3, {});
    long time = 7;
    EXPECT_THROW(UACExport::read(&time, &unusable, 0, false), std::exception);
    EXPECT_THROW(UACExport::read(&time, &unusable, 1, false), std::exception);
    EXPECT_EQ(time, 7);
}

TEST(DateReading, MicrosecondsSurviveTheRoundTripThroughHorolog) {
    auto random = randomFrom(2);
    std::uniform_int_distribution<UA_DateTime> microseconds(kEpoch / 10, kDay100000 / 10 - 1);
    for (int i = 0; i < 200000; ++i) {
        const UA_DateTime time = microseconds(random) * 10;
        ASSERT_EQ(readDate(horolog(time)), time);
        ASSERT_EQ(readDate(horolog(time, true)), time - time % kSecond);
    }
}

}  // namespace
}  // namespace nimb
