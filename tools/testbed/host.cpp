#include "testbed/host.h"

#include <stdexcept>

namespace nimb::test {

namespace {

void require(const Result& result, const char* step) {
    if (!result.ok()) {
        throw std::runtime_error(std::string(step) + ": " + result.text());
    }
}

}  // namespace

std::string Result::text() const { return written_ ? describe(list_) : "output untouched"; }

std::string failure(int kind, long long code, const std::string& text) {
    return "1, " + std::to_string(kind) + ", " + std::to_string(code) + ", u\"" + text + "\"";
}

Host::Host() : library_(NIMB_LIBRARY_PATH, host::Library::Care::strict) {}

Result Host::callWith(std::string_view entry, const VeltoROList& arguments) {
    const auto bytes = library_.call(entry, arguments);
    return bytes ? Result(std::span(bytes->data(), bytes->size())) : Result();
}

long Host::bareClient() {
    const Result created = call("zfCreateClientB");
    require(created, "zfCreateClientB");
    return created[1].AsLong();
}

long Host::newClient(int timeout, int stringMode) {
    const long handle = bareClient();
    require(call("zfSetupClientC", handle, timeout, 1, "", "", "", "", "", stringMode),
            "zfSetupClientC");
    return handle;
}

long Host::connectedClient(const std::string& url, int timeout, int stringMode) {
    const long handle = newClient(timeout, stringMode);
    require(call("zfConnectB", handle, url), "zfConnectB");
    return handle;
}

}  // namespace nimb::test
