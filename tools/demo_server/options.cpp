#include "demo_server/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "demo_server/certificates.h"
#include "nimbhost/certificates/files.h"

namespace nimb::plant {

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t maxBulkPoints = 100000;

/// The options as typed that need more than CLI11 to become a `CommandLine`.
struct Typed {
    std::string move = "500ms";
    std::string change;
    std::string channelLifetime;
    std::string sessionTimeout;
    std::vector<std::string> users;
    std::vector<std::string> faults;
    std::vector<std::string> signals;
    fs::path certificate;
    fs::path key;
    fs::path trust;
    bool noAnonymous = false;
};

void describe(CLI::App& app) {
    app.description(
        "Serves a small demonstration plant over OPC UA on the loopback interface until it is\n"
        "interrupted. Once clients can connect, one line tells the address:\n"
        "\"listening opc.tcp://127.0.0.1:PORT\".");
    app.footer(
        "\nA duration is a number with ms, s or min behind it; without a unit it counts ms.\n"
        "Folders below Objects: Plant, AllTypes, Writable, Odd, Many, Bulk and, when there are "
        "any,\n"
        "Signals; all nodes are in namespace 2.\n"
        "Exit status: 0 after SIGINT or SIGTERM, 1 when the server cannot run, 2 for a wrong\n"
        "command line.");
    app.get_formatter()->column_width(30);
    app.set_version_flag("--version", "nimb-demo-server " NIMB_VERSION);
}

void addPlantOptions(CLI::App& app, CommandLine& command, Typed& typed) {
    PlantOptions& plant = command.plant;
    app.add_option("--port", plant.port, "listen on this port; 0: any free port (0)")
        ->type_name("N")
        ->check(CLI::Range(0, 65535).description(""));
    app.add_option("--move", typed.move, "move tanks and pump this often; 0: never (500ms)")
        ->type_name("DURATION");
    app.add_option("--bulk", plant.bulkPoints, "measuring points in the Bulk folder (200)")
        ->type_name("N")
        ->check(CLI::Range(0U, maxBulkPoints).description(""));
    app.add_option("--change", typed.change, "change the first N measuring points this often")
        ->type_name("N:DURATION");
    app.add_option("--page", plant.maxReferencesPerNode,
                   "references a node in one answer to a browse; 0: all (0)")
        ->type_name("N");
    app.add_option("--channel-lifetime", typed.channelLifetime,
                   "longest that a channel lives unless renewed (10min)")
        ->type_name("DURATION");
    app.add_option("--session-timeout", typed.sessionTimeout,
                   "longest that a session lives without a request (60min)")
        ->type_name("DURATION");
    app.add_option("--signal", typed.signals,
                   "add a variable: NAME=SHAPE:period=10s,min=0,max=100; a SHAPE is sine, ramp,\n"
                   "random or bad (a bad status in the second half of each period); repeatable")
        ->type_name("NAME=SHAPE")
        ->take_all()
        ->expected(1);
    app.add_option("--fault", typed.faults,
                   "freeze@10s:5s, restart@30s:2s or drop-sessions@20s, counted from the start;\n"
                   "repeatable")
        ->type_name("WHAT@WHEN")
        ->take_all()
        ->expected(1);
    app.add_flag("--show", command.show, "tell of sessions and subscriptions that come and go");
    app.add_flag("--die-with-parent", command.dieWithParent, "end when the starting process ends");
    app.add_flag("--verbose", plant.verbose, "server messages to the standard error stream");
}

void addSecurityOptions(CLI::App& app, CommandLine& command, Typed& typed) {
    app.add_option("--user", typed.users,
                   "accept this login instead of operator=plant-7; repeatable")
        ->type_name("NAME=PASSWORD")
        ->envname("NIMB_DEMO_USER")
        ->take_all()
        ->expected(1);
    app.add_flag("--no-anonymous", typed.noAnonymous, "refuse clients that do not log in");
    auto* encrypted =
        app.add_option("--encrypted", command.certificateFolder,
                       "encrypt every session, with the certificate and the trusted clients in\n"
                       "DIR; makes what is missing there")
            ->type_name("DIR");
    auto* certificate = app.add_option("--certificate", typed.certificate,
                                       "server certificate, DER or PEM; offers encryption");
    auto* key = app.add_option("--key", typed.key, "its private key, without a password");
    auto* trust =
        app.add_option("--trust", typed.trust, "accept only clients with a certificate in DIR");
    certificate->type_name("FILE")->needs(key)->excludes(encrypted);
    key->type_name("FILE")->needs(certificate);
    trust->type_name("DIR")->needs(certificate);
    app.add_option("--application-uri", command.plant.applicationUri,
                   "the URI in the certificate (urn:nimbopcua:plant-server)")
        ->type_name("URI");
}

std::vector<std::string> certificatesIn(const fs::path& folder) {
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.is_regular_file()) files.push_back(nimbhost::readWholeFile(entry.path()));
    }
    // An empty list would let everybody in.
    if (files.empty()) throw UsageError(folder.string() + " holds no certificate");
    return files;
}

