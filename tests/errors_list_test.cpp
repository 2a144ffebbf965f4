// Failure lists, their texts, and the table of status codes.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <string>

#include "errors/error_list.h"
#include "errors/error_names.h"
#include "errors/host_message.h"
#include "errors/log_file.h"
#include "errors/log_sink.h"
#include "errors/repeated_line.h"
#include "errors/status_code_descs.h"
#include "host/function_table.h"
#include "list/velto_list.h"

namespace nimb {
namespace {

std::u16string composed(const UACErr& error) {
    VeltoList list;
    UAC_GetErrorList(error, list);
    EXPECT_EQ(list.size(), 4U);
    EXPECT_EQ(list.at(0).AsLong(), 1);
    EXPECT_EQ(list.at(1).AsLong(), error.kind);
    EXPECT_EQ(list.at(2).AsLongLong(), error.code);
    EXPECT_EQ(list.at(3).Type(), item_code::kUnicode);
    return list.at(3).AsXString();
}

std::u16string textOf(int kind, long code, const char* text) {
    return composed(UACErr(static_cast<UACERR_TYPE>(kind), code, "%s", text));
}

TEST(ErrorList, EveryKindHasItsHead) {
    struct Case {
        int kind;
        long code;
        const char* text;
        std::u16string expected;
    };
    const Case cases[] = {
        {0, 5, "x", u" : x"},
        {1, 9, "Client reset required [c]", u"Info / No Error : Client reset required [c]"},
        {2, 1, "", u"Application Error [1] : Client instance not found, Bad handle"},
        {2, 2, "", u"Application Error [2] : Not connected"},
        {2, 3, "", u"Application Error [3] : Unsupported SSL version"},
        {2, 4, "", u"Application Error [4] : Bad node id"},
        {2, 5, "", u"Application Error [5] : Variant conversion error"},
        {2, 6, "", u"Application Error [6] : Data type not supported"},
        {2, 7, "", u"Application Error [7] : Client found but uninitialized"},
        {2, 8, "", u"Application Error [8] : Undefined error"},
        {2, 9, "why", u"Application Error [9] : Other error : why"},
        {2, 10, "", u"Application Error [10] : Undefined error"},
        {2, -1, "", u"Application Error [-1] : Undefined error"},
        // The numbered head is cut where hosts expect it.
        {2, -1234567890123456789, "", u"Application Error [-123456789Undefined error"},
        {4, 0x80340000, "",
         u"OPC UA Error 0x80340000  [BadNodeIdUnknown] The node id refers to a node that does not "
         u"exist in the server address space."},
        {4, 0x8FFF0000, "", u"OPC UA Error 0x8FFF0000  [Unknown StatusCode] "},
        {5, 10, "", u"Unknown Error"},
        {6, 10, "x", u"Unknown Error : x"},
        {7, 10, "[B7]", u"Unknown Error : [B7]"},
        {8, 1, "", u"Unknown Error"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(textOf(c.kind, c.code, c.text), c.expected) << c.kind << ' ' << c.code;
    }
}

TEST(ErrorList, BytesAreWidenedBySignExtension) {
    EXPECT_EQ(textOf(0, 1, "\xC3\xA9\x7F"), u" : \xFFC3\xFFA9\x7F");
}

TEST(ErrorValue, FormattedTextIsCutAtNinetyNineBytes) {
    const std::string longText(200, 'y');
    const UACErr error(UACERR_UNKNOWN, 1, "%s", longText.c_str());
    EXPECT_EQ(error.text, std::string(99, 'y'));
}

TEST(ErrorValue, AListIsRecordedByItsFirstHundredBytes) {
    const std::string bytes(150, '\xAB');
    const VeltoROList list(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    const UACErr error(&list);
    EXPECT_EQ(error.kind, UACERR_UNKNOWN);
    EXPECT_EQ(error.code, 10);
    EXPECT_EQ(error.text.size(), std::string("VeltoList:").size() + 300);
    EXPECT_EQ(error.text.substr(0, 16), "VeltoList: AB AB");
}

TEST(StatusCodes, TheTableIsComplete) {
    // FNV-1a of "0x80010000 An unexpected error occurred.\n" and its like, taken from the
    // standard's own list: hosts compare these texts, so each letter counts.
    std::uint64_t digest = 0xcbf29ce484222325;
    for (std::size_t i = 0; i < 231; ++i) {
        const StatusCodeDesc& row = UAC_status_code_descs[i];
        ASSERT_NE(row.description, nullptr) << i;
        EXPECT_STREQ(UAC_GetLongFormStatusCodeDescription(row.code), row.description);
        std::ostringstream line;
        line << "0x" << std::uppercase << std::hex << std::setw(8) << std::setfill('0') << row.code
             << ' ' << row.description << '\n';
        for (const char letter : line.str()) {
            digest = (digest ^ static_cast<unsigned char>(letter)) * 0x100000001b3;
        }
    }
    EXPECT_EQ(digest, 0x7ba6066488645ccd);
    EXPECT_EQ(UAC_status_code_descs[231].code, 0xFFFFFFFF);
    EXPECT_EQ(UAC_status_code_descs[232].description, nullptr);
    EXPECT_STREQ(UAC_GetLongFormStatusCodeDescription(0), "Good.");
    EXPECT_STREQ(UAC_GetLongFormStatusCodeDescription(0xFFFFFFFF), "Unknown StatusCode");
    EXPECT_STREQ(UAC_GetLongFormStatusCodeDescription(0x80010000), "An unexpected error occurred.");
    EXPECT_EQ(UAC_GetLongFormStatusCodeDescription(0x80123456), nullptr);
}

/// A host that knows the code 5 with a message and a detail, and the code 6 with a detail alone.
int messageTexts(long code, HostText* message, HostText* detail) {
    const auto fill = [](HostText* text, std::u16string_view units) {
        text->length = static_cast<std::uint16_t>(units.size());
        units.copy(text->data, units.size());
    };
    fill(message, code == 5 ? u"Gone" : u"");
    fill(detail, u"since noon");
    return code == 5 || code == 6 ? 0 : 1;
}

TEST(HostMessages, AreAskedOfTheHost) {
    HostFunction table[10] = {};
    table[9] = reinterpret_cast<HostFunction>(messageTexts);
    EXPECT_EQ(GetVeltoErrMsg(5, u"?"), u"?") << "without a function table";
    nimbfunctabp = table;
    EXPECT_EQ(textOf(3, 5, "x"), u"Gone since noon : x");
    EXPECT_EQ(textOf(3, 6, ""), u"Unknown callin error");
    EXPECT_EQ(textOf(3, 7, ""), u"Unknown callin error");
    nimbfunctabp = nullptr;
}

TEST(RepeatedLine, EqualLinesInARowAreWrittenOnceWithTheirNumber) {
    RepeatedLine repeated;
    std::string written;
    const auto add = [&](const char* head, const char* message) {
        repeated.add(head, message, [&](const char* h, const char* m) {
            written.append(h).append(m).append("|");
        });
    };
    for (const char* message : {"x", "x", "x", "y", "x"}) {
        add("a ", message);
    }
    add("b ", "x");
    EXPECT_EQ(written, "a x|a repeated 2 times|a y|a x|b x|");
    for (int i = 0; i < 1000; ++i) {
        add("b ", "x");
    }
    add("b ", "z");
    EXPECT_EQ(written, "a x|a repeated 2 times|a y|a x|b x|b repeated 1000 times|b z|");
}

TEST(LogSink, NamesLevelAndCategoryAndFoldsEqualMessagesOfTheStack) {
    const char* file = "uaclogfile_folding.txt";
    std::filesystem::remove(file);
    UAC_SetLogFileName("folding");
    for (const char* message : {"same", "same", "same", "other"}) {
        UA_LOG_WARNING(&UAC_UA_Log_toFile, UA_LOGCATEGORY_CLIENT, "%s", message);
    }
    for (int category = 0; category < 8; ++category) {
        UA_LOG_FATAL(&UAC_UA_Log_toFile, static_cast<UA_LogCategory>(category), ".");
    }
    UAC_SetLogFileName("");
    std::string ends;
    std::ifstream log(file);
    for (std::string line; std::getline(log, line);) ends += line.substr(line.find(" * ")) + '\n';
    EXPECT_EQ(ends,
              " * warn/client\t same\n * warn/client\t repeated 2 times\n"
              " * warn/client\t other\n * fatal/network\t .\n * fatal/channel\t .\n"
              " * fatal/session\t .\n * fatal/server\t .\n * fatal/client\t .\n"
              " * fatal/userland\t .\n * fatal/securitypolicy\t .\n * fatal/other\t .\n");
    std::filesystem::remove(file);
}

}  // namespace
}  // namespace nimb
