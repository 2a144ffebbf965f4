#pragma once

#include <open62541/client.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/library.h"
#include "demo_server/plant_nodes.h"
#include "demo_server/stack_values.h"
#include "host/counted_string.h"
#include "testbed/nodes.h"

namespace nimb::bench {

using test::repeated;

using ReadResponse = plant::Owned<UA_ReadResponse, UA_TYPES_READRESPONSE>;
using BrowseResponse = plant::Owned<UA_BrowseResponse, UA_TYPES_BROWSERESPONSE>;
using WriteResponse = plant::Owned<UA_WriteResponse, UA_TYPES_WRITERESPONSE>;

/// One entry of the callout table with its arguments, called over and over as a host does.
class Entry {
  public:
    Entry(const host::Library& library, std::string_view name, const VeltoROList& arguments);

    void operator()() { function_(out_.get(), in_.get()); }

    /// Takes another positive integer in place of the last argument, which is the second.
    void setLastArgument(long value);

    /// Whatever the last call wrote, its status first. Valid until the next call.
    VeltoROList output() const { return {out_->data, out_->length}; }
    /// The results of the last call. Throws std::runtime_error unless its status was success.
    VeltoROList results() const;
    /// Calls and returns the results.
    VeltoROList call();

  private:
    using Function = int (*)(HostBytes*, const HostBytes*);

    std::string name_;
    Function function_;
    std::unique_ptr<HostBytes> in_ = std::make_unique<HostBytes>();
    std::unique_ptr<HostBytes> out_ = std::make_unique<HostBytes>();
};

/// A client of the adapter, connected in clear. Not copyable: destroyed with the object.
class AdapterSession {
  public:
    /// `stringMode` 0 or 1 holds for the whole process from here on.
    AdapterSession(host::Library& library, const std::string& url, int stringMode = 0);
    AdapterSession(const AdapterSession&) = delete;
    AdapterSession& operator=(const AdapterSession&) = delete;
    ~AdapterSession();

    /// The entry with this client's handle as first argument and `others` behind it.
    Entry entry(std::string_view name, const VeltoROList& others = {}) const;

    /// Prepares a bulk read of the nodes' values and returns its query handle.
    long prepareRead(std::span<const plant::NodeAddress> nodes) const;
    /// Creates a subscription and returns its handle; the interval is publishing and sampling's.
    long subscribe(std::span<const plant::NodeAddress> nodes, double interval, int itemQueue) const;

  private:
    host::Library& library_;
    long handle_;
};

/// A client of the bare stack, connected in clear, without a log.
class RawSession {
  public:
    /// @param prepare  changes the stack's default configuration before the connect
    explicit RawSession(const std::string& url, void (*prepare)(UA_ClientConfig&) = nullptr);

    UA_Client* client() const { return client_.get(); }

    /// Sends the prepared request and returns the response.
    template <typename Response, typename Request>
    Response send(Request& request, std::size_t requestType) const {
        Response response;
        __UA_Client_Service(client(), &request, &UA_TYPES[requestType], &*response,
                            Response::type());
        return response;
    }

  private:
    struct Deleter {
        void operator()(UA_Client* client) const noexcept { UA_Client_delete(client); }
    };
    std::unique_ptr<UA_Client, Deleter> client_;
};

/// A Read request for the values of some nodes with both time stamps, prepared once.
class RawRead {
  public:
    explicit RawRead(std::span<const plant::NodeAddress> nodes);

    ReadResponse send(const RawSession& session) {
        request_.nodesToRead = nodes_.data();
        return session.send<ReadResponse>(request_, UA_TYPES_READREQUEST);
    }

  private:
    std::vector<UA_ReadValueId> nodes_;
    UA_ReadRequest request_{};
};

/// The four lists of zfReadBulkSetup for the nodes' values.
VeltoList readArguments(std::span<const plant::NodeAddress> nodes);

}  // namespace nimb::bench
