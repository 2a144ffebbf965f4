#include "sessions.h"

#include <open62541/client_config_default.h>

#include <cstring>
#include <stdexcept>

#include "demo_server/address_space.h"

namespace nimb::bench {

namespace {

/// A text for every path and URI argument that this session does without.
const std::string unused;

VeltoList identifiersOf(std::span<const plant::NodeAddress> nodes) {
    VeltoList list;
    for (const auto& node : nodes) list += static_cast<int>(node.numeric);
    return list;
}

}  // namespace

VeltoList readArguments(std::span<const plant::NodeAddress> nodes) {
    const std::size_t count = nodes.size();
    return VeltoList() + repeated(count, 0) + repeated(count, int{plant::namespaceIndex}) +
           identifiersOf(nodes) + repeated(count, int{UA_ATTRIBUTEID_VALUE});
}

Entry::Entry(const host::Library& library, std::string_view name, const VeltoROList& arguments)
    : name_(name) {
    const nimb_callout_row* row = library.find(name);
    if (row == nullptr || arguments.datalength() > HostBytes::capacity) {
        throw std::runtime_error("no such call: " + name_);
    }
    function_ = reinterpret_cast<Function>(row->function);
    in_->length = static_cast<std::uint16_t>(arguments.datalength());
    if (!arguments.empty()) std::memcpy(in_->data, arguments.data(), in_->length);
    out_->length = 0;
}

void Entry::setLastArgument(long value) {
    const VeltoListItem first(in_->data);
    const VeltoList last = VeltoList() + value;
    std::memcpy(in_->data + first.size(), last.data(), last.datalength());
    in_->length = static_cast<std::uint16_t>(first.size() + last.datalength());
}

VeltoROList Entry::results() const {
    const VeltoROList all = output();
    if (all.at(0).AsLong() != 0) {
        throw std::runtime_error(name_ + " failed: " + all.at(3).AsAString());
    }
    const std::size_t statusSize = all[0].size();
    return {all.data() + statusSize, all.datalength() - statusSize};
}

VeltoROList Entry::call() {
    out_->length = 0;
    (*this)();
    return results();
}

AdapterSession::AdapterSession(host::Library& library, const std::string& url, int stringMode)
    : library_(library) {
    constexpr int timeout = 10000;  // milliseconds
    const auto created = library.call("zfCreateClientB");
    handle_ = VeltoROList(created->data(), created->size()).at(1).AsLong();
    entry("zfSetupClientC", VeltoList() + timeout + int{UA_MESSAGESECURITYMODE_NONE} + unused +
                                unused + unused + unused + unused + stringMode)
        .call();
    entry("zfConnectB", VeltoList() + url).call();
}

AdapterSession::~AdapterSession() { entry("zfDestroyClientB")(); }

Entry AdapterSession::entry(std::string_view name, const VeltoROList& others) const {
    VeltoList arguments = VeltoList() + handle_;
    arguments.appendList(others);
    return {library_, name, arguments};
}

long AdapterSession::prepareRead(std::span<const plant::NodeAddress> nodes) const {
    return entry("zfReadBulkSetup", readArguments(nodes)).call().at(0).AsLong();
}

long AdapterSession::subscribe(std::span<const plant::NodeAddress> nodes, double interval,
                               int itemQueue) const {
    constexpr int lifetime = 10000;
    constexpr int keepAlive = 10;
    constexpr int unbounded = 0;
    return entry("zfCreateSubscriptionB", VeltoList() + test::specification(nodes) + interval +
                                              lifetime + keepAlive + unbounded + interval +
                                              itemQueue + unbounded)
        .call()
        .at(0)
        .AsLong();
}

RawSession::RawSession(const std::string& url, void (*prepare)(UA_ClientConfig&)) {
    UA_ClientConfig config{};
    static UA_Logger silent{nullptr, nullptr, nullptr};
    config.logging = &silent;
    client_.reset(UA_Client_newWithConfig(&config));
    UA_ClientConfig_setDefault(UA_Client_getConfig(client()));
    if (prepare != nullptr) prepare(*UA_Client_getConfig(client()));
    if (UA_Client_connect(client(), url.c_str()) != UA_STATUSCODE_GOOD) {
        throw std::runtime_error("the bare stack does not connect");
    }
}

RawRead::RawRead(std::span<const plant::NodeAddress> nodes) {
    for (const auto& node : nodes) {
        UA_ReadValueId& id = nodes_.emplace_back();
        id.nodeId = plant::stackId(node);
        id.attributeId = UA_ATTRIBUTEID_VALUE;
    }
    request_.timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
    request_.nodesToReadSize = nodes_.size();
}

}  // namespace nimb::bench
