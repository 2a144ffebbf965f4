#include "demo_server/certificate_folder.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>

#include "nimbhost/certificates/files.h"

namespace nimb::plant {

namespace {

namespace fs = std::filesystem;
using nimbhost::readWholeFile;

constexpr std::ptrdiff_t maxRejected = 50;

}  // namespace

CertificateFolder::CertificateFolder(fs::path root, const std::string& applicationUri)
    : root_(std::move(root)) {
    for (const char* folder : {"own", "trusted", "revoked", "rejected"}) {
        fs::create_directories(root_ / folder);
    }
    const bool hasKey = fs::exists(keyFile());
    if (hasKey != fs::exists(certificateFile())) {
        throw std::runtime_error((hasKey ? keyFile() : certificateFile()).string() +
                                 " is there without the other half; remove it to get a new pair");
    }
    if (!hasKey) makeOwn(applicationUri);
    own_ = {readWholeFile(certificateFile()), readWholeFile(keyFile())};
    if (!belongTogether(own_.certificate, own_.key)) {
        throw std::runtime_error(keyFile().string() + " is not the key of " +
                                 certificateFile().string());
    }
}

void CertificateFolder::makeOwn(const std::string& applicationUri) const {
    const CertificateAndKey made = makeCertificate("NIMB demonstration plant", applicationUri);
    nimbhost::writeTogether(
        std::array{nimbhost::NewFile{keyFile(), made.key, 0600},
                   nimbhost::NewFile{certificateFile(), made.certificate, 0644}},
        false);
}

std::vector<std::string> CertificateFolder::filesOf(const char* folder) const {
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(root_ / folder)) {
        const bool hidden = entry.path().filename().string().starts_with('.');
        if (!hidden && entry.is_regular_file()) files.push_back(readWholeFile(entry.path()));
    }
    return files;
}

fs::path CertificateFolder::reject(const std::string& certificate) const {
    std::string name = fingerprint(certificate);
    if (name.empty()) return {};
    std::erase(name, ':');
    fs::path file = root_ / "rejected" / (name + ".der");
    if (fs::exists(file)) return file;
    if (std::distance(fs::directory_iterator(file.parent_path()), {}) >= maxRejected) return {};
    nimbhost::writeWholeFile(file, certificate, 0644, false);
    return file;
}

}  // namespace nimb::plant
