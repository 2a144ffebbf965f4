#include "nimbhost/certificates/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <list>

namespace nimb::nimbhost {

namespace {

constexpr off_t kLargest = off_t{16} << 20;

[[noreturn]] void fail(const char* what, const std::filesystem::path& path, int error) {
    throw FileError(std::string("cannot ") + what + ' ' + path.string() + ": " +
                    std::strerror(error));
}

class Descriptor {
  public:
    explicit Descriptor(int value) noexcept : value_(value) {}
    ~Descriptor() {
        if (value_ >= 0) ::close(value_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const noexcept { return value_; }

  private:
    int value_;
};

/// The temporary file beside the one to be; gone at the end unless it was renamed.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::filesystem::path& target)
        : name_(target.string() + ".XXXXXX"), file_(::mkostemp(name_.data(), O_CLOEXEC)) {
        if (file_.get() < 0) fail("write", target, errno);
    }
    ~TemporaryFile() {
        if (!renamed_) ::unlink(name_.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void write(std::string_view bytes, mode_t mode) const {
        while (!bytes.empty()) {
            const ssize_t written = ::write(file_.get(), bytes.data(), bytes.size());
            if (written < 0 && errno == EINTR) continue;
            if (written < 0) fail("write", name_, errno);
            bytes.remove_prefix(static_cast<std::size_t>(written));
        }
        if (::fchmod(file_.get(), mode) != 0 || ::fsync(file_.get()) != 0) {
            fail("write", name_, errno);
        }
    }
    void renameTo(const std::filesystem::path& target, bool overwrite) {
        const unsigned flags = overwrite ? 0 : RENAME_NOREPLACE;
        if (::renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, target.c_str(), flags) != 0) {
            fail("write", target, errno);
        }
        renamed_ = true;
    }

  private:
    std::string name_;
    Descriptor file_;
    bool renamed_ = false;
};

}  // namespace

std::string readWholeFile(const std::filesystem::path& path) {
    // Not blocking: opening a pipe that nobody writes to would wait for ever.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat about {};
    if (file.get() < 0 || ::fstat(file.get(), &about) != 0) fail("read", path, errno);
    if (!S_ISREG(about.st_mode)) fail("read", path, S_ISDIR(about.st_mode) ? EISDIR : EINVAL);
    if (about.st_size > kLargest) fail("read", path, EFBIG);
    std::string bytes(static_cast<std::size_t>(about.st_size), '\0');
    std::size_t at = 0;
    while (at < bytes.size()) {
        const ssize_t got = ::read(file.get(), bytes.data() + at, bytes.size() - at);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) fail("read", path, errno);
        if (got == 0) break;  // it has become shorter meanwhile
        at += static_cast<std::size_t>(got);
    }
    bytes.resize(at);
    return bytes;
}

void writeWholeFile(const std::filesystem::path& path, std::string_view bytes, mode_t mode,
                    bool overwrite) {
    writeTogether(std::array{NewFile{path, bytes, mode}}, overwrite);
}

void writeTogether(std::span<const NewFile> files, bool overwrite) {
    std::list<TemporaryFile> written;
    for (const NewFile& file : files) {
        written.emplace_back(file.path).write(file.bytes, file.mode);
    }
    auto temporary = written.begin();
    for (const NewFile& file : files) (temporary++)->renameTo(file.path, overwrite);
}

}  // namespace nimb::nimbhost
