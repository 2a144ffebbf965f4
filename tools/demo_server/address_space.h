#pragma once

#include <open62541/server.h>

#include <string_view>

#include "demo_server/plant_nodes.h"
#include "demo_server/stack_values.h"

namespace nimb::plant {

/// The address as the stack's node id, borrowing the text: never clear it.
UA_NodeId stackId(const NodeAddress& address) noexcept;

enum class Access { readOnly, readWrite };

/// Adds nodes of the plant's namespace to a server. Every member throws std::runtime_error, naming
/// the node, when the server refuses it. Browse name and display name are the same text.
class AddressSpace {
  public:
    explicit AddressSpace(UA_Server* server) noexcept : server_(server) {}

    UA_Server* server() const noexcept { return server_; }

    /// A folder organised by the Objects folder.
    void addFolder(const NodeAddress& id, std::string_view name);

    /// An object that is a component of `parent`.
    void addObject(const NodeAddress& id, const NodeAddress& parent, std::string_view name);

    /// A variable organised by or component of `parent` whose data type, rank and dimensions are
    /// those of its value.
    void addVariable(const NodeAddress& id, const NodeAddress& parent, std::string_view name,
                     const OwnedVariant& value, Access access = Access::readOnly);

    /// A variable whose every read is answered by `source` with `context` as its node context,
    /// which must live as long as the server.
    void addDataSource(const NodeAddress& id, const NodeAddress& parent, std::string_view name,
                       UA_DataSource source, void* context);

  private:
    UA_Server* server_;
};

/// The folders of the plant; each adds itself and everything below it.
void addPlant(AddressSpace& space);
void addAllTypes(AddressSpace& space);
void addWritable(AddressSpace& space);
void addOddValues(AddressSpace& space);
void addMany(AddressSpace& space, std::uint32_t children);
void addBulk(AddressSpace& space, std::uint32_t points);

/// Moves the plant's levels, temperatures and counters on to step number `step`.
void movePlant(UA_Server* server, std::uint32_t step);

/// Writes into each of the first `points` measuring points its index plus `changes`, so that every
/// call with the next number changes each of them by 1.
void changeBulk(UA_Server* server, std::uint32_t points, std::uint32_t changes);

}  // namespace nimb::plant
