#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "nimbhost/certificates/certificate.h"

namespace nimb::nimbhost {

/// One way in that a server offers.
struct Endpoint {
    std::string url;
    std::string policy;               ///< "None", "Basic256Sha256", ...
    int mode = 0;                     ///< 1 none, 2 sign, 3 sign and encrypt
    std::vector<std::string> tokens;  ///< "anonymous", "user name", "certificate", "issued token"
    std::optional<Certificate> certificate;
    std::string certificateBytes;  ///< as the server sent it
    std::string applicationUri;
    std::string serverName;
};

/// The server cannot be asked; what() is the stack's name of the reason.
class DiscoveryError : public std::runtime_error {
  public:
    DiscoveryError(std::uint32_t status, const char* name)
        : std::runtime_error(name), status_(status) {}
    std::uint32_t status() const noexcept { return status_; }

  private:
    std::uint32_t status_;
};

/// Asks a server for its endpoints, in clear and without a session. No entry of the library can do
/// this, so here and nowhere else the tool calls the stack itself. Throws DiscoveryError.
std::vector<Endpoint> endpointsOf(const std::string& url, std::chrono::milliseconds timeout);

/// "none", "sign", "encrypt".
const char* modeName(int mode) noexcept;

/// The certificate of the endpoint that an encrypted session would use: mode 3, or else any.
const Endpoint* encryptedEndpoint(const std::vector<Endpoint>& endpoints);

}  // namespace nimb::nimbhost
