#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "demo_server/certificate_folder.h"
#include "demo_server/client_trust.h"
#include "demo_server/options.h"
#include "demo_server/plant_server.h"

namespace nimb::plant {

/// The plant as a command line wants it: with its certificates, its faults, and a word about both.
class Service {
  public:
    /// Starts serving and tells the address. Throws std::runtime_error when that cannot be.
    explicit Service(const CommandLine& command);

    /// Serves, faults included, until `stopped` is set by a signal.
    void run(const std::atomic<bool>& stopped);

  private:
    void openFolder(const CommandLine& command);
    void strike(const Fault& fault, const std::atomic<bool>& stopped);
    /// One line with the time of day, for those who watch.
    static void say(const std::string& line);

    PlantOptions options_;
    std::optional<CertificateFolder> folder_;
    std::optional<ClientTrust> trust_;
    UA_CertificateVerification verification_{};
    std::unique_ptr<PlantServer> plant_;
    FaultPlan faults_;
};

}  // namespace nimb::plant
