#include "nimbhost/certificates/file_findings.h"

#include <sys/stat.h>

#include <algorithm>

#include "nimbhost/certificates/files.h"

namespace nimb::nimbhost {

namespace {

std::string validity(const Certificate& certificate) {
    const Instant now = instantNow();
    if (now >= certificate.notAfter()) return "EXPIRED " + dayText(certificate.notAfter());
    if (now < certificate.notBefore())
        return "not valid before " + dayText(certificate.notBefore());
    return "until " + dayText(certificate.notAfter());
}

void describeCertificate(FileFinding& out) {
    const Certificate& certificate = *out.certificate;
    out.kind = FileFinding::Kind::certificate;
    out.sha256 = certificate.sha256();
    const std::string uri = certificate.applicationUri();
    out.text = validity(certificate) + ", " +
               (certificate.isAuthority() ? "authority " + certificate.subject()
                : uri.empty()             ? "without an application URI"
                                          : uri);
    if (!certificate.hasRsaKey()) out.text += ", not an RSA key: cannot be used";
}

void describeKey(FileFinding& out) {
    out.kind = FileFinding::Kind::key;
    struct stat about {};
    const bool open =
        ::stat(out.file.c_str(), &about) == 0 && (about.st_mode & (S_IRWXG | S_IRWXO)) != 0;
    out.text = out.key->fault() == PrivateKey::Fault::password
                   ? "private key with a password: cannot be used"
                   : std::string("private key, ") +
                         (open ? "others can read it" : "readable by its owner alone");
}

void describeList(FileFinding& out) {
    out.kind = FileFinding::Kind::revocationList;
    const auto due = out.revocations->nextUpdate();
    const bool late = due && *due <= instantNow();
    out.text =
        "revocation list of " + out.revocations->issuer() +
        (due ? (late ? ", was due for renewal " : ", to be renewed by ") + dayText(*due) : "");
}

}  // namespace

FileFinding lookAt(const std::filesystem::path& file) {
    FileFinding out;
    out.file = file;
    std::string bytes;
    try {
        bytes = readWholeFile(file);
    } catch (const FileError& error) {
        out.kind = FileFinding::Kind::unreadable;
        out.text = error.what();
        return out;
    }
    if ((out.certificate = Certificate::parse(bytes))) {
        describeCertificate(out);
    } else if ((out.revocations = RevocationList::parse(bytes))) {
        describeList(out);
    } else if (out.key.emplace(bytes); out.key->fault() != PrivateKey::Fault::noKey) {
        describeKey(out);
    } else {
        out.key.reset();
        out.text = "neither a certificate, a key nor a revocation list";
    }
    std::fill(bytes.begin(), bytes.end(), '\0');  // it may have been a key
    return out;
}

std::vector<FileFinding> lookAtAll(const std::vector<std::filesystem::path>& files) {
    std::vector<FileFinding> all;
    for (const auto& file : files) all.push_back(lookAt(file));
    const auto isCertificate = [](const FileFinding& each) { return each.certificate.has_value(); };
    for (FileFinding& finding : all) {
        if (!finding.key || finding.key->fault() != PrivateKey::Fault::none) continue;
        const auto isItsOwn = [&](const FileFinding& each) {
            return each.certificate && finding.key->belongsTo(*each.certificate);
        };
        finding.isStray =
            std::ranges::any_of(all, isCertificate) && std::ranges::none_of(all, isItsOwn);
        if (finding.isStray) finding.text += ", BELONGS TO NO CERTIFICATE beside it";
    }
    return all;
}

std::vector<std::filesystem::path> filesOf(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> out;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (!entry.path().filename().string().starts_with('.')) out.push_back(entry.path());
    }
    std::sort(out.begin(), out.end());
    return out;
}

nlohmann::ordered_json jsonOf(const FileFinding& finding) {
    static constexpr const char* kinds[] = {"certificate", "key", "revocationList", "rubbish",
                                            "unreadable"};
    nlohmann::ordered_json out{{"file", finding.file.string()},
                               {"kind", kinds[static_cast<int>(finding.kind)]},
                               {"usable", finding.isUsable()},
                               {"text", finding.text}};
    if (finding.certificate) {
        out["subject"] = finding.certificate->subject();
        out["uri"] = finding.certificate->applicationUri();
        out["notBefore"] = dayText(finding.certificate->notBefore());
        out["notAfter"] = dayText(finding.certificate->notAfter());
        out["sha256"] = finding.sha256;
    }
    return out;
}

}  // namespace nimb::nimbhost
