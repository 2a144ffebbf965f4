#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/node_id.h"
#include "nimbhost/certificates/certificate.h"
#include "nimbhost/commands/tool.h"
#include "nimbhost/plant/discovery.h"

namespace nimb::nimbhost {

/// What one look brought.
struct Finding {
    enum class Result { ok, warn, fail, skipped };

    std::string step;
    Result result = Result::ok;
    std::string text;
    std::string cure;  ///< empty where nothing is wrong
};

/// Everything the doctor looks at and finds. Each step is a function of its own, in the order of a
/// connection's life; a step that cannot be done because of an earlier one is skipped and said so.
class Examination {
  public:
    Examination(Tool& tool, PlantSettings settings, std::vector<std::string> nodes, int expires)
        : tool_(tool), plant_(std::move(settings)), nodes_(std::move(nodes)), expires_(expires) {}

    /// Takes all steps.
    void examine();

    const std::vector<Finding>& findings() const noexcept { return findings_; }
    std::size_t count(Finding::Result result) const;

  private:
    void ok(const std::string& text) { add(Finding::Result::ok, text, ""); }
    void warn(const std::string& text, const std::string& cure) {
        add(Finding::Result::warn, text, cure);
    }
    void fail(const std::string& text, const std::string& cure) {
        add(Finding::Result::fail, text, cure);
    }
    void skip(const std::string& text) { add(Finding::Result::skipped, text, ""); }
    void add(Finding::Result result, const std::string& text, const std::string& cure) {
        findings_.push_back({step_, result, text, cure});
    }
    std::string option() const;  ///< "--plant north" or "--url URL", for cures

    void examineLibrary();
    void examineFiles();
    bool examineNetwork();
    void examineServer();
    void examineEndpoints(const std::vector<Endpoint>& endpoints);
    void examineTrust();
    bool examineSession();
    void examineValues();

    void examineCertificate();
    void examineKey();
    void examineFolder(const std::string& folder, bool revocations);
    void examineDates(const std::string& what, const Certificate& certificate,
                      const std::string& cure);
    void examineRead(host::Connection& connection, const std::vector<host::NodeId>& ids);
    void examineSubscription(host::Connection& connection, const std::vector<host::NodeId>& ids);
    void examineFit(host::Connection& connection, const std::vector<host::NodeId>& ids);

    Tool& tool_;
    PlantSettings plant_;
    std::vector<std::string> nodes_;
    int expires_;
    std::string step_;
    std::string password_;
    std::vector<Finding> findings_;
    std::optional<Certificate> ownCertificate_;
    std::optional<Certificate> serverCertificate_;
};

}  // namespace nimb::nimbhost
