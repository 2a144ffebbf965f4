// UTF-8 and UTF-16, borrowed and owned stack strings, and host escapes.

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <vector>

#include "convert/utf.h"
#include "convert_items.h"

namespace nimb {
namespace {

using namespace std::string_literals;
using test::errorOf;

std::u16string toUtf16(const std::string& utf8) {
    std::vector<UA_Byte> bytes(utf8.begin(), utf8.end());  // without a zero behind the end
    const UA_String text{bytes.size(), bytes.data()};
    return UACExport::UAString2XString(&text);
}

std::string toUtf8(const std::u16string& utf16) {
    const OwnedString text = UACExport::XString2UAString(&utf16);
    return UACExport::UAString2AString(text.get());
}

/// The parts of a text between its blanks.
std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

TEST(Utf, EveryCodePointConvertsBothWays) {
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        if (c >= 0xD800 && c < 0xE000) {
            continue;
        }
        const std::u16string utf16 =
            c < 0x10000 ? std::u16string(1, static_cast<char16_t>(c))
                        : std::u16string{static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)),
                                         static_cast<char16_t>(0xDC00 + (c & 0x3FF))};
        const std::string utf8 = toUtf8(utf16);
        const int shortest = 1 + (c >= 0x80) + (c >= 0x800) + (c >= 0x10000);
        ASSERT_EQ(utf8.size(), static_cast<std::size_t>(shortest)) << std::uint32_t{c};
        ASSERT_TRUE(toUtf16(utf8) == utf16) << std::uint32_t{c};
        ASSERT_EQ(utf16Length(utf8), utf16.size()) << std::uint32_t{c};
    }
}

TEST(Utf, CharactersOfEveryLengthHaveTheirBytesWhereverTheyStand) {
    const std::pair<std::string, std::u16string> cases[] = {
        {"", u""},
        {"\xC3\xA9", u"\xE9"},
        {"\xE2\x82\xAC", u"\x20AC"},
        {"\xF0\x9F\x98\x80", u"\xD83D\xDE00"},
    };
    // At every distance from the groups of eight in which ASCII text is taken.
    for (const auto& [utf8, utf16] : cases) {
        for (std::size_t before = 0; before < 18; ++before) {
            const std::string text =
                std::string(before, 'a') + utf8 + std::string(17 - before, 'b');
            const std::u16string wide =
                std::u16string(before, u'a') + utf16 + std::u16string(17 - before, u'b');
            EXPECT_TRUE(toUtf16(text) == wide) << text;
            EXPECT_TRUE(toUtf8(wide) == text) << text;
        }
    }
}

TEST(Utf, InvalidUtf8IsRejectedWhereverItStands) {
    // Stray continuation bytes; truncated and broken-off sequences; overlong forms; surrogates;
    // characters beyond 10FFFF; bytes that never occur.
    for (const std::string& bad :
         words("\x80 \xBF \xC2 \xE2\x82 \xF0\x9F\x98 \xC2\x41 \xE2\x28\xA1 \xE2\x82\x28 "
               "\xF0\x28\x8C\xBC \xF0\x9F\x28\xBC \xF0\x9F\x98\xC0 \xC0\x80 \xC1\xBF "
               "\xE0\x9F\xBF \xF0\x8F\xBF\xBF \xED\xA0\x80 \xED\xBF\xBF "
               "\xED\xA0\xBD\xED\xB8\x80 \xF4\x90\x80\x80 \xF5\x80\x80\x80 "
               "\xF8\x88\x80\x80\x80 \xFE \xFF")) {
        for (const std::size_t before : {0U, 3U, 8U}) {
            for (const std::size_t after : {0U, 1U, 9U}) {
                const std::string text = std::string(before, 'a') + bad + std::string(after, 'b');
                EXPECT_EQ(errorOf([&] { toUtf16(text); }),
                          "2,5,Error converting string from UTF-8 to UTF-16: '" + text + "' [x]");
            }
        }
    }
}

TEST(Utf, TheQuotedTextEndsWithTheErrorTextOrAtAZeroByte) {
    const std::string front = "Error converting string from UTF-8 to UTF-16: '";
    EXPECT_EQ(errorOf([&] { toUtf16("%s%n" + std::string(200, 'x') + "\xFF"); }),
              "2,5," + (front + "%s%n" + std::string(200, 'x')).substr(0, 99));
    EXPECT_EQ(errorOf([&] { toUtf16("ab\0cd\xFF"s); }), "2,5," + front + "ab' [x]");
}

TEST(Utf, UnpairedSurrogatesAreRejectedWhereverTheyStand) {
    for (const std::u16string bad :
         {u"\xD800", u"\xDFFF", u"\xDC00\xD800", u"\xD800\xD800\xDC00", u"\xD83D\xDE00\xDE00"}) {
        for (const std::u16string& text : {bad, u"a" + bad, bad + u"b", u"a" + bad + u"b"}) {
            EXPECT_EQ(errorOf([&] { toUtf8(text); }),
                      "2,5,Error converting string from UTF-16 to UTF-8 [x]");
        }
    }
}

TEST(StackStrings, AnEmptyTextIsNotTheNullString) {
    const std::u16string empty;
    const OwnedString owned = UACExport::WString2UAString(&empty);
    EXPECT_EQ(owned->length, 0U);
    EXPECT_NE(owned->data, nullptr);
    const UA_String null = UACExport::AString2UAString(nullptr);
    EXPECT_EQ(null.data, nullptr);
    EXPECT_TRUE(UACExport::UAString2WString(&null).empty());
    EXPECT_TRUE(UACExport::UAString2AString(&null).empty());
}

TEST(StackStrings, BytesAreBorrowedUpToTheFirstZero) {
    std::string text = "caf\xE9\0tail"s;
    const UA_String borrowed = UACExport::AString2UAString(&text);
    EXPECT_EQ(borrowed.data, reinterpret_cast<UA_Byte*>(text.data()));
    EXPECT_EQ(UACExport::UAString2AString(&borrowed), "caf\xE9");
}

std::string unescaped(const std::string& text) {
    return UACExport::Escaped2UTF8(text.data(), text.size());
}

TEST(EscapedText, EscapesAreDecodedAndAllElsePassesThrough) {
    const std::string large(30000, 'x');
    const std::pair<std::string, std::string> cases[] = {
        {"A\\u00e9B", "A\u00e9B"},
        {"\\u20AC\\u20ac", "\u20AC\u20AC"},
        {"\\u0000", "\0"s},
        {"\\uD7FF\\uE000", "\xED\x9F\xBF\xEE\x80\x80"},
        {"\\\\u0041", "\\u0041"},
        {"a\\\\", "a\\"},
        {"a\0\xC3\xFF\\\\\0"s, "a\0\xC3\xFF\\\0"s},
        {large + "\\u0041" + large, large + "A" + large},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_TRUE(unescaped(text) == expected) << text.substr(0, 40);
    }
    EXPECT_EQ(UACExport::Escaped2UTF8(nullptr, 0), "");
    for (const std::string& end : words(R"(\ \ncd \U0041 \u \u004 \u00g1cd \u0x41 \u+041 \")")) {
        EXPECT_EQ(unescaped("ab" + end), "ab") << end;
    }
}

TEST(EscapedText, EitherHalfOfASurrogatePairIsRefused) {
    for (const char* text : {"\\uD83D\\uDE00", "a\\ud800", "\\uDFFF"}) {
        EXPECT_EQ(errorOf([&] { unescaped(text); }),
                  "2,5,Error converting escaped string to UTF-8");
    }
}

}  // namespace
}  // namespace nimb
