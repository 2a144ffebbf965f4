#include "demo_server/address_space.h"

#include <stdexcept>
#include <string>

namespace nimb::plant {

namespace {

const UA_NodeId objectsFolder = UA_NODEID_NUMERIC(0, UA_NS0ID_OBJECTSFOLDER);
const UA_NodeId organizes = UA_NODEID_NUMERIC(0, UA_NS0ID_ORGANIZES);
const UA_NodeId hasComponent = UA_NODEID_NUMERIC(0, UA_NS0ID_HASCOMPONENT);

void require(UA_StatusCode status, std::string_view name) {
    if (status == UA_STATUSCODE_GOOD) return;
    throw std::runtime_error("cannot add node " + std::string(name) + ": " +
                             UA_StatusCode_name(status));
}

UA_QualifiedName browseName(std::string_view name) noexcept {
    return {namespaceIndex, borrowed(name)};
}

UA_VariableAttributes variableAttributes(std::string_view name, Access access) noexcept {
    UA_VariableAttributes attributes = UA_VariableAttributes_default;
    attributes.displayName = {borrowed(""), borrowed(name)};
    attributes.accessLevel = UA_ACCESSLEVELMASK_READ;
    if (access == Access::readWrite) attributes.accessLevel |= UA_ACCESSLEVELMASK_WRITE;
    return attributes;
}

}  // namespace

UA_NodeId stackId(const NodeAddress& address) noexcept {
    UA_NodeId id = UA_NODEID_NUMERIC(namespaceIndex, address.numeric);
    if (!address.text.empty()) {
        id.identifierType = UA_NODEIDTYPE_STRING;
        id.identifier.string = borrowed(address.text);
    }
    return id;
}

void AddressSpace::addFolder(const NodeAddress& id, std::string_view name) {
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = {borrowed(""), borrowed(name)};
    require(UA_Server_addObjectNode(server_, stackId(id), objectsFolder, organizes,
                                    browseName(name), UA_NODEID_NUMERIC(0, UA_NS0ID_FOLDERTYPE),
                                    attributes, nullptr, nullptr),
            name);
}

void AddressSpace::addObject(const NodeAddress& id, const NodeAddress& parent,
                             std::string_view name) {
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = {borrowed(""), borrowed(name)};
    require(UA_Server_addObjectNode(server_, stackId(id), stackId(parent), hasComponent,
                                    browseName(name), UA_NODEID_NUMERIC(0, UA_NS0ID_BASEOBJECTTYPE),
                                    attributes, nullptr, nullptr),
            name);
}

void AddressSpace::addVariable(const NodeAddress& id, const NodeAddress& parent,
                               std::string_view name, const OwnedVariant& value, Access access) {
    UA_VariableAttributes attributes = variableAttributes(name, access);
    attributes.value = *value;  // borrowed: the server makes its own copy
    attributes.dataType = value->type->typeId;
    UA_UInt32 flatLength = 0;  // zero in the node's dimensions: any length
    if (UA_Variant_isScalar(&*value)) {
        attributes.valueRank = UA_VALUERANK_SCALAR;
    } else if (value->arrayDimensionsSize == 0) {
        attributes.valueRank = UA_VALUERANK_ONE_DIMENSION;
        attributes.arrayDimensions = &flatLength;
        attributes.arrayDimensionsSize = 1;
    } else {
        attributes.valueRank = static_cast<UA_Int32>(value->arrayDimensionsSize);
        attributes.arrayDimensions = value->arrayDimensions;
        attributes.arrayDimensionsSize = value->arrayDimensionsSize;
    }
    require(UA_Server_addVariableNode(
                server_, stackId(id), stackId(parent), hasComponent, browseName(name),
                UA_NODEID_NUMERIC(0, UA_NS0ID_BASEDATAVARIABLETYPE), attributes, nullptr, nullptr),
            name);
}

void AddressSpace::addDataSource(const NodeAddress& id, const NodeAddress& parent,
                                 std::string_view name, UA_DataSource source, void* context) {
    // Any type and rank: the source alone decides what it answers. It is attached afterwards
    // because the server reads a new variable once and refuses the node when the status is bad.
    const UA_VariableAttributes attributes = variableAttributes(name, Access::readOnly);
    require(UA_Server_addVariableNode(
                server_, stackId(id), stackId(parent), hasComponent, browseName(name),
                UA_NODEID_NUMERIC(0, UA_NS0ID_BASEDATAVARIABLETYPE), attributes, context, nullptr),
            name);
    require(UA_Server_setVariableNode_dataSource(server_, stackId(id), source), name);
}

}  // namespace nimb::plant
