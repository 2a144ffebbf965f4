// What the server offers, and whether its certificate is one that we trust.

#include <algorithm>
#include <set>

#include "nimbhost/causes/causes.h"
#include "nimbhost/certificates/file_findings.h"
#include "nimbhost/doctor/examination.h"
#include "nimbhost/plant/url.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

std::string joined(const std::set<std::string>& words) {
    std::string out;
    for (const std::string& word : words) out += (out.empty() ? "" : ", ") + word;
    return out;
}

/// The names of this very machine, which the library takes for one.
bool isLocal(const std::string& host) {
    return host == "localhost" || host == "::1" || host.starts_with("127.");
}

}  // namespace

void Examination::examineServer() {
    try {
        const auto endpoints = endpointsOf(plant_.url, std::chrono::milliseconds(plant_.timeout));
        if (endpoints.empty()) {
            fail("the server offers no endpoint", "the server's set-up");
            return;
        }
        examineEndpoints(endpoints);
    } catch (const DiscoveryError& error) {
        const CauseTable tables[] = {CauseTable::reach};
        const auto rows = causesOf(tables, error.what(), "");
        fail(std::string("the server does not tell what it offers: ") + error.what() +
                 (rows.empty() ? "" : ": " + plain(rows[0]->cause)),
             rows.empty() ? "whether it is an OPC UA server at all" : plain(rows[0]->cure));
    }
}

void Examination::examineEndpoints(const std::vector<Endpoint>& endpoints) {
    const int mode = plant_.isEncrypted() ? 3 : 1;
    std::set<std::string> policies;
    std::set<std::string> tokens;
    for (const Endpoint& endpoint : endpoints) {
        if (endpoint.mode != mode) continue;
        policies.insert(endpoint.policy);
        tokens.insert(endpoint.tokens.begin(), endpoint.tokens.end());
    }
    ok('"' + harmless(endpoints[0].serverName) + "\", " + harmless(endpoints[0].applicationUri));
    if (policies.empty()) {
        fail(mode == 3 ? "the server offers no encryption" : "the server offers nothing in clear",
             mode == 3 ? "switch it on at the server"
                       : "nimbhost cert new, for an encrypted session");
    } else {
        ok((mode == 3 ? "sign and encrypt: " : "in clear: ") + harmless(joined(policies)));
        const char* wanted = plant_.user ? "user name" : "anonymous";
        if (!tokens.contains(wanted)) {
            fail(std::string("the server takes no log-in of the kind \"") + wanted + "\", only " +
                     joined(tokens),
                 plant_.user ? "leave the user out" : "give a user: user = NAME, or --user NAME");
        }
    }
    const Endpoint* encrypted = encryptedEndpoint(endpoints);
    if (mode != 3 || encrypted == nullptr) return;
    serverCertificate_ = Certificate::parse(encrypted->certificateBytes);
    if (!serverCertificate_) return;
    examineDates("the server's certificate", *serverCertificate_, "the server needs a new one");
    const std::vector<std::string> names = serverCertificate_->hosts();
    const auto target = hostAndPort(plant_.url);
    const bool named =
        target && (serverCertificate_->isFor(target->host) ||
                   (isLocal(target->host) && std::any_of(names.begin(), names.end(), isLocal)));
    if (target && !named) {
        std::string all;
        for (const std::string& name : names) all += (all.empty() ? "" : ", ") + name;
        warn("its certificate names " + (all.empty() ? "no host" : harmless(all)) + ", not " +
                 target->host,
             serverCertificate_->isSelfSigned()
                 ? "nothing is refused for this"
                 : "refused unless this certificate itself lies in the trust list folder");
    }
}

void Examination::examineTrust() {
    if (!serverCertificate_) {
        skip("not looked at: no certificate was shown");
        return;
    }
    const std::string fingerprint = serverCertificate_->sha256();
    for (const auto& file : filesOf(plant_.trusted)) {
        const FileFinding known = lookAt(file);
        if (!known.certificate) continue;
        if (known.sha256 == fingerprint && serverCertificate_->isSelfSigned()) {
            ok(fingerprint + " is " + file.filename().string());
            return;
        }
        if (known.certificate->isAuthority() &&
            X509_check_issued(known.certificate->get(), serverCertificate_->get()) == X509_V_OK) {
            ok("issued by an authority in " + file.filename().string());
            return;
        }
    }
    if (serverCertificate_->isSelfSigned()) {
        fail("the server's certificate is not in the trust list folder: " + fingerprint,
             "compare it with the server's administrator, then: nimbhost trust " + option());
    } else {
        fail("the certificate of the server's authority is missing: " +
                 harmless(serverCertificate_->issuer()),
             "put it into " + plant_.trusted);
    }
}

}  // namespace nimb::nimbhost
