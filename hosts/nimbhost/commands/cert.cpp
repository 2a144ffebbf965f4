// nimbhost cert: makes a client certificate with its folders, and looks at certificate files.

#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "nimbhost/certificates/file_findings.h"
#include "nimbhost/certificates/files.h"
#include "nimbhost/certificates/private_key.h"
#include "nimbhost/commands/tool.h"
#include "nimbhost/terminal/interruption.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

namespace fs = std::filesystem;

struct NewOptions {
    std::string plant, uri, url, organization;
    int days = 1825;
    bool force = false;
};

void requireName(const std::string& plant) {
    const bool plain = !plant.empty() && plant[0] != '.' && plant.find('/') == std::string::npos;
    if (!plain) throw BadInput("--plant takes a name such as north, not \"" + plant + '"');
}

void requireUri(const std::string& uri) {
    const bool shape = uri.find(':') != std::string::npos && uri.find(':') != 0;
    for (const char c : uri) {
        if (c <= ' ' || c > '~' || c == '"' || !shape) {
            throw BadInput("--uri takes a URI such as urn:waterworks-north:nimb-client, not \"" +
                           uri + '"');
        }
    }
}

std::string plantFileText(const NewOptions& options) {
    const auto quoted = [](const std::string& text) { return '"' + text + '"'; };
    return "# How nimbhost gets at this plant. Paths are relative to this file's folder.\n" +
           (options.url.empty() ? "# url = \"opc.tcp://HOST:4840\"\n"
                                : "url = " + quoted(options.url) + '\n') +
           "mode = encrypt\n"
           "certificate = own/client.der\n"
           "key = own/client.key.pem\n"
           "trusted = trusted\n"
           "revoked = revoked\n"
           "uri = " +
           quoted(options.uri) +
           "\n"
           "timeout = 3s\n"
           "# user = operator\n"
           "# password-file = own/password\n";
}

std::string hostName() {
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

void makeFolder(const fs::path& folder, mode_t mode) {
    if (::mkdir(folder.c_str(), mode) == 0 || fs::is_directory(folder)) return;
    throw FileError("cannot make the folder " + folder.string());
}

bool isThere(const fs::path& file) { return fs::exists(fs::symlink_status(file)); }

/// Nothing that exists is replaced without a wish.
void requireRoom(const fs::path& certificate, const fs::path& key, const fs::path& plant) {
    const bool hasKey = isThere(key);
    const bool hasOne = hasKey != isThere(certificate);
    if (hasOne || (hasKey && lookAtAll({certificate, key})[1].isStray)) {
        throw BadInput((hasKey ? key : certificate).string() +
                       (hasOne ? " is there without " : " does not belong to ") +
                       (hasKey ? certificate : key).string() +
                       ", as a run leaves it that ended in the middle; --force makes both anew");
    }
    for (const fs::path& file : {certificate, plant}) {
        if (isThere(file)) {
            throw BadInput(file.string() +
                           " exists and stays as it is; --force replaces certificate and key");
        }
    }
}

int makeNew(const NewOptions& options) {
    requireName(options.plant);
    requireUri(options.uri);
    const fs::path certificate = "own/client.der";
    const fs::path key = "own/client.key.pem";
    const fs::path plant = options.plant + ".conf";
    if (!options.force) requireRoom(certificate, key, plant);
    const NewCertificate made = [&] {
        const Progress progress("making a key of 2048 bits ...");
        return makeCertificate(
            {options.uri, "NIMB OPC UA client", options.organization, hostName(), options.days});
    }();
    checkInterrupted();  // from here on everything is written to the end
    makeFolder("own", 0700);
    makeFolder("trusted", 0755);
    makeFolder("revoked", 0755);
    writeTogether(std::array{NewFile{key, made.keyPem, 0600}, NewFile{certificate, made.der, 0644}},
                  options.force);
    // Its owner may have put a user, a password file and times into it since.
    const bool keepsPlant = isThere(plant);
    if (!keepsPlant) writeWholeFile(plant, plantFileText(options), 0644, false);
    const auto parsed = Certificate::parse(made.der);
    say(certificate.string() + "      " + options.uri + ", until " + dayText(parsed->notAfter()));
    say(key.string() + "  readable by you alone; keep it");
    say(plant.string() + (keepsPlant ? " stays as it is" : "") + ", trusted/, revoked/");
    say("sha256 " + parsed->sha256());
    say("Next: give own/client.der to the server's administrator, then nimbhost trust --plant " +
        options.plant + (options.url.empty() && !keepsPlant ? " --url opc.tcp://HOST:PORT" : ""));
    return allWell;
}

int showFiles(const std::vector<std::string>& paths, const Tool& tool) {
    bool good = true;
    for (const std::string& path : paths) {
        std::vector<fs::path> files{path};
        if (fs::is_directory(path)) files = filesOf(path);
        for (const FileFinding& finding : lookAtAll(files)) {
            good = good && finding.isUsable();
            if (tool.json) {
                sayJson(jsonOf(finding));
            } else {
                say(finding.file.string() + "  " + harmless(finding.text));
                if (!finding.sha256.empty()) say("    sha256 " + finding.sha256);
            }
        }
    }
    return good ? allWell : failed;
}

void addNew(CLI::App& cert, Tool& tool) {
    CLI::App* command = cert.add_subcommand(
        "new", "make own/, trusted/, revoked/ and NAME.conf in the current folder");
    const auto options = std::make_shared<NewOptions>();
    command->add_option("-p,--plant", options->plant, "name of the plant file")
        ->required()
        ->type_name("NAME");
    command->add_option("--uri", options->uri, "the application URI, for the certificate")
        ->required()
        ->type_name("URI");
    command->add_option("-u,--url", options->url, "the server, for the plant file")
        ->type_name("URL");
    command->add_option("--organization", options->organization, "for the certificate")
        ->type_name("NAME");
    command->add_option("--days", options->days, "how long it holds (1825)")
        ->check(CLI::Range(1, 36500))
        ->type_name("N");
    command->add_flag("--force", options->force, "replace certificate and key");
    tool.onChosen(command, [options] { return makeNew(*options); });
}

}  // namespace

void addCert(CLI::App& app, Tool& tool) {
    CLI::App* cert = app.add_subcommand("cert", "client certificate and folders");
    cert->require_subcommand(1);
    cert->fallthrough();
    addNew(*cert, tool);
    CLI::App* show = cert->add_subcommand("show", "names, dates and fingerprints of files");
    const auto paths = std::make_shared<std::vector<std::string>>();
    show->add_option("FILE|FOLDER", *paths, "certificates, keys, revocation lists")->required();
    tool.onChosen(show, [paths, &tool] { return showFiles(*paths, tool); });
}

}  // namespace nimb::nimbhost
