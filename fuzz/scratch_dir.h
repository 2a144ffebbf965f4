#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace nimb::fuzz {

/// A directory that the process works in until it ends, so that whatever a fuzzer makes the library
/// write lands there.
class ScratchDir {
  public:
    ScratchDir() {
        std::string name = (std::filesystem::temp_directory_path() / "nimbfuzzXXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no directory to work in");
        }
        path_ = name;
        std::filesystem::current_path(path_);
    }
    ~ScratchDir() {
        std::error_code ignored;
        std::filesystem::current_path("/", ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace nimb::fuzz