std::shared_ptr<const Encryption> encryptionOf(const Typed& typed) {
    if (typed.certificate.empty()) return nullptr;
    auto encryption = std::make_shared<Encryption>();
    encryption->certificate = nimbhost::readWholeFile(typed.certificate);
    encryption->privateKey = nimbhost::readWholeFile(typed.key);
    if (!belongTogether(encryption->certificate, encryption->privateKey)) {
        throw UsageError(typed.key.string() + " is not the key of " + typed.certificate.string());
    }
    if (!typed.trust.empty()) encryption->trusted = certificatesIn(typed.trust);
    return encryption;
}

void setChange(PlantOptions& plant, const std::string& text) {
    const auto [points, every] = halves(text, ':');
    if (!CLI::detail::lexical_cast(points, plant.changingPoints) ||
        plant.changingPoints > maxBulkPoints) {
        throw UsageError("from 0 to 100000 points can change, not " + points);
    }
    plant.changeEvery = parseDuration(every);
    plant.bulkPoints = std::max(plant.bulkPoints, plant.changingPoints);
}

/// Calls `use` with each value of an option, and names the option when a value is wrong.
template <typename Use>
void forEach(const char* option, const std::vector<std::string>& values, Use use) {
    try {
        for (const std::string& value : values) {
            if (!value.empty()) use(value);
        }
    } catch (const UsageError& error) {
        throw UsageError(std::string(option) + ": " + error.what());
    }
}

void apply(const Typed& typed, CommandLine& command) {
    PlantOptions& plant = command.plant;
    plant.allowAnonymous = !typed.noAnonymous;
    if (!typed.users.empty()) plant.logins.clear();
    forEach("--move", {typed.move}, [&](auto& text) { plant.moveEvery = parseDuration(text); });
    forEach("--change", {typed.change}, [&](auto& text) { setChange(plant, text); });
    forEach("--channel-lifetime", {typed.channelLifetime},
            [&](auto& text) { plant.channelLifetime = parseDuration(text); });
    forEach("--session-timeout", {typed.sessionTimeout},
            [&](auto& text) { plant.sessionTimeout = parseDuration(text); });
    forEach("--user", typed.users, [&](auto& text) {
        const auto [name, password] = halves(text, '=');
        plant.logins.push_back({name, password});
    });
    forEach("--fault", typed.faults,
            [&](auto& text) { command.faults.push_back(parseFault(text)); });
    forEach("--signal", typed.signals,
            [&](auto& text) { plant.signals.push_back(parseSignal(text)); });
    plant.encryption = encryptionOf(typed);
}

}  // namespace

CommandLine parseCommandLine(int count, const char* const* arguments) {
    CLI::App app("", "nimb-demo-server");
    CommandLine command;
    Typed typed;
    describe(app);
    addPlantOptions(app, command, typed);
    addSecurityOptions(app, command, typed);
    try {
        // CLI11 takes them the last one first.
        std::vector<std::string> words(arguments, arguments + count);
        std::ranges::reverse(words);
        app.parse(std::move(words));
        apply(typed, command);
    } catch (const CLI::CallForHelp&) {
        command.answer = app.help();
    } catch (const CLI::CallForVersion& version) {
        command.answer = std::string(version.what()) + "\n";
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    } catch (const nimbhost::FileError& error) {
        throw UsageError(error.what());
    } catch (const std::system_error& error) {  // a folder that cannot be read
        throw UsageError(error.what());
    }
    return command;
}

}  // namespace nimb::plant
