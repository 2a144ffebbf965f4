#include "demo_server/new_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

namespace nimb::plant {

namespace {

[[noreturn]] void fail(const char* what, const std::filesystem::path& path) {
    throw std::system_error(errno, std::generic_category(), what + path.string());
}

/// A file of a name of its own beside the wanted one; gone when this goes.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::filesystem::path& beside)
        : name_(beside.string() + ".XXXXXX"), descriptor_(mkostemp(name_.data(), O_CLOEXEC)) {
        if (descriptor_ < 0) fail("cannot write ", beside);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        unlink(name_.c_str());
        close(descriptor_);
    }

    bool fill(const std::string& bytes, mode_t mode) noexcept {
        const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
        return written == static_cast<ssize_t>(bytes.size()) && fchmod(descriptor_, mode) == 0 &&
               fsync(descriptor_) == 0;
    }
    /// Unlike a plain rename, this one replaces nothing.
    bool rename(const std::filesystem::path& path) noexcept {
        return renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0;
    }

  private:
    std::string name_;
    int descriptor_;
};

}  // namespace

void writeNewFile(const std::filesystem::path& path, const std::string& bytes, mode_t mode) {
    TemporaryFile file(path);  // readable by its owner alone until it is complete
    if (!file.fill(bytes, mode) || !file.rename(path)) fail("cannot write ", path);
}

std::string readWholeFile(const std::filesystem::path& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file) fail("cannot read ", path);
    return bytes;
}

}  // namespace nimb::plant
