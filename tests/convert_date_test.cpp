// Dates: both text forms against the stack and an independent calendar, and the way back.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <limits>
#include <vector>

#include "convert_items.h"

namespace nimb {
namespace {

using test::Random;

constexpr UA_DateTime kEpoch = 116444736000000000;
constexpr UA_DateTime kSecond = 10000000;
constexpr UA_DateTime kDay = 86400 * kSecond;
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
    int length = std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", f.year, f.month,
                               f.day, f.hour, f.min, f.sec);
    if (!wholeSeconds) {
        std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), ".%07d",
                      f.milliSec * 10000 + f.microSec * 10 + f.nanoSec / 100);
    }
    return std::string(text).substr(0, 27);
}

/// The HOROLOG rule word for word: 64-bit unsigned day numbers, of which 32 bits are compared.
std::string printedHorolog(UA_DateTime time, bool wholeSeconds) {
    const auto since = static_cast<std::uint64_t>(time) - std::uint64_t{kEpoch};
    const auto s = static_cast<std::uint64_t>(static_cast<std::int64_t>(since) / kSecond);
    const std::uint64_t days = s / 86400;
    if (static_cast<std::uint32_t>(days) + 37117U > 89999U) {
        return "47117,0";
    }
    char text[64];
    const auto day = static_cast<int>(days + 47117);
    const auto second = static_cast<int>(s - days * 86400);
    if (wholeSeconds) {
        std::snprintf(text, sizeof text, "%05d,%d", day, second);
    } else {
        std::snprintf(text, sizeof text, "%05d,%d.%06u", day, second,
                      static_cast<std::uint32_t>(time % kSecond) / 10);
    }
    return std::string(text).substr(0, 19);
}

TEST(DateText, KnownInstantsReadAsHostsExpect) {
    const UA_DateTime noon2000 = kEpoch + 10957 * kDay + 43200 * kSecond + 1234567;
    EXPECT_EQ(odbc(noon2000), "2000-01-01 12:00:00.1234567");
    EXPECT_EQ(odbc(noon2000, true), "2000-01-01 12:00:00");
    EXPECT_EQ(odbc(0), "1601-01-01 00:00:00.0000000");
    EXPECT_EQ(odbc(-1), "1600-12-31 23:59:59.9999999");
    EXPECT_EQ(horolog(noon2000), "58074,43200.123456");
    EXPECT_EQ(horolog(noon2000, true), "58074,43200");
    EXPECT_EQ(horolog(kEpoch), "47117,0.000000");
    EXPECT_EQ(horolog(kEpoch + kDay + 5), "47118,0.000000");
    EXPECT_EQ(horolog(kEpoch - 1), "47117,0.999999");
    EXPECT_EQ(horolog(kEpoch - kSecond), "47117,0");
    EXPECT_EQ(horolog(kEpoch + 52882 * kDay + 86399 * kSecond), "99999,86399.000000");
    EXPECT_EQ(horolog(kEpoch + 52883 * kDay), "47117,0");
    EXPECT_EQ(horolog(0, true), "47117,0");
}

TEST(DateText, EqualsThePrintedFormForAllInstants) {
    Random random;
    const UA_DateTime year0 = -584754 * kDay;
    std::vector<UA_DateTime> instants = {kFirst, kFirst + 1, -1, 0, 1, kLast - 1, kLast};
    instants.insert(instants.end(), {year0, year0 + 1, year0 + 2, year0 + kSecond});
    const UA_DateTime year10000 = (3652425 - 584754) * kDay;
    for (const UA_DateTime edge : {year0, year10000, kEpoch, kEpoch + 52883 * kDay}) {
        for (const UA_DateTime step : {UA_DateTime{1}, kSecond, kDay}) {
            instants.insert(instants.end(), {edge - step, edge - step + 1, edge, edge + step - 1});
        }
    }
    for (int i = 0; i < 200000; ++i) {
        instants.push_back(static_cast<UA_DateTime>(random.next()));
        instants.push_back(random.between(year0, year10000 - 1));
        instants.push_back(random.between(kEpoch - kSecond, kEpoch + 52883 * kDay));
        // Seconds that come back, one after the other and with others in between.
        instants.push_back(kEpoch + i / 8 % 40 * kSecond + i);
        instants.push_back(kEpoch + i % 3 * 16 * kSecond + i);
    }
    for (const UA_DateTime time : instants) {
        for (const bool wholeSeconds : {false, true}) {
            ASSERT_EQ(odbc(time, wholeSeconds), printedOdbc(time, wholeSeconds)) << time;
            ASSERT_EQ(horolog(time, wholeSeconds), printedHorolog(time, wholeSeconds)) << time;
        }
    }
}

