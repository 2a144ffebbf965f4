// The files of an encrypted session, looked at one by one: the wire only tells that something is
// wrong with one of them.

#include <sys/stat.h>

#include "nimbhost/certificates/file_findings.h"
#include "nimbhost/doctor/examination.h"

namespace nimb::nimbhost {

namespace {

namespace fs = std::filesystem;

std::string shortName(const std::string& path) {
    const fs::path relative = fs::path(path).lexically_proximate(fs::current_path());
    return relative.string().starts_with("..") ? path : relative.string();
}

const char* const kUnreadable = " cannot be read, or is no file: ";

}  // namespace

void Examination::examineFiles() {
    examineCertificate();
    examineKey();
    examineFolder(plant_.trusted, false);
    examineFolder(plant_.revoked, true);
}

void Examination::examineDates(const std::string& what, const Certificate& certificate,
                               const std::string& cure) {
    const Instant now = instantNow();
    constexpr int soon = 30;
    const auto left = std::chrono::duration_cast<std::chrono::days>(certificate.notAfter() - now);
    if (now >= certificate.notAfter()) {
        fail(what + " has expired on " + dayText(certificate.notAfter()), cure);
    } else if (now < certificate.notBefore()) {
        fail(what + " is not valid before " + dayText(certificate.notBefore()),
             "look at this machine's clock; " + cure);
    } else if (left.count() < expires_) {
        fail(what + " ends in " + std::to_string(left.count()) + " days, on " +
                 dayText(certificate.notAfter()),
             cure);
    } else if (left.count() < soon) {
        warn(what + " ends on " + dayText(certificate.notAfter()), cure);
    }
}

void Examination::examineCertificate() {
    const std::string name = shortName(plant_.certificate);
    FileFinding finding = lookAt(plant_.certificate);
    if (finding.kind == FileFinding::Kind::unreadable) {
        fail("the certificate" + (kUnreadable + finding.text), "path, permissions");
        return;
    }
    if (!finding.certificate) {
        fail(name + " is no certificate; ours is empty or damaged",
             "the right file, or nimbhost cert new");
        return;
    }
    const std::size_t before = count(Finding::Result::fail);
    examineDates(name, *finding.certificate, "nimbhost cert new, and have it trusted");
    const std::string uri = finding.certificate->applicationUri();
    if (uri != plant_.uri) {
        fail(name + " is for the application URI " + uri + ", not " + plant_.uri,
             "uri = " + uri + " in " + plant_.file.string());
    }
    if (!finding.certificate->hasRsaKey()) {
        fail(name + " has a key that is not RSA: the stack can use no other", "nimbhost cert new");
    }
    if (count(Finding::Result::fail) == before) ok(name + "  " + finding.text);
    ownCertificate_ = std::move(finding.certificate);
}

void Examination::examineKey() {
    const std::string name = shortName(plant_.key);
    const FileFinding finding = lookAt(plant_.key);
    if (finding.kind == FileFinding::Kind::unreadable) {
        fail("the key" + (kUnreadable + finding.text), "path, permissions");
        return;
    }
    if (!finding.key || finding.key->fault() != PrivateKey::Fault::none) {
        const bool password = finding.key && finding.key->fault() == PrivateKey::Fault::password;
        fail(name + (password ? " has a password: nobody is there to type it" : " is no key"),
             password ? "a copy without it: openssl pkey -in " + name + " -out KEY"
                      : "the right file, or nimbhost cert new");
        return;
    }
    if (ownCertificate_ && !finding.key->belongsTo(*ownCertificate_)) {
        fail(name + " belongs to another certificate than " + shortName(plant_.certificate),
             "the key that was made with it, or nimbhost cert new");
        return;
    }
    struct stat about {};
    if (::stat(plant_.key.c_str(), &about) == 0 && (about.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        warn(name + " belongs to the certificate, but others can read it", "chmod 600 " + name);
        return;
    }
    ok(name + "  belongs to it, readable by its owner alone");
}

void Examination::examineFolder(const std::string& folder, bool revocations) {
    const std::string name = shortName(folder);
    std::error_code error;
    if (fs::directory_iterator(folder, error); error) {
        fail(std::string("no such ") + (revocations ? "revocation" : "trust") +
                 " list folder, or no permission: " + name,
             "mkdir " + name);
        return;
    }
    const std::vector<fs::path> files = filesOf(folder);
    const auto wanted =
        revocations ? FileFinding::Kind::revocationList : FileFinding::Kind::certificate;
    for (const fs::path& file : files) {
        const std::string each = shortName(file.string());
        const FileFinding finding = lookAt(file);
        if (finding.kind == FileFinding::Kind::unreadable) {
            fail(each + "  is no readable file: the set-up refuses the whole folder",
                 "rm -r " + each);
        } else if (finding.kind != wanted) {
            fail(each + (revocations ? "  is no revocation list" : "  is no certificate") +
                     ": the set-up refuses the whole folder",
                 "rm " + each);
        } else if (revocations && finding.revocations->nextUpdate() &&
                   *finding.revocations->nextUpdate() <= instantNow()) {
            warn(each + "  " + finding.text, "get the authority's new list");
        } else {
            ok(each + "  " + finding.text);
        }
    }
    if (files.empty() && revocations) ok(name + "  empty: revocation is not checked");
}

}  // namespace nimb::nimbhost
