// Reading tables: prepared requests that are kept, and one picture of their nodes a statement.

#include "postgresql/cell.h"
#include "postgresql/guard.h"
#include "postgresql/session.h"

using namespace nimb::postgresql;
namespace host = nimb::host;

struct NimbScan {
    std::shared_ptr<Session> session;  // before the request, which lives on its connection
    std::shared_ptr<Request> request;
    host::Reading reading;
    std::string text;
};

namespace {

constexpr std::size_t kMostRequests = 100;  // of a session; columns can be asked for in many sets
constexpr std::uint32_t kBadNodeIdInvalid = 0x80330000;
constexpr std::uint32_t kBadNodeIdUnknown = 0x80340000;
constexpr std::uint32_t kBadAttributeIdInvalid = 0x80350000;  // a node without a value

std::shared_ptr<Request> requestOf(Session& session, std::uint32_t table, const NimbNodes& nodes) {
    RequestKey key{table, joined(nodes)};
    const auto found = session.requests.find(key);
    if (found != session.requests.end() && !found->second->stale) {
        return found->second;
    }
    if (session.requests.size() >= kMostRequests) {
        std::erase_if(session.requests,
                      [](const auto& entry) { return entry.second.use_count() == 1; });
    }
    return session.requests[std::move(key)] =
               std::make_shared<Request>(session.connection, nodesOf(nodes));
}

void read(NimbScan& scan) {
    Request& request = *scan.request;
    scan.reading = request.prepared.read();
    if (!request.infos) {
        request.infos = std::make_shared<const std::vector<host::NodeInfo>>(
            scan.session->catalogue.describe(request.prepared.nodes()));
    }
}

NimbCell makeCell(NimbScan& scan, std::size_t node, NimbField field, NimbForm form,
                  const char*& warning) {
    const host::NodeInfo& info = scan.request->infos->at(node);
    const auto status = scan.reading.status(node);
    if (field == NIMB_VALUE_FIELD) {
        if (status && isBad(*status)) return {};
        return cellOf(scan.reading.value(node, info, warning), form, scan.text, warning);
    }
    const Sample sample{status, scan.reading.sourceTime(node), scan.reading.serverTime(node)};
    return cellOf(fieldOf(field, sample, scan.request->prepared.nodes()[node], info,
                          scan.session->connection.library()),
                  form, scan.text, warning);
}

}  // namespace

NimbScan* nimb_scan(NimbSession* session, std::uint32_t table, NimbNodes nodes, NimbError* error) {
    return guarded(nullptr, error, [&] {
        auto scan = std::make_unique<NimbScan>();
        scan->session = session->session;
        scan->request = requestOf(*scan->session, table, nodes);
        return scan.release();
    });
}

bool nimb_scan_read(NimbScan* scan, NimbError* error) {
    return guarded(scan->session.get(), error, [scan] {
        read(*scan);
        return true;
    });
}

std::size_t nimb_scan_size(const NimbScan* scan) { return scan->request->prepared.nodes().size(); }

bool nimb_scan_missing(const NimbScan* scan, std::size_t node) {
    switch (scan->reading.status(node).value_or(0)) {
        case kBadNodeIdInvalid:
        case kBadNodeIdUnknown:
        case kBadAttributeIdInvalid:
            return true;
        default:
            return false;
    }
}

bool nimb_scan_bad(const NimbScan* scan, std::size_t node) {
    return isBad(scan->reading.status(node).value_or(0));
}

bool nimb_scan_cell(NimbScan* scan, std::size_t node, NimbField field, NimbForm form,
                    NimbCell* cell, const char** warning, NimbError* error) {
    return guarded(nullptr, error, [&] {
        *cell = makeCell(*scan, node, field, form, *warning);
        return true;
    });
}

void nimb_scan_cost(const NimbScan* scan, std::size_t* requests, std::size_t* bytes) {
    *requests = scan->reading.requests();
    *bytes = scan->reading.bytes();
}

void nimb_scan_free(NimbScan* scan) { delete scan; }