TEST(DateText, EveryDayFrom1601To9999AgreesWithAnIndependentCalendar) {
    using namespace std::chrono;
    const sys_days end = year{10000} / January / 1;
    UA_DateTime time = 0;
    for (sys_days day = year{1601} / January / 1; day < end; day += days{1}, time += kDay) {
        const year_month_day date(day);
        char expected[32];
        std::snprintf(expected, sizeof expected, "%04d-%02u-%02u 23:59:59", int{date.year()},
                      unsigned{date.month()}, unsigned{date.day()});
        ASSERT_EQ(odbc(time + kDay - 1, true), expected);
    }
}

TEST(DateText, UnixTimeIsRefusedAndTheIntegerIsPlain) {
    VeltoList list;
    const UA_DateTime time = kFirst;
    EXPECT_EQ(test::errorOf([&] { UACExport::addAsUnixTime(&list, &time); }),
              "2,6,addAsUnixTime() method not implemented");
    UACExport::addAsUADateTime(&list, &time);
    EXPECT_EQ(test::hex(list), test::hex(test::items(long{kFirst})));
}

template <typename T>
UA_DateTime readDate(const T& value, bool wholeSeconds = false) {
    const VeltoList args = test::items(value);
    long time = 0;
    UACExport::read(&time, &args, 0, wholeSeconds);
    return time;
}

TEST(DateReading, HostValuesBecomeInstants) {
    const UA_DateTime noon2000 = kEpoch + 10957 * kDay + 43200 * kSecond;
    EXPECT_EQ(readDate(std::string("47117,0")), kEpoch);
    EXPECT_EQ(readDate(std::string("47117")), kEpoch);
    EXPECT_EQ(readDate(std::string()), kEpoch - 47117 * kDay);
    EXPECT_EQ(readDate(VeltoNull()), kEpoch);
    EXPECT_EQ(readDate(47118), kEpoch + kDay);
    EXPECT_EQ(readDate(std::string("58074,43200.5")), noon2000 + 5000000);
    EXPECT_EQ(readDate(std::string("58074,43200.5"), true), noon2000);
    EXPECT_EQ(readDate(std::u16string(u"58074,43200.5")), noon2000 + 5000000);
    EXPECT_EQ(readDate(58074.5), kEpoch + 10957 * kDay + 5000000);
}

TEST(DateReading, FractionsFollowTheirDigits) {
    // Characters of any kind fill places; blanks are skipped, signs read; the product is unsigned
    // and cut to 32 bits, after saturation at 64.
    const std::pair<const char*, UA_DateTime> cases[] = {{".", 0},
                                                         {".5", 5000000},
                                                         {".0000001", 1},
                                                         {".1234567", 1234567},
                                                         {".123456789", 3456789},
                                                         {".5.7", 50000},
                                                         {".5x", 500000},
                                                         {". 5", 500000},
                                                         {".x5", 0},
                                                         {".+5", 500000},
                                                         {".-5", 4467296},
                                                         {".9223372036854775807", 4967295},
                                                         {".9999999999999999999", 4967295},
                                                         {".-9999999999999999999", 0}};
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
    Random random;
    for (int i = 0; i < 200000; ++i) {
        const UA_DateTime time = random.between(kEpoch / 10, (kEpoch + 52883 * kDay) / 10 - 1) * 10;
        ASSERT_EQ(readDate(horolog(time)), time);
    }
}

}  // namespace
}  // namespace nimb
