#include "nimbhost/doctor/examination.h"

#include <open62541/config.h>

#include <algorithm>

#include "nimbhost/plant/duration.h"
#include "nimbhost/terminal/interruption.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

std::size_t Examination::count(Finding::Result result) const {
    return static_cast<std::size_t>(
        std::count_if(findings_.begin(), findings_.end(),
                      [result](const Finding& finding) { return finding.result == result; }));
}

std::string Examination::option() const {
    return plant_.name.empty() ? "--url " + plant_.url : "--plant " + plant_.name;
}

void Examination::examine() {
    Progress progress("looking at the library and the files ...");
    const auto begin = [this, &progress](const char* step, const std::string& wait) {
        checkInterrupted();
        step_ = step;
        progress.say(wait);
    };
    begin("library", "loading the library ...");
    examineLibrary();
    if (plant_.isEncrypted()) {
        begin("files", "looking at the files ...");
        examineFiles();
    }
    begin("network", waitText("looking for " + plant_.url, plant_.timeout));
    const bool reached = examineNetwork();
    begin("server", waitText("asking " + plant_.url + " for its endpoints", plant_.timeout));
    if (reached) {
        examineServer();
    } else {
        skip("not asked");
    }
    if (plant_.isEncrypted()) {
        begin("trust", "comparing certificates ...");
        examineTrust();
    }
    begin("session", waitText("connecting to " + plant_.url, plant_.timeout));
    const bool connected = examineSession();
    begin("values", "reading and following values, some seconds ...");
    if (connected) {
        examineValues();
    } else {
        skip("not tried");
    }
}

void Examination::examineLibrary() {
    host::Library& library = tool_.library();
    const auto answer = library.call("zfVersion");
    const VeltoROList version(answer ? answer->data() : nullptr, answer ? answer->size() : 0);
    const std::string path = tool_.pathOfLibrary();
    ok(path.substr(path.rfind('/') + 1) + ' ' + version.at(1).AsAString() + ", " +
       std::to_string(library.rows().size()) + " entries, open62541 " +
       std::to_string(UA_OPEN62541_VER_MAJOR) + '.' + std::to_string(UA_OPEN62541_VER_MINOR) + '.' +
       std::to_string(UA_OPEN62541_VER_PATCH));
}

}  // namespace nimb::nimbhost
