#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "client/chunk_stream.h"
#include "client/decrypted_messages.h"

namespace nimb {
namespace {

using namespace std::string_literals;

std::string chunk(const std::string& type, std::uint32_t size, std::size_t filled) {
    std::string bytes = type;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(size >> shift);
    bytes.resize(std::max<std::size_t>(filled, 8), '\0');
    return bytes;
}

/// A chunk of a message with that body; the type of an answer in four bytes by default.
std::string message(char final, const std::string& body = "\x01\x00\x7a\x02 the rest"s) {
    const std::size_t size = 24 + body.size();
    return chunk("MSG"s + final, static_cast<std::uint32_t>(size), 24) + body;
}

const std::string ack = chunk("ACKF", 28, 28);
const std::string opn = chunk("OPNF", 135, 135);
const std::string opened = ack + opn;

/// What is refused when the bytes come in runs of that size, "" when nothing is.
std::string refusal(const std::string& bytes, std::size_t run, bool inClear = true) {
    ChunkStream stream;
    stream.setInClear(inClear);
    for (std::size_t at = 0; at < bytes.size(); at += run) {
        const std::string part = bytes.substr(at, run);
        const char* refused =
            stream.follow({reinterpret_cast<const unsigned char*>(part.data()), part.size()});
        if (refused != nullptr) return refused;
    }
    return "";
}

struct StreamCase {
    std::string bytes;
    std::string refused = {};
    bool inClear = true;
};

const char* const undecodable = "a response whose type cannot be decoded";
const char* const cutShort = "a response that ends within its type";
const char* const outOfTurn = "an opened channel out of turn";

/// Every run size from one byte to all at once.
TEST(ChunkStream, TellsWhatTheStackMustNotSeeInAnySplit) {
    const std::string error = chunk("ERRF", 20, 20);
    const std::string good = message('F');
    const std::vector<StreamCase> cases = {
        {opened + good + good + opn + good + error},
        {error},
        {ack + error},
        {opened + message('F', "\x00\x7a"s) + message('F', "\x02\x00\x00\x7a\x02\x00\x00"s)},
        // The type in pieces, chunks without a body, a message given up within its type.
        {opened + message('C', "") + message('C', "\x02"s) + message('C', "\x00\x00\x7a"s) +
         message('F', "\x02\x00\x00"s) + good},
        {opened + message('C', "\x01"s) + message('A', "\xff\xff"s) + good},
        {opened + message('F', "\xff\xff"s) + message('F', ""), "", false},

        {opened + message('F', "\x03\x00\x7a\x02"s), undecodable},
        {opened + good + message('F', "\xff"s), undecodable},
        {opened + message('C', "") + message('F', "\x41\x00\x7a\x02"s), undecodable},
        {opened + message('F', ""), cutShort},
        {opened + message('F', "\x01\x00\x7a"s), cutShort},
        {opened + message('C', "\x02\x00"s) + message('F', "\x00\x00\x00\x00"s), cutShort},

        {chunk("HELF", 57, 57), "a message that only clients send"},
        {opened + chunk("CLOF", 57, 57), "a message that only clients send"},
        {opened + chunk("RHEF", 57, 57), "a chunk of an unknown type"},
        {opened + "\0\0\0F"s + chunk("", 57, 57), "a chunk of an unknown type"},
        {opened + ack, "a second acknowledgement"},
        {opn, outOfTurn},
        {opened + message('C') + opn, outOfTurn},
        {ack + good, "a message before its channel was open"},
        {ack + error + good, "more behind an error that ends the connection"},
        {opened + chunk("MSGX", 57, 57), "a chunk that is neither final nor to be continued"},
        {ack + chunk("OPNC", 135, 135), "a chunk that is not final, of a type that has no others"},
        {chunk("ACKF", 27, 27), "an acknowledgement of a wrong size"},
        {chunk("ERRF", 0xFFFFFFFF, 20), "an error message of a wrong size"},
        {ack + chunk("OPNF", 31, 31), "an opened channel in a chunk of a wrong size"},
        {ack + chunk("OPNF", 0xFFFFFFFF, 31), "an opened channel in a chunk of a wrong size"},
        {opened + chunk("MSGF", 0xFFFFFFFF, 40),
         "a message above 4 MiB or of more than 1024 chunks"},
    };
    for (const StreamCase& c : cases) {
        for (std::size_t run = 1; run <= c.bytes.size(); ++run) {
            ASSERT_EQ(refusal(c.bytes, run, c.inClear), c.refused)
                << testing::PrintToString(c.bytes) << " in runs of " << run;
        }
    }
    for (std::uint32_t size = 0; size < 24; ++size) {
        EXPECT_EQ(refusal(opened + chunk("MSGF", size, 40), 7), "a chunk smaller than its headers");
    }
}

TEST(ChunkStream, AMessageHasBoundsAndEachBeginsAnew) {
    constexpr std::size_t quarter = ChunkStream::kLargestMessage / 4;
    const std::string part = message('C', "\x01\x00\x7a\x02"s + std::string(quarter - 28, 'x'));
    const std::string three = part + part + part;
    const std::string rest = message('F', std::string(quarter - 24, 'x'));
    EXPECT_EQ(refusal(opened + three + rest + three + rest, 65536), "");
    EXPECT_EQ(refusal(opened + three + rest + three + part + rest, 65536),
              "a message above 4 MiB or of more than 1024 chunks");
    std::string many = opened;
    for (std::uint32_t i = 0; i < ChunkStream::kMostChunks; ++i) many += message('C');
    EXPECT_EQ(refusal(many, 65536), "");
    EXPECT_NE(refusal(many + message('F'), 65536), "");
}

TEST(DecryptedMessages, PassOnlyWhileTheyAreRead) {
    UA_SecurityPolicy policy{};
    auto& verify = policy.symmetricModule.cryptoModule.signatureAlgorithm.verify;
    verify = [](void*, const UA_ByteString*, const UA_ByteString*) -> UA_StatusCode { return 0; };
    UA_ClientConfig config{};
    config.securityPolicies = &policy;
    config.securityPoliciesSize = 1;
    ASSERT_EQ(DecryptedMessages::watch(config), UA_STATUSCODE_GOOD);
    std::string bytes = message('F') + '\0';  // no padding
    const UA_ByteString chunk{bytes.size(), reinterpret_cast<UA_Byte*>(bytes.data())};
    const auto passes = [&] { return verify(nullptr, &chunk, nullptr) == UA_STATUSCODE_GOOD; };
    EXPECT_FALSE(passes());
    auto messages = std::make_unique<DecryptedMessages>();
    {
        const DecryptedMessages::Reading reading(messages.get());
        EXPECT_TRUE(passes());
        static_cast<void>(DecryptedMessages());
        EXPECT_TRUE(passes()) << "other messages ended";
        messages.reset();
        EXPECT_FALSE(passes());
    }
    DecryptedMessages others;
    { const DecryptedMessages::Reading reading(&others); }
    EXPECT_FALSE(passes());
}

}  // namespace
}  // namespace nimb
