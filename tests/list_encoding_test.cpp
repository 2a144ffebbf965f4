// Exact bytes of the list builder, and reading that never leaves the list.

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "list/dump.h"
#include "list_hex.h"

namespace nimb {
namespace {

using test::hex;
using test::itemHex;
using test::raw;
using Bytes = std::basic_string<unsigned char>;

TEST(ListIntegers, TakeTheirExactBytes) {
    const std::pair<int, const char*> rows[] = {
        {0, "02 04"},
        {1, "03 04 01"},
        {255, "03 04 FF"},
        {256, "04 04 00 01"},
        {65535, "04 04 FF FF"},
        {65536, "05 04 00 00 01"},
        {16777215, "05 04 FF FF FF"},
        {16777216, "06 04 00 00 00 01"},
        {-1, "02 05"},
        {-2, "03 05 FE"},
        {-256, "03 05 00"},
        {-257, "04 05 FF FE"},
        {-65536, "04 05 00 00"},
        {-65537, "05 05 FF FF FE"},
        {-1048576, "05 05 00 00 F0"},
        {-16777217, "06 05 FF FF FF FE"},
        {std::numeric_limits<int>::min(), "06 05 00 00 00 80"},
    };
    for (const auto& [value, bytes] : rows) {
        EXPECT_EQ(itemHex(value), bytes) << value;
        EXPECT_EQ(itemHex(long{value}), bytes) << value;
        EXPECT_EQ(itemHex(static_cast<long long>(value)), bytes) << value;
    }
    // Between these the 64-bit writer takes a byte more than the 32-bit one.
    EXPECT_EQ(itemHex(-1048577), "05 05 FF FF EF");
    EXPECT_EQ(itemHex(-1048577L), "06 05 FF FF EF FF");
    EXPECT_EQ(itemHex(-16777216), "05 05 00 00 00");
    EXPECT_EQ(itemHex(-16777216L), "06 05 00 00 00 FF");
    EXPECT_EQ(itemHex(4294967295), "06 04 FF FF FF FF");
    EXPECT_EQ(itemHex(4294967296), "07 04 00 00 00 00 01");
    EXPECT_EQ(itemHex(1L << 56), "0A 04 00 00 00 00 00 00 00 01");
    EXPECT_EQ(itemHex(-4294967296), "06 05 00 00 00 00");
    EXPECT_EQ(itemHex(-4294967297), "07 05 FF FF FF FF FE");
    EXPECT_EQ(itemHex(-(1L << 56)), "09 05 00 00 00 00 00 00 00");
    EXPECT_EQ(itemHex(-(1L << 56) - 1), "0A 05 FF FF FF FF FF FF FF FE");
    EXPECT_EQ(itemHex(std::numeric_limits<unsigned long>::max()), "02 04");
}

TEST(ListItems, TakeTheirExactBytes) {
    EXPECT_EQ(itemHex(VeltoNull{}), "01");
    EXPECT_EQ(itemHex("AB"), "04 01 41 42");
    EXPECT_EQ(itemHex(""), "02 01");
    EXPECT_EQ(itemHex('A'), "03 01 41");
    EXPECT_EQ(itemHex(u"AB"), "06 02 41 00 42 00");
    EXPECT_EQ(itemHex(L"AB"), "06 02 41 00 00 00");
    EXPECT_EQ(itemHex(raw({2, 4, 1})), "05 01 02 04 01");
    VeltoList list;
    list.appendIEEE64(1.0);
    list.appendIEEE32(1.0F);
    list.stuffPosNum(list.datalength(), -2, 300);
    list.stuffNegNum(list.datalength(), 2, -16777216);
    list.stuffNegNum(list.datalength(), 2, 0);
    EXPECT_EQ(hex(list),
              "0A 08 00 00 00 00 00 00 F0 3F 06 08 00 00 80 3F 05 06 FE 2C 01 "
              "07 07 02 00 00 00 FF 03 06 02");
    EXPECT_EQ(list.size(), 5U);
}

TEST(ListText, IsCompressedOnlyWhenEveryUnitIsNarrow) {
    VeltoList list;
    unsigned char scratch[2];
    list.appendStringWithCompress(u"A\u00FF");
    list.appendXStringWithCompress(u"A\u00FF", 2, scratch);
    list.appendStringWithCompress(u"\u0100");
    list.appendXStringWithCompress(u"\u0100", 1, scratch);
    list.appendStringWithCompress(std::u16string());
    EXPECT_EQ(hex(list), "04 01 41 FF 04 01 41 FF 04 02 00 01 04 02 00 01 02 01");
}

TEST(ListHeaders, ChangeFormAtTheirBoundaries) {
    const struct {
        std::size_t content;
        const char* header;
    } rows[] = {
        {254, "FF"}, {255, "00 FF 00"}, {65535, "00 FF FF"}, {65536, "00 00 00 00 00 01 00"}};
    for (const auto& row : rows) {
        VeltoList list;
        list += std::string(row.content - 1, 'x');
        list += 7;
        const std::string header(row.header);
        EXPECT_EQ(hex(list).substr(0, header.size() + 6), header + " 01 78") << row.content;
        EXPECT_EQ(list.size(), 2U);
        EXPECT_EQ(VeltoROList(list).at(0).datalength(), row.content - 1);
        EXPECT_EQ(VeltoROList(list).at(1).AsLong(), 7);
    }
}

TEST(ListBuilder, InsertsAndErasesInTheMiddle) {
    VeltoList list;
    list += 1;
    list += 3;
    const auto middle = list.insert(++list.begin(), std::string(300, 'x'));
    EXPECT_EQ((*middle).datalength(), 300U);
    EXPECT_EQ(list.size(), 3U);
    EXPECT_EQ(VeltoROList(list).at(2).AsLong(), 3);

    EXPECT_EQ((*list.erase(middle)).AsLong(), 3);
    EXPECT_EQ(hex(list), "03 04 01 03 04 03");
    EXPECT_EQ(list.size(), 2U);
    list.erase(list.end());
    EXPECT_EQ(list.at(1).AsLong(), 3);
    EXPECT_THROW(list.at(2), std::exception);
}

TEST(ListBuilder, TakesItsOwnBytesAsSource) {
    VeltoList list;
    list += std::string(20, 'x');
    for (int i = 0; i < 3; ++i) {  // past the first buffer sizes
        const VeltoList before(list);
        list += list;
        const VeltoROList view(list);
        EXPECT_EQ(hex(view.at(view.size() - 1).AsVeltoROList()), hex(before));
        list.appendList(view);
    }
    list = list.at(0).AsVeltoROList();
    EXPECT_EQ(hex(list), hex(raw(Bytes(20, 'x'))));
}

TEST(ListBuilder, LeavesACursorBeforeTheInsertionPointingFurtherOn) {
    VeltoList list;
    list += 1;
    list += 2;
    list.at(0);
    list += "abc";
    EXPECT_EQ(list[1].header(), list.data() + 5);
    EXPECT_EQ(VeltoROList(list).at(1).AsLong(), 2);
}

TEST(ListBuilder, CountsOnWhenCopiedSplicedOrReused) {
    VeltoList list;
    list += 1;
    list += "two";
    EXPECT_EQ((list + 3L).size(), 3U);
    EXPECT_EQ((VeltoROList(list) + 3L).size(), 3U);
    VeltoList copy(list);
    copy += VeltoNull{};
    copy.appendList(list);
    copy += 6;
    EXPECT_EQ(copy.size(), 6U);
    EXPECT_EQ(copy.at(5).AsLong(), 6);
    const std::size_t capacity = copy.capacity();
    copy.Reset();
    copy += 9;
    EXPECT_EQ(hex(copy), "03 04 09");
    EXPECT_EQ(copy.size(), 1U);
    EXPECT_EQ(copy.capacity(), capacity);
}

TEST(ListBuilder, GrowsInTheSetSteps) {
    const std::size_t rows[][2] = {{1, 32},    {32, 32},   {33, 64},    {65, 128},   {129, 256},
                                   {257, 512}, {512, 512}, {513, 1024}, {1025, 2048}};
    for (const auto& row : rows) {
        EXPECT_EQ(VeltoList(row[0]).capacity(), row[1]) << row[0];
    }
}

TEST(ListBuilder, KeepsItsBytesWhenMemoryIsExhausted) {
    VeltoList list;
    list += "kept";
    const std::size_t capacity = list.capacity();
    const std::size_t huge = std::numeric_limits<std::size_t>::max();
    EXPECT_THROW(list.ensureBuffer(huge), std::bad_alloc);
    EXPECT_THROW(list.appendItem(1, huge), std::bad_alloc);
    EXPECT_THROW(list.makeItem(list.datalength(), std::size_t{1} << 32), std::bad_alloc);
    EXPECT_THROW(list.stuffUnicode(0, u"", huge / 2 + 2), std::bad_alloc);
    EXPECT_THROW(list.makeItem(list.datalength() + 1, 1), std::exception);
    EXPECT_EQ(list.capacity(), capacity);
    EXPECT_EQ(list.at(0).AsAString(), "kept");
    EXPECT_THROW(list.at(1), std::exception);
}

TEST(ListReading, AcceptsWideHeadersOfSmallItems) {
    const VeltoList list = raw({0, 2, 0, 4, 7, 0, 0, 0, 2, 0, 0, 0, 4, 8, 0, 0, 0, 0, 0, 0, 0, 1});
    EXPECT_EQ(list.size(), 4U);
    EXPECT_EQ(list.at(0).AsLong(), 7);
    EXPECT_EQ(list.at(1).AsLong(), 8);
    for (std::size_t i : {2U, 3U}) {  // n = 0 in the long and in the short form
        EXPECT_EQ(list.at(i).Type(), -1);
        EXPECT_EQ(list.at(i).datalength(), 0U);
    }
    EXPECT_EQ(list.at(3).size(), 1U);
}

TEST(ListReading, FindsItemsInAnyOrder) {
    VeltoList built;
    for (int i = 0; i < 5; ++i) {
        built += i;
        built += std::string(std::size_t{300}, 'x');
    }
    VeltoROList list(built);
    for (std::size_t i : {4U, 0U, 8U, 6U, 6U, 2U, 4U}) {
        EXPECT_EQ(list.at(i).AsLong(), static_cast<long>(i / 2)) << i;
    }
    for (int pass = 0; pass < 2; ++pass) {  // before and after the count is known
        EXPECT_EQ(list[10].header(), built.data() + built.datalength());
        EXPECT_THROW(list.at(10), std::exception);
        EXPECT_THROW(list[11], std::exception);
        EXPECT_THROW(list.at(11), std::exception);
    }
    EXPECT_EQ(list.at(8).AsLong(), 4);
    EXPECT_EQ(VeltoROList().size(), 0U);
    EXPECT_THROW(VeltoROList().at(0), std::exception);
}

TEST(ListReading, ThrowsAtEveryTruncationAndStaysUsable) {
    VeltoList sample;
    sample += 300;
    sample += std::string(300, 'x');
    sample += std::string(65536, 'y');
    sample += VeltoNull{};
    sample += 0.5;
    const std::size_t starts[] = {0, 4, 308, 65852, 65853, 65857};
    for (std::size_t length = 0; length < sample.datalength(); ++length) {
        if (length > 330 && length < 65800) {
            continue;
        }
        // An own allocation of just that size lets the sanitizer see any read behind it.
        const auto bytes = std::make_unique<unsigned char[]>(length);
        std::copy_n(sample.data(), length, bytes.get());
        const VeltoROList list(bytes.get(), length);
        const auto* whole = std::find(std::begin(starts), std::end(starts), length);
        const auto* torn = std::upper_bound(std::begin(starts), std::end(starts), length) - 1;
        const auto items = static_cast<std::size_t>(torn - std::begin(starts));
        if (whole != std::end(starts)) {
            EXPECT_EQ(list.size(), items);
        } else {
            EXPECT_THROW(list.size(), std::exception) << length;
            EXPECT_THROW(list[items + 1], std::exception) << length;
        }
        EXPECT_THROW(list.at(items), std::exception) << length;
        EXPECT_THROW(for (auto at = list.begin();; ++at) * at;, std::exception) << length;
        if (items > 0) {
            EXPECT_EQ(list.at(0).AsLong(), 300) << length;
        }
    }
}

TEST(ListReading, SurvivesTheLargestClaimedLength) {
    const VeltoList list = raw({0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 1, 2});
    EXPECT_THROW(list.at(0), std::exception);
    EXPECT_THROW(list[1], std::exception);
    EXPECT_THROW(list.size(), std::exception);
}

TEST(ByteArray, ReleasesOnlyWhatItOwns) {
    CountedByteArray owner(new unsigned char[2]{3, 4}, 2, true);
    CountedByteArray first(std::move(owner));
    CountedByteArray moved;
    moved = std::move(first);
    EXPECT_EQ(itemHex(moved), "04 01 03 04");
    EXPECT_EQ(VeltoList(moved).AsCountedByteArray().length(), 2U);
}

TEST(ByteDump, ShowsOffsetsBytesAndCharacters) {
    std::u16string text = u"old";
    DumpByteArray(nullptr, 0, text);
    EXPECT_TRUE(text.empty());
    const Bytes bytes{'A',  'B', 'C', 'D', 'E', 'F', 'G', 'H', 'I',
                      0x7F, '~', 0,   'J', 'K', 'L', 'M', 0xE9};
    DumpByteArray(bytes.data(), bytes.size(), text);
    EXPECT_EQ(text,
              u"0000: 41 42 43 44 45 46 47 48:49 7F 7E 00 4A 4B 4C 4D  : ABCDEFGHI?~?JKLM\n"
              u"0010: E9 ** ** ** ** ** ** ** ** ** ** ** ** ** ** **  : ?\n");
}

}  // namespace
}  // namespace nimb
