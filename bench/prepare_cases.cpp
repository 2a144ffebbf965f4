#include <charconv>
#include <cstring>
#include <stdexcept>

#include "bench_nodes.h"
#include "cases.h"
#include "checks.h"

namespace nimb::bench {

namespace {

constexpr std::uint32_t nodeCount = 200;

using Payload = std::span<const unsigned char>;

/// Walks a list by hand, item by item, with the checks that bytes from a host need.
class HandReader {
  public:
    explicit HandReader(Payload list) : rest_(list) {}

    bool atEnd() const { return rest_.empty(); }
    /// The payload of the next item, which must be of the type given.
    Payload next(unsigned char type) {
        if (!ItemHeader::fits(rest_.data(), rest_.size())) throw std::runtime_error("header");
        const ItemHeader header = ItemHeader::read(rest_.data());
        if (header.itemSize() > rest_.size()) throw std::runtime_error("item");
        const Payload item = rest_.subspan(header.bytes, header.content);
        rest_ = rest_.subspan(header.itemSize());
        if (item.empty() || item[0] != type) throw std::runtime_error("type");
        return item.subspan(1);
    }
    long integer() {
        const Payload bytes = next(item_code::kPosInteger);
        if (bytes.size() > 7) throw std::runtime_error("integer");
        long value = 0;
        for (std::size_t i = bytes.size(); i-- > 0;) value = value << 8 | bytes[i];
        return value;
    }
    std::size_t count() const {
        std::size_t items = 0;
        for (HandReader walk(rest_); !walk.atEnd(); walk.skip()) ++items;
        return items;
    }
    void skip() {
        const ItemHeader header = ItemHeader::read(rest_.data());
        rest_ = rest_.subspan(std::min(header.itemSize(), rest_.size()));
    }

  private:
    Payload rest_;
};

void allocate(UA_ReadRequest& request, std::size_t count) {
    request.timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
    request.nodesToRead =
        static_cast<UA_ReadValueId*>(UA_Array_new(count, &UA_TYPES[UA_TYPES_READVALUEID]));
    request.nodesToReadSize = count;
}

void setNumeric(UA_ReadValueId& node, long space, long identifier, long attribute) {
    node.nodeId = UA_NODEID_NUMERIC(static_cast<UA_UInt16>(space), 0);
    node.nodeId.identifier.numeric = static_cast<UA_UInt32>(identifier);
    node.attributeId = static_cast<UA_UInt32>(attribute);
}

/// From the four lists behind the handle: types, namespaces, identifiers and attributes.
void buildFromLists(const VeltoROList& bytes) {
    HandReader all({bytes.data(), bytes.datalength()});
    HandReader types(all.next(item_code::kBytes));
    HandReader spaces(all.next(item_code::kBytes));
    HandReader identifiers(all.next(item_code::kBytes));
    HandReader attributes(all.next(item_code::kBytes));
    plant::Owned<UA_ReadRequest, UA_TYPES_READREQUEST> request;
    allocate(*request, types.count());
    for (std::size_t i = 0; i < request->nodesToReadSize; ++i) {
        if (types.integer() != UA_NODEIDTYPE_NUMERIC) throw std::runtime_error("type");
        setNumeric(request->nodesToRead[i], spaces.integer(), identifiers.integer(),
                   attributes.integer());
    }
    require(attributes.atEnd(), "attributes");
}

/// From a specification, whose names are digits.
void buildFromSpecification(const VeltoROList& bytes) {
    HandReader container(HandReader({bytes.data(), bytes.datalength()}).next(item_code::kBytes));
    container.skip();
    container.skip();
    HandReader properties(container.next(item_code::kBytes));
    properties.skip();
    plant::Owned<UA_ReadRequest, UA_TYPES_READREQUEST> request;
    allocate(*request, properties.count());
    for (std::size_t i = 0; i < request->nodesToReadSize; ++i) {
        HandReader property(properties.next(item_code::kBytes));
        property.skip();
        property.skip();
        const long space = property.integer();
        const Payload name = property.next(item_code::kBytes);
        long identifier = 0;
        const auto* text = reinterpret_cast<const char*>(name.data());
        if (std::from_chars(text, text + name.size(), identifier).ec != std::errc()) {
            throw std::runtime_error("name");
        }
        setNumeric(request->nodesToRead[i], space, identifier, property.integer());
    }
    require(properties.atEnd(), "properties");
}

std::vector<plant::NodeAddress> preparedNodes() {
    std::vector<plant::NodeAddress> nodes;
    for (std::uint32_t i = 0; i < nodeCount; ++i) nodes.push_back(doubleNode(i));
    return nodes;
}

/// Prepares a read and gives it up again, as the raw side builds a request and clears it.
struct Preparation {
    Preparation(const Setting& setting, const char* entry, VeltoList arguments)
        : bytes(std::move(arguments)),
          session(setting.library, setting.url),
          prepare(session.entry(entry, bytes)),
          clear(session.entry("zfReadBulkClear", VeltoList() + 0)) {}

    void run() {
        prepare();
        const VeltoROList answer = prepare.output();
        require(answer.at(0).AsLong() == 0, "a prepared read");
        clear.setLastArgument(answer.at(1).AsLong());
        clear();
    }

    VeltoList bytes;
    AdapterSession session;
    Entry prepare;
    Entry clear;
};

Case prepareCase(const char* name, double target, const char* entry, VeltoList (*arguments)(),
                 void (*byHand)(const VeltoROList&)) {
    return {name, Unit::ratio, target, {50, 1, 100}, [=](const Setting& setting) -> Contest {
                const auto state = std::make_shared<Preparation>(setting, entry, arguments());
                const auto raw = [state, byHand] { byHand(state->bytes); };
                return {{[state] { state->run(); }}, {raw}, {raw}, [state] { state->run(); }};
            }};
}

}  // namespace

void addPrepareCases(std::vector<Case>& cases) {
    cases.push_back(prepareCase(
        "prepare a read of 200 nodes, lists", 1.1, "zfReadBulkSetup",
        [] { return readArguments(preparedNodes()); }, buildFromLists));
    cases.push_back(prepareCase(
        "prepare a read of 200 nodes, specification", 1.4, "zfReadBulkSetupC",
        [] { return VeltoList() + test::specification(preparedNodes()); }, buildFromSpecification));
}

}  // namespace nimb::bench
