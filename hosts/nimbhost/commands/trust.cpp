// nimbhost trust: fetches a server's certificate, shows it and, once its fingerprint is confirmed,
// puts it into the trust list folder.

#include <unistd.h>

#include <iostream>

#include "nimbhost/certificates/files.h"
#include "nimbhost/commands/tool.h"
#include "nimbhost/plant/discovery.h"
#include "nimbhost/terminal/interruption.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

namespace fs = std::filesystem;

void show(const Certificate& certificate, const PlantSettings& settings) {
    const Instant now = instantNow();
    const bool valid = certificate.notBefore() <= now && now < certificate.notAfter();
    std::string hosts;
    for (const std::string& host : certificate.hosts()) hosts += (hosts.empty() ? "" : ", ") + host;
    say("server       " + settings.url);
    say("subject      " + harmless(certificate.subject()));
    say("application  " + harmless(certificate.applicationUri()));
    say("host names   " + (hosts.empty() ? "none" : harmless(hosts)));
    say("valid        " + dayText(certificate.notBefore()) + " to " +
        dayText(certificate.notAfter()) + (valid ? "" : ": NOT NOW"));
    say("issued by    " + (certificate.isSelfSigned() ? "itself" : harmless(certificate.issuer())));
    say("sha256       " + certificate.sha256());
}

/// Whether one of the folder's files is this very certificate.
bool isTrusted(const fs::path& folder, const Certificate& certificate) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        try {
            const auto known = Certificate::parse(readWholeFile(entry.path()));
            if (known && known->der() == certificate.der()) return true;
        } catch (const FileError&) {  // the set-up says this of it; here it is only not the one
        }
    }
    return false;
}

/// A file name from the certificate's own words: letters, digits and hyphens of the application
/// URI, and the fingerprint's beginning.
std::string fileNameFor(const Certificate& certificate) {
    constexpr std::size_t longest = 60;
    std::string name;
    for (const char c : certificate.applicationUri().substr(0, longest)) {
        const bool kept =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        name += kept ? c : '-';
    }
    return (name.empty() ? "server" : name) + '-' +
           fingerprintDigits(certificate.sha256()).substr(0, 8) + ".der";
}

/// Whether the person vouches for the certificate. The last digits are asked for and not a "y",
/// because they can only be typed by somebody who looked at them.
bool isConfirmed(const Certificate& certificate, const std::string& given) {
    const std::string digits = fingerprintDigits(certificate.sha256());
    if (!given.empty()) {
        const std::string wanted = fingerprintDigits(given);
        if (wanted.size() != digits.size()) {
            throw BadInput(
                "--fingerprint takes the 64 digits of a SHA-256, with or without "
                "colons; not \"" +
                given + '"');
        }
        return wanted == digits;
    }
    constexpr std::size_t asked = 6;
    std::cout << "Compare the fingerprint with the one that the server's administrator reads out.\n"
                 "Its last six digits, to trust it: "
              << std::flush;
    std::string typed;
    std::getline(std::cin, typed);
    checkInterrupted();
    return fingerprintDigits(typed) == digits.substr(digits.size() - asked);
}

/// The certificate that the server would show in an encrypted session. Throws BadInput.
Certificate fetch(const PlantSettings& settings) {
    const auto endpoints = askForEndpoints(settings);
    const Endpoint* endpoint = encryptedEndpoint(endpoints);
    if (endpoint == nullptr || endpoint->certificateBytes.empty()) {
        throw BadInput(settings.url + " offers no encryption and has no certificate to trust");
    }
    std::optional<Certificate> certificate = Certificate::parse(endpoint->certificateBytes);
    if (!certificate) throw BadInput(settings.url + " showed a certificate that cannot be read");
    return std::move(*certificate);
}

int trust(const PlantSettings& settings, const std::string& fingerprint) {
    const Certificate certificate = fetch(settings);
    show(certificate, settings);
    if (!certificate.isSelfSigned()) {
        throw BadInput(
            "an authority issued this certificate: put the authority's own certificate (" +
            harmless(certificate.issuer()) + ") into " +
            (settings.trusted.empty() ? "the trust list folder" : settings.trusted) +
            "; its administrator has the file");
    }
    if (settings.trusted.empty()) {
        if (!fingerprint.empty()) {
            throw BadInput(
                "which trust list folder? give --plant NAME; \"nimbhost cert new\" "
                "makes the plant's folders");
        }
        return allWell;  // looked at, no more
    }
    if (isTrusted(settings.trusted, certificate)) {
        say("already trusted: it is in " + settings.trusted);
        return allWell;
    }
    if (fingerprint.empty() && !isTerminal(STDIN_FILENO)) {
        throw BadInput(
            "nothing trusted: compare the fingerprint with the server's administrator, "
            "then give --fingerprint SHA256");
    }
    if (!isConfirmed(certificate, fingerprint)) {
        std::cerr << "nimbhost: nothing trusted: that is not the fingerprint of this certificate\n";
        return failed;
    }
    const fs::path file = fs::path(settings.trusted) / fileNameFor(certificate);
    writeWholeFile(file, certificate.der(), 0644, true);
    say("trusted: " + file.string() + "; it counts from the next set-up on");
    return allWell;
}

}  // namespace

void addTrust(CLI::App& app, Tool& tool) {
    CLI::App* command =
        app.add_subcommand("trust", "fetch, show and, once it is confirmed, trust a certificate");
    const auto plant = std::make_shared<PlantOptions>();
    const auto fingerprint = std::make_shared<std::string>();
    plant->addTo(*command, true);
    command->add_option("--fingerprint", *fingerprint, "trust it if this is its SHA-256")
        ->type_name("SHA256");
    tool.onChosen(command, [plant, fingerprint] { return trust(plant->settings(), *fingerprint); });
}

}  // namespace nimb::nimbhost
