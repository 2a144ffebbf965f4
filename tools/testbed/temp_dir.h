#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace nimb::test {

/// A fresh directory for one test's files, removed with all its contents. Throws
/// std::filesystem::filesystem_error or std::system_error.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const noexcept { return path_; }

    /// Writes `bytes` to the file `name`, making folders that are missing, and returns its path.
    std::filesystem::path write(const std::filesystem::path& name, std::string_view bytes) const;

  private:
    std::filesystem::path path_;
};

/// A fresh directory that is the process's own until this object goes, so that whatever the library
/// writes lands there.
class WorkingDir : public TempDir {
  public:
    WorkingDir() { std::filesystem::current_path(path()); }
    ~WorkingDir() {
        std::error_code ignored;
        std::filesystem::current_path(before_, ignored);
    }
    WorkingDir(const WorkingDir&) = delete;
    WorkingDir& operator=(const WorkingDir&) = delete;

  private:
    std::filesystem::path before_ = std::filesystem::current_path();
};

/// All bytes of a file. Throws std::runtime_error when it cannot be read.
std::string readFile(const std::filesystem::path& path);

}  // namespace nimb::test
