// Set-up and connect, as a host makes them, with the log at hand to tell causes apart.

#include <regex>

#include "base/connection.h"
#include "nimbhost/causes/causes.h"
#include "nimbhost/doctor/examination.h"
#include "nimbhost/doctor/log_capture.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

std::string absolute(const std::string& path) {
    return path.empty() ? path : std::filesystem::absolute(path).lexically_normal().string();
}

/// A client, destroyed at the end of its life.
class Client {
  public:
    explicit Client(host::Library& library) : library_(library) {
        handle_ = call("zfCreateClientB", {}).at(1).AsLong();
    }
    ~Client() {
        try {
            call("zfDestroyClientB", VeltoList() + handle_);
        } catch (const std::exception&) {  // there is nobody left to tell
        }
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// The failure's text, empty for success.
    std::string tryCall(std::string_view entry, const VeltoList& arguments) {
        VeltoList all = VeltoList() + handle_;
        all.appendList(arguments);
        const VeltoList result = call(entry, all);
        return result.at(0).AsLong() == 0 ? "" : result.at(3).AsAString();
    }

  private:
    VeltoList call(std::string_view entry, const VeltoList& arguments) {
        const auto bytes = library_.call(entry, arguments);
        return {bytes ? bytes->data() : nullptr, bytes ? bytes->size() : 0};
    }

    host::Library& library_;
    long handle_ = 0;
};

/// The policy that the stack chose, by its log.
std::string policyIn(const std::string& log) {
    static const std::regex uri(R"(SecurityPolicy#([A-Za-z0-9_]+))");
    static const std::regex chosen(
        R"([Ss]elected [Ee]ndpoint[^\n]*SecurityPolicy#([A-Za-z0-9_]+))");
    std::smatch found;
    return std::regex_search(log, found, chosen) ? found[1].str() : "";
}

}  // namespace

bool Examination::examineSession() {
    host::Library& library = tool_.library();
    if (plant_.user) password_ = passwordFor(plant_);
    for (std::string* path : {&plant_.certificate, &plant_.key, &plant_.trusted, &plant_.revoked}) {
        *path = absolute(*path);  // the capture works in another folder
    }
    const LogCapture capture(library);
    Client client(library);
    const auto refuse = [this](const char* what, const std::string& failure, const std::string& log,
                               std::span<const CauseTable> tables) {
        const auto rows = causesOf(tables, failure, log);
        const std::string cause = rows.empty() ? "" : ": " + plain(rows[0]->cause);
        fail(what + (" refused" + cause) + " (" + harmless(failure) + ')',
             rows.empty() ? "nimbhost explain tells about the status" : plain(rows[0]->cure));
    };
    const CauseTable setUp[] = {CauseTable::setUp};
    const std::string refused = client.tryCall(
        "zfSetupClientC", VeltoList() + plant_.timeout + plant_.mode + plant_.certificate +
                              plant_.key + plant_.trusted + plant_.revoked + plant_.uri + 0);
    if (!refused.empty()) {
        refuse("set-up", refused, capture.text(), setUp);
        return false;
    }
    const CauseTable encrypted[] = {CauseTable::connect, CauseTable::reach};
    const CauseTable inClear[] = {CauseTable::reach};
    const std::string failure =
        plant_.user
            ? client.tryCall("zfConnectUser", VeltoList() + plant_.url + *plant_.user + password_)
            : client.tryCall("zfConnectB", VeltoList() + plant_.url);
    const std::string log = capture.text();
    if (!failure.empty()) {
        refuse("connect", failure, log,
               plant_.isEncrypted() ? std::span<const CauseTable>(encrypted)
                                    : std::span<const CauseTable>(inClear));
        return false;
    }
    const std::string policy = policyIn(log);
    ok(std::string("set up and connected, ") + (plant_.isEncrypted() ? "encrypted" : "in clear") +
       (policy.empty() ? "" : " with " + policy));
    if (plant_.user && !plant_.isEncrypted()) {
        warn("logged in as " + *plant_.user + " over a session in clear",
             "an encrypted session protects everything: nimbhost cert new");
    } else if (plant_.user) {
        ok("logged in as " + *plant_.user + ", protected by the encryption");
    }
    return true;
}

}  // namespace nimb::nimbhost
