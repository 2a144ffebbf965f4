#include "client/security_material.h"

#include <dirent.h>
#include <fcntl.h>
#include <string.h>  // NOLINT(modernize-deprecated-headers): explicit_bzero is POSIX
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "errors/file_descriptor.h"
#include "errors/log_file.h"

namespace nimb {

namespace {

/// Longer paths are refused: Compatibility C13.
constexpr std::size_t kMaxPath = 998;

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

bool readFully(int descriptor, unsigned char* bytes, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = ::read(descriptor, bytes + done, size - done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(got);
    }
    return true;
}

/// The texts of a directory of files; each takes the path.
struct DirectoryTexts {
    const char* openFailed;
    const char* readFailed;
};

constexpr const char* kCertificateFailed = "File IO error reading client certificate file, '%s'";
constexpr DirectoryTexts kTrustListTexts = {
    "File IO error opening trusted certificate (trust list) directory, '%s'",
    "File IO error reading trusted certificate file, '%s'",
};
constexpr DirectoryTexts kRevocationListTexts = {
    "File IO error opening revocation list directory, '%s'",
    "File IO error reading certificate revocation list file, '%s'",
};

// The formats above are the only ones that come here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
UACErr fileError(const char* format, const std::string& path) {
    // The error's text may cut the path short.
    UAC_WriteLogFile(format, path.c_str());
    return {UACERR_APPLICATION, APPERR_FILE_IO, format, path.c_str()};
}
#pragma GCC diagnostic pop

UACErr readOne(const std::string& path, const char* failed, FileBytes& file) {
    return file.read(path) ? UACErr() : fileError(failed, path);
}

UACErr readDirectory(const std::string& path, const DirectoryTexts& texts,
                     std::vector<FileBytes>& files) {
    const Directory directory(opendir(path.c_str()));
    if (directory == nullptr) {
        return fileError(texts.openFailed, path);
    }
    const std::string prefix = path.ends_with('/') ? path : path + '/';
    while (const dirent* entry = readdir(directory.get())) {
        if (entry->d_name[0] == '.') {
            continue;
        }
        if (UACErr error = readOne(prefix + entry->d_name, texts.readFailed, files.emplace_back());
            error.isError()) {
            return error;
        }
    }
    return {};
}

}  // namespace

FileBytes::~FileBytes() {
    if (bytes_ != nullptr) {
        explicit_bzero(bytes_.get(), size_);
    }
}

bool FileBytes::read(const std::string& path) {
    if (path.size() > kMaxPath) {
        return false;
    }
    // Without O_NONBLOCK, opening a pipe would wait for its writer.
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file.get() < 0 || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        static_cast<std::size_t>(status.st_size) > kMaxSize) {
        return false;
    }
    FileBytes contents;
    contents.size_ = static_cast<std::size_t>(status.st_size);
    contents.bytes_ = std::make_unique<unsigned char[]>(contents.size_);
    if (!readFully(file.get(), contents.bytes_.get(), contents.size_)) {
        return false;
    }
    swap(contents);
    return true;
}

UACErr readSecurityMaterial(const SecurityPaths& paths, SecurityMaterial& material) {
    UACErr error = readOne(paths.certificate, kCertificateFailed, material.certificate);
    if (!error.isError()) {
        // In the words for the certificate: Compatibility C12.
        error = readOne(paths.privateKey, kCertificateFailed, material.privateKey);
    }
    if (!error.isError()) {
        error = readDirectory(paths.trustDirectory, kTrustListTexts, material.trustList);
    }
    if (!error.isError()) {
        error =
            readDirectory(paths.revocationDirectory, kRevocationListTexts, material.revocationList);
    }
    return error;
}

std::vector<UA_ByteString> views(const std::vector<FileBytes>& files) {
    std::vector<UA_ByteString> result;
    result.reserve(files.size());
    for (const FileBytes& file : files) {
        result.push_back(file.view());
    }
    return result;
}

}  // namespace nimb
