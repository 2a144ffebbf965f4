// What the library reads from certificates and keys, byte for byte.

#include "client/certificate.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "client/server_check.h"
#include "testbed/certificates.h"

namespace nimb::test {
namespace {

using namespace std::string_literals;

Bytes bytesOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

/// An element of a content below 128 bytes.
std::string element(unsigned char tag, const std::string& content) {
    return std::string{static_cast<char>(tag), static_cast<char>(content.size())} + content;
}

TEST(Der, AnElementIsReadOnlyWhenItIsWhollyThereAndItsLengthIsTheShortest) {
    struct Case {
        std::string bytes;
        long content;  ///< -1: refused
    };
    const Case cases[] = {
        {"", -1},
        {"\x30", -1},
        {"\x30\x00"s, 0},
        {"\x04\x01"s, -1},
        {"\x04\x01x", 1},
        {"\x04\x01xy", 1},
        {"\x04\x81\x80"s + std::string(128, 'x'), 128},
        {"\x04\x81\x80"s + std::string(127, 'x'), -1},
        {"\x04\x81\x7F"s + std::string(127, 'x'), -1},
        {"\x04\x82\x01\x00"s + std::string(256, 'x'), 256},
        {"\x04\x82\x00\x80"s + std::string(128, 'x'), -1},
        {"\x04\x80x\x00\x00"s, -1},  // indefinite
        {"\x04\x81", -1},            // the length's length cut
        {"\x04\x84\xFF\xFF\xFF\xFF", -1},
        {"\x04\x88\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", -1},
        {"\x04\xFF"s + std::string(300, '\xFF'), -1},
        {"\x1F\x01\x01x", -1},  // a tag of several bytes
    };
    for (const Case& c : cases) {
        const auto read = DerReader(bytesOf(c.bytes)).next();
        EXPECT_EQ(read ? static_cast<long>(read->content.size()) : -1, c.content)
            << ::testing::PrintToString(c.bytes);
        EXPECT_FALSE(DerReader(bytesOf(c.bytes)).skip(0x05));
    }
}

TEST(Names, AHostIsNamedOrNot) {
    const auto dns = [](const std::string& name) { return element(0x82, name); };
    const auto ip = [](const std::string& address) { return element(0x87, address); };
    const std::string v6 = "\x20\x01\x0d\xb8"s + std::string(11, '\0') + "\x07";
    const std::string loopbackV6 = std::string(15, '\0') + "\x01";
    struct Case {
        std::string names;
        const char* host;
        bool named;
    };
    const Case cases[] = {
        {dns("plant.example"), "plant.example", true},
        {dns("Plant.Example"), "pLANT.eXAMPLE.", true},
        {dns("plant.example."), "plant.example", true},
        {dns("plant.example"), "plant.example.org", false},
        {dns("plant.example"), "t.example", false},
        {dns("plant.example\0.evil"s), "plant.example", false},
        {dns("a") + dns("b") + ip("\x0A\x00\x00\x07"s), "10.0.0.7", true},
        {ip("\x0A\x00\x00\x07"s), "10.0.0.8", false},
        {ip(v6), "2001:db8::7", true},
        {ip(v6), "2001:0DB8:0:0::7", true},
        {ip(v6), "2001:db8::8", false},
        {ip("\x0A"s), "10", false},
        {dns("10.0.0.7"), "10.0.0.7", true},
        {dns("*.0.0.7"), "10.0.0.7", false},
        {dns("*.example.org"), "plant.example.org", true},
        {dns("*.example.org"), "a.plant.example.org", false},
        {dns("*.example.org"), "example.org", false},
        {dns("*.example.org"), ".example.org", false},
        {dns("*.org"), "plant.org", false},
        {dns("*"), "plant", false},
        {dns("p*.example.org"), "plant.example.org", false},
        {dns("localhost"), "127.0.0.1", true},
        {dns("localhost"), "127.1.2.3", true},
        {dns("localhost"), "::1", true},
        {ip(loopbackV6), "LocalHost", true},
        {ip("\x7F\x00\x00\x01"s), "localhost", true},
        {dns("localhost"), "128.0.0.1", false},
        {dns("localhost.example"), "127.0.0.1", false},
        {dns(""), "", false},
        {"", "plant", false},
        {element(0x86, "plant"), "plant", false},  // a URI
        {"\x82\x7Fplant", "plant", false},         // beyond the end
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CertificateNames(bytesOf(c.names)).host(c.host), c.named)
            << ::testing::PrintToString(c.names) << " " << c.host;
    }
}

TEST(Names, AnApplicationIsNamedByteForByteAndShownPrintably) {
    const std::string list = element(0x82, "urn:b") + element(0x86, "urn:a") +
                             element(0x86, "x\n\x1B") + element(0x87, "\x0A\x00\x00\x07"s) +
                             element(0x87, "\x0A");
    const CertificateNames names(bytesOf(list));
    EXPECT_TRUE(names.application("urn:a"));
    for (const char* other : {"urn:", "urn:a ", "urn:a:2", "URN:A", "urn:b", ""}) {
        EXPECT_FALSE(names.application(other)) << other;
    }
    EXPECT_FALSE(CertificateNames(bytesOf(element(0x86, ""))).application(""));
    EXPECT_EQ(names.text(), "DNS:urn:b, URI:urn:a, URI:x??, IP:10.0.0.7, IP:?");
    EXPECT_EQ(CertificateNames().text(), "no one");
}

TEST(CertificateBytes, DamagedCertificatesAreRefusedOrReadWithinTheirBounds) {
    CertificateMaker maker;
    const std::string good = readFile(maker.selfSigned("good", "urn:a").der());
    const auto view = CertificateView::read(bytesOf(good));
    ASSERT_TRUE(view);
    EXPECT_TRUE(view->hasRsaKey() && view->signedWithSha2() && view->allowsServer());
    EXPECT_TRUE(view->names().application("urn:a") && view->names().host("localhost"));
    for (std::size_t length = 0; length < good.size(); ++length) {
        // A copy of its own, so that the address sanitizer sees a read behind the end.
        const std::vector<unsigned char> cut(good.begin(),
                                             good.begin() + static_cast<long>(length));
        EXPECT_FALSE(CertificateView::read(cut)) << length;
    }
    for (std::size_t at = 0; at < good.size(); ++at) {
        std::vector<unsigned char> damaged(good.begin(), good.end());
        for (const char byte : "\x30\x7F\x80\x84\xFF") {
            damaged[at] = static_cast<unsigned char>(byte);
            if (const auto read = CertificateView::read(damaged)) {
                EXPECT_LT(read->names().text().size(), 1000U) << read->names().host("localhost");
                EXPECT_LE(read->bytes().size(), damaged.size());
            }
        }
    }
    // A chain, and garbage, may follow; but nothing that the stack could take for PEM.
    EXPECT_EQ(CertificateView::read(bytesOf(good + good))->bytes().size(), good.size());
    EXPECT_EQ(CertificateView::read(bytesOf(good + "x"))->bytes().size(), good.size());
    EXPECT_FALSE(CertificateView::read(bytesOf(good + "-----BEGIN CERTIFICATE-----\0"s)));
}

TEST(CertificateBytes, WithoutAPartAreRefused) {
    const std::string empty = element(0x30, ""), signature = element(0x03, "x");
    EXPECT_FALSE(CertificateView::read(bytesOf(element(0x30, empty + empty + signature))));
    CertificateMaker maker;
    const std::string good = readFile(maker.selfSigned("good", "urn:a").der());
    const auto body = DerReader(DerReader(bytesOf(good)).next()->content).next()->whole;
    const std::string rest(reinterpret_cast<const char*>(body.data()), body.size());
    const auto certificate = [&](const std::string& parts) {
        const std::size_t size = parts.size();
        return "\x30\x82"s + static_cast<char>(size >> 8) + static_cast<char>(size & 0xFF) + parts;
    };
    EXPECT_TRUE(CertificateView::read(bytesOf(certificate(rest + empty + signature))));
    EXPECT_FALSE(CertificateView::read(bytesOf(certificate(rest + signature))));
    EXPECT_FALSE(CertificateView::read(bytesOf(certificate(rest + empty))));
}

TEST(CertificateBytes, AllowAServerWhatTheirUsagesName) {
    CertificateMaker maker;
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"digitalSignature, keyEncipherment", "serverAuth", true},
        {"digitalSignature, keyEncipherment", "clientAuth, anyExtendedKeyUsage", true},
        {"digitalSignature, keyEncipherment", "clientAuth", false},
        {"digitalSignature", "serverAuth", false},
        {"keyEncipherment", "serverAuth", false}};
    for (const auto& [usage, purposes, allowed] : cases) {
        Traits traits;
        traits.usage = usage;
        traits.purposes = purposes;
        const std::string name = usage + std::string(purposes);
        const std::string der = readFile(maker.selfSigned(name, "urn:a", longValid, traits).der());
        EXPECT_EQ(CertificateView::read(bytesOf(der))->allowsServer(), allowed) << name;
    }
}

