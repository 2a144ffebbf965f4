#include "testbed/certificates.h"

#include <string_view>
#include <utility>

#include "testbed/child_process.h"

namespace nimb::test {

namespace {

namespace fs = std::filesystem;

/// Settings of the openssl program. Every certificate is registered with `openssl ca`, the one
/// command that takes any validity in all versions.
constexpr std::string_view settings = R"([ca]
default_ca = register
[register]
database = @DIRECTORY@/register.txt
serial = @DIRECTORY@/serial.txt
new_certs_dir = @DIRECTORY@
default_md = @DIGEST@
policy = names
unique_subject = no
default_crl_days = 3650
[names]
commonName = supplied
[req]
distinguished_name = subject
prompt = no
[subject]
commonName = unused
[authority]
basicConstraints = critical, CA:true
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[application]
basicConstraints = critical, CA:false
keyUsage = critical, @USAGE@, keyCertSign
extendedKeyUsage = @PURPOSES@
subjectKeyIdentifier = hash
subjectAltName = URI:@URI@, @HOSTS@
)";

std::string replaced(std::string text, std::string_view mark, const std::string& value) {
    for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += value.size()) {
        text.replace(at, mark.size(), value);
    }
    return text;
}

void openssl(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "openssl");
    runProgram(arguments);
}

}  // namespace

CertificateMaker::CertificateMaker() {
    directory_.write("register.txt", "");
    directory_.write("serial.txt", "01\n");
}

Certificate CertificateMaker::selfSigned(const std::string& name, const std::string& applicationUri,
                                         const Validity& validity, const Traits& traits) {
    Certificate certificate = request(name, traits);
    sign(certificate, certificate, "application", applicationUri, validity);
    return certificate;
}

Certificate CertificateMaker::authority(const std::string& name, const Validity& validity,
                                        const Certificate* issuer) {
    Certificate certificate = request(name);
    sign(certificate, issuer == nullptr ? certificate : *issuer, "authority", "urn:unused",
         validity);
    return certificate;
}

Certificate CertificateMaker::issue(const Certificate& authority, const std::string& name,
                                    const std::string& applicationUri, const Validity& validity,
                                    const Traits& traits) {
    Certificate certificate = request(name, traits);
    sign(certificate, authority, "application", applicationUri, validity);
    return certificate;
}

Certificate CertificateMaker::request(const std::string& name, const Traits& traits) {
    Certificate certificate{file(name)};
    std::string config = replaced(std::string(settings), "@DIRECTORY@", directory_.path().string());
    config = replaced(config, "@HOSTS@", traits.hosts);
    config = replaced(config, "@USAGE@", traits.usage);
    config = replaced(config, "@PURPOSES@", traits.purposes);
    config = replaced(config, "@DIGEST@", traits.digest);
    std::vector<std::string> command{"req", "-new", "-nodes", "-newkey"};
    command.insert(command.end(), traits.key.begin(), traits.key.end());
    command.insert(command.end(),
                   {"-config", directory_.write(name + ".cnf", config), "-subj", "/CN=" + name,
                    "-keyout", certificate.keyPem(), "-out", file(name + ".csr")});
    openssl(std::move(command));
    openssl({"pkey", "-traditional", "-in", certificate.keyPem(), "-outform", "DER", "-out",
             certificate.keyDer()});
    return certificate;
}

void CertificateMaker::sign(const Certificate& certificate, const Certificate& issuer,
                            const std::string& extensions, const std::string& applicationUri,
                            const Validity& validity) {
    const std::string base = certificate.base.string();
    const std::string name = certificate.base.filename().string();
    const fs::path config =
        directory_.write(name + ".cnf", replaced(readFile(base + ".cnf"), "@URI@", applicationUri));
    std::vector<std::string> command{"ca",           "-batch",      "-notext",         "-config",
                                     config,         "-extensions", extensions,        "-in",
                                     base + ".csr",  "-out",        certificate.pem(), "-startdate",
                                     validity.from,  "-enddate",    validity.until,    "-keyfile",
                                     issuer.keyPem()};
    if (issuer.base == certificate.base) {
        command.emplace_back("-selfsign");
    } else {
        command.insert(command.end(), {"-cert", issuer.pem()});
    }
    openssl(std::move(command));
    openssl({"x509", "-in", certificate.pem(), "-outform", "DER", "-out", certificate.der()});
}

fs::path CertificateMaker::revocationList(const Certificate& authority, const std::string& name,
                                          const std::vector<Certificate>& revoked) {
    const std::vector<std::string> common{
        "ca",       "-config",         authority.base.string() + ".cnf", "-cert", authority.pem(),
        "-keyfile", authority.keyPem()};
    for (const Certificate& certificate : revoked) {
        std::vector<std::string> command = common;
        command.insert(command.end(), {"-revoke", certificate.pem()});
        openssl(std::move(command));
    }
    std::vector<std::string> command = common;
    command.insert(command.end(), {"-gencrl", "-out", file(name + ".pem")});
    openssl(std::move(command));
    openssl({"crl", "-in", file(name + ".pem"), "-outform", "DER", "-out", file(name + ".der")});
    return file(name + ".der");
}

fs::path CertificateMaker::encryptedKey(const Certificate& certificate,
                                        const std::string& password) {
    fs::path path = certificate.base.string() + ".key.encrypted.pem";
    openssl({"pkcs8", "-topk8", "-v2", "aes-256-cbc", "-in", certificate.keyPem(), "-passout",
             "pass:" + password, "-out", path});
    return path;
}

}  // namespace nimb::test
