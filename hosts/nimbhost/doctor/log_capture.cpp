#include "nimbhost/doctor/log_capture.h"

#include <unistd.h>

#include <cstdlib>

#include "list/velto_list.h"
#include "nimbhost/certificates/files.h"

namespace nimb::nimbhost {

namespace {

namespace fs = std::filesystem;

void switchLog(host::Library& library, const std::string& name) {
    try {
        library.call("zfSetLogFile", VeltoList() + name);
    } catch (const std::exception&) {  // without a log, causes are only less certain
    }
}

}  // namespace

LogCapture::LogCapture(host::Library& library) : library_(library) {
    std::error_code error;
    before_ = fs::current_path(error);
    std::string pattern = (fs::temp_directory_path(error) / "nimbhost-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) return;
    folder_ = pattern;
    if (::chdir(folder_.c_str()) == 0) switchLog(library_, "doctor");
}

LogCapture::~LogCapture() {
    if (folder_.empty()) return;
    switchLog(library_, "");
    std::error_code error;
    fs::current_path(before_, error);
    fs::remove_all(folder_, error);
}

std::string LogCapture::text() const {
    try {
        return readWholeFile(folder_ / "uaclogfile_doctor.txt");
    } catch (const FileError&) {
        return {};
    }
}

}  // namespace nimb::nimbhost