TEST(CertificateBytes, KindsOfKeysAreToldApart) {
    const std::string rsa = element(0x06, "\x2A\x86\x48\x86\xF7\x0D\x01\x01\x01");
    const std::string elliptic = element(0x06, "\x2A\x86\x48\xCE\x3D\x02\x01");
    const std::string zero = element(0x02, "\0"s);
    EXPECT_FALSE(isForeignPrivateKey(bytesOf(element(0x30, zero + zero))));  // PKCS #1
    EXPECT_FALSE(isForeignPrivateKey(bytesOf(element(0x30, zero + element(0x30, rsa)))));
    EXPECT_FALSE(isForeignPrivateKey(bytesOf(element(0x30, element(0x30, elliptic)).substr(0, 9))));
    EXPECT_TRUE(isForeignPrivateKey(bytesOf(element(0x30, zero + element(0x30, elliptic)))));
    EXPECT_TRUE(isForeignPrivateKey(bytesOf(element(0x30, zero + element(0x04, "x")))));  // SEC 1
}

TEST(TrustedFiles, HoldACertificateInEitherForm) {
    CertificateMaker maker;
    const Certificate a = maker.selfSigned("a", "urn:a");
    const Certificate b = maker.selfSigned("b", "urn:b");
    const std::string der = readFile(a.der());
    const std::string pem = readFile(a.pem());
    const std::string other = readFile(b.pem());
    std::string crlf;
    for (const char c : pem) crlf += c == '\n' ? "\r\n"s : std::string(1, c);
    const auto holds = [&](const std::vector<std::string>& contents) {
        std::vector<FileBytes> files(contents.size());
        for (std::size_t i = 0; i < files.size(); ++i) {
            EXPECT_TRUE(files[i].read(maker.directory().write("trusted", contents[i])));
        }
        return TrustedFiles(files).hold(bytesOf(der));
    };
    for (const std::string& file : {der, der + "garbage", pem, crlf, other + pem, "text\n" + pem}) {
        EXPECT_TRUE(holds({"", file})) << file;
    }
    for (const std::string& file : {other, der.substr(0, der.size() - 1), "x" + der, ""s}) {
        EXPECT_FALSE(holds({file})) << file;
    }
}

}  // namespace
}  // namespace nimb::test
