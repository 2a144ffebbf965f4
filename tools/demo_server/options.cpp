#include "demo_server/options.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string_view>

namespace nimb::plant {

namespace {

namespace fs = std::filesystem;

template <typename Number>
Number number(std::string_view option, std::string_view text,
              Number greatest = std::numeric_limits<Number>::max()) {
    Number value{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end || value > greatest) {
        throw UsageError(std::string(option) + " takes a number from 0 to " +
                         std::to_string(greatest) + ", not \"" + std::string(text) + "\"");
    }
    return value;
}

std::chrono::milliseconds interval(std::string_view option, std::string_view text) {
    return std::chrono::milliseconds(number<std::uint32_t>(option, text, 3600000));
}

/// The halves of "LEFT=RIGHT" or "LEFT:RIGHT".
std::pair<std::string, std::string> halves(std::string_view option, std::string_view text,
                                           char separator) {
    const std::size_t at = text.find(separator);
    if (at == std::string_view::npos || at == 0) {
        throw UsageError(std::string(option) + " takes two values with '" + separator +
                         "' between them, not \"" + std::string(text) + "\"");
    }
    return {std::string(text.substr(0, at)), std::string(text.substr(at + 1))};
}

std::string fileBytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file || bytes.empty()) throw UsageError("cannot read " + path.string());
    return bytes;
}

std::vector<std::string> directoryFiles(const fs::path& directory) {
    std::error_code error;
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(directory, error)) {
        if (entry.is_regular_file()) files.push_back(fileBytes(entry.path()));
    }
    if (error) throw UsageError("cannot list " + directory.string() + ": " + error.message());
    return files;
}

/// Takes the arguments one by one; an option's value is the argument behind it.
class Reader {
  public:
    Reader(int count, const char* const* arguments, CommandLine defaults)
        : next_(arguments), end_(arguments + count), result_(std::move(defaults)) {}

    CommandLine read() {
        while (next_ != end_) {
            option_ = *next_++;
            if (!readSwitch() && !readServerOption() && !readSecurityOption()) {
                throw UsageError("unknown option " + std::string(option_));
            }
        }
        if (encryption_.certificate.empty() != encryption_.privateKey.empty()) {
            throw UsageError("--certificate and --key belong together");
        }
        if (!encryption_.certificate.empty()) {
            result_.plant.encryption = std::make_shared<const Encryption>(std::move(encryption_));
        } else if (!encryption_.trusted.empty()) {
            throw UsageError("--trust needs --certificate and --key");
        }
        return std::move(result_);
    }

  private:
    std::string_view value() {
        if (next_ == end_) throw UsageError(std::string(option_) + " needs a value");
        return *next_++;
    }

    bool readSwitch() {
        if (option_ == "--help" || option_ == "-h") {
            result_.help = true;
        } else if (option_ == "--verbose") {
            result_.plant.verbose = true;
        } else if (option_ == "--die-with-parent") {
            result_.dieWithParent = true;
        } else if (option_ == "--no-anonymous") {
            result_.plant.allowAnonymous = false;
        } else {
            return false;
        }
        return true;
    }

    bool readServerOption() {
        PlantOptions& plant = result_.plant;
        if (option_ == "--port") {
            plant.port = number<std::uint16_t>(option_, value());
        } else if (option_ == "--bulk") {
            plant.bulkPoints = number<std::uint32_t>(option_, value(), maxBulkPoints);
        } else if (option_ == "--page") {
            plant.maxReferencesPerNode = number<std::uint32_t>(option_, value());
        } else if (option_ == "--channel-lifetime") {
            plant.channelLifetime = interval(option_, value());
        } else if (option_ == "--session-timeout") {
            plant.sessionTimeout = interval(option_, value());
        } else if (option_ == "--move") {
            plant.moveEvery = interval(option_, value());
        } else if (option_ == "--change") {
            const auto [points, every] = halves(option_, value(), ':');
            plant.changingPoints = number<std::uint32_t>(option_, points, maxBulkPoints);
            plant.changeEvery = interval(option_, every);
            plant.bulkPoints = std::max(plant.bulkPoints, plant.changingPoints);
        } else {
            return false;
        }
        return true;
    }

    bool readSecurityOption() {
        if (option_ == "--user") {
            if (!loginsGiven_) result_.plant.logins.clear();
            loginsGiven_ = true;
            const auto [user, password] = halves(option_, value(), '=');
            result_.plant.logins.push_back({user, password});
        } else if (option_ == "--certificate") {
            encryption_.certificate = fileBytes(value());
        } else if (option_ == "--key") {
            encryption_.privateKey = fileBytes(value());
        } else if (option_ == "--trust") {
            encryption_.trusted = directoryFiles(value());
        } else if (option_ == "--application-uri") {
            result_.plant.applicationUri = value();
        } else {
            return false;
        }
        return true;
    }

    static constexpr std::uint32_t maxBulkPoints = 100000;

    const char* const* next_;
    const char* const* end_;
    std::string_view option_;
    CommandLine result_;
    Encryption encryption_;
    bool loginsGiven_ = false;
};

}  // namespace

CommandLine parseCommandLine(int count, const char* const* arguments) {
    CommandLine defaults;
    defaults.plant.moveEvery = std::chrono::milliseconds(500);
    return Reader(count, arguments, std::move(defaults)).read();
}

const char* helpText() noexcept {
    return R"(usage: nimb-demo-server [option...]

Serves a small demonstration plant over OPC UA on the loopback interface until it is interrupted.
Once clients can connect, one line tells the address: "listening opc.tcp://127.0.0.1:PORT".

  --port N              listen on port N; 0 or left out: any free port
  --move MS             move tanks and pump every MS milliseconds; 0: never (500)
  --bulk N              number of measuring points in the Bulk folder (200)
  --change N:MS         change the first N measuring points every MS milliseconds
  --page N              answer a browse with at most N references a node; 0: all (0)
  --channel-lifetime MS let channels live MS milliseconds at most; 0: as clients ask (0)
  --session-timeout MS  end sessions after MS milliseconds without a request; 0: as clients ask (0)
  --user NAME=PASSWORD  accept this login instead of operator=plant-7; may be repeated
  --no-anonymous        refuse clients that do not log in
  --certificate FILE    server certificate, DER or PEM; offers encrypted channels
  --key FILE            its private key, DER or PEM, without a password
  --trust DIR           accept only clients with a certificate in DIR; left out: any client
  --application-uri URI the URI inside the certificate (urn:nimbopcua:plant-server)
  --die-with-parent     end when the starting process ends
  --verbose             server messages to the standard error stream
  --help                this text

Folders below Objects: Plant, AllTypes, Writable, Odd, Many, Bulk; all nodes are in namespace 2.
Exit status: 0 after SIGINT or SIGTERM, 1 when the server cannot run, 2 for a wrong command line.
)";
}

}  // namespace nimb::plant
