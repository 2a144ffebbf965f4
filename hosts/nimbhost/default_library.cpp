#include "nimbhost/default_library.h"

#include <filesystem>
#include <system_error>

namespace nimb::standin {

std::string defaultLibrary() {
    namespace fs = std::filesystem;
    const std::string name = "libnimbopcua.so";
    std::error_code error;
    const fs::path prefix = fs::read_symlink("/proc/self/exe", error).parent_path().parent_path();
    for (const char* folder : {"lib", NIMB_LIBRARY_FOLDER}) {
        fs::path library = prefix / folder / name;
        if (fs::exists(library, error)) return library;
    }
    return name;
}

}  // namespace nimb::standin
