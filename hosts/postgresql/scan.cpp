// Reading tables: prepared requests that are kept, and one picture of their nodes a statement.

#include <algorithm>

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
    std::vector<std::shared_ptr<Request>>& kept = session.requests;
    const auto found = std::find_if(kept.begin(), kept.end(), [&](const auto& request) {
        return !request->stale && request->table == table && isJoined(request->texts, nodes);
    });
    if (found != kept.end()) return *found;
    if (kept.size() >= kMostRequests) {
        std::erase_if(kept, [](const auto& request) { return request.use_count() == 1; });
    }
    return kept.emplace_back(std::make_shared<Request>(session.connection, table, nodes));
}

void read(NimbScan& scan) {
    Request& request = *scan.request;
    scan.reading = request.prepared.read();
    if (!request.infos) {
        request.infos = std::make_shared<const std::vector<host::NodeInfo>>(
            scan.session->catalogue.describe(request.prepared.nodes()));
    }
}

/// Not inline: numbers, which need none of its frame, take 112 instructions each instead of 118.
[[gnu::noinline]] NimbCell makeCell(NimbScan& scan, std::size_t node, NimbField field,
                                    NimbForm form) {
    const host::NodeInfo& info = scan.request->infos->at(node);
    const auto status = scan.reading.status(node);
    if (field == NIMB_VALUE_FIELD) {
        if (status && host::isBad(*status)) return {};
        host::Warning warning = nullptr;
        const host::Value value = scan.reading.value(node, info, warning);
        return cellOf(value, form, scan.text, warning);
    }
    const Sample sample{status, scan.reading.sourceTime(node), scan.reading.serverTime(node)};
    return cellOf(fieldOf(field, sample, scan.request->prepared.nodes()[node], info,
                          scan.session->connection.library()),
                  form, scan.text);
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
    return host::isBad(scan->reading.status(node).value_or(0));
}

bool nimb_scan_cell(NimbScan* scan, std::size_t node, NimbField field, NimbForm form,
                    NimbCell* cell, NimbError* error) {
    return guarded(nullptr, error, [&] {
        if (field != NIMB_VALUE_FIELD || form != NIMB_FORM_SCALAR ||
            !scan->reading.takeNumber(node, scan->request->infos->at(node),
                                      [cell](auto number) { *cell = cellOf(number); })) {
            *cell = makeCell(*scan, node, field, form);
        }
        return true;
    });
}

void nimb_scan_cost(const NimbScan* scan, std::size_t* requests, std::size_t* bytes) {
    *requests = scan->reading.requests();
    *bytes = scan->reading.bytes();
}

void nimb_scan_free(NimbScan* scan) { delete scan; }
