#pragma once

#include <open62541/types.h>
#include <open62541/types_generated.h>
#include <open62541/types_generated_handling.h>

#include <cstddef>
#include <utility>

namespace nimb {

/// Owner of one stack value: zeroed at birth, its members released at death.
/// @tparam TypeIndex  position of the type's description in the stack's UA_TYPES table
template <typename T, std::size_t TypeIndex>
class Owned {
  public:
    Owned() = default;
    /// Takes over a value and whatever it owns.
    explicit Owned(T value) : value_(value) {}
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    Owned(Owned&& other) noexcept : value_(other.release()) {}
    Owned& operator=(Owned&& other) noexcept {
        if (this != &other) {
            reset(other.release());
        }
        return *this;
    }
    ~Owned() { UA_clear(&value_, type()); }

    [[nodiscard]] static const UA_DataType* type() { return &UA_TYPES[TypeIndex]; }

    T* get() { return &value_; }
    const T* get() const { return &value_; }
    T& operator*() { return value_; }
    const T& operator*() const { return value_; }
    T* operator->() { return &value_; }
    const T* operator->() const { return &value_; }

    /// Gives the value and what it owns to the caller; what stays is zero.
    [[nodiscard]] T release() { return std::exchange(value_, T{}); }

    /// Releases the members and takes over another value.
    void reset(T value = T{}) {
        UA_clear(&value_, type());
        value_ = value;
    }

  private:
    T value_{};
};

using OwnedString = Owned<UA_String, UA_TYPES_STRING>;
using OwnedNodeId = Owned<UA_NodeId, UA_TYPES_NODEID>;
using OwnedDataValue = Owned<UA_DataValue, UA_TYPES_DATAVALUE>;
using OwnedVariant = Owned<UA_Variant, UA_TYPES_VARIANT>;
using OwnedReadRequest = Owned<UA_ReadRequest, UA_TYPES_READREQUEST>;
using OwnedReadResponse = Owned<UA_ReadResponse, UA_TYPES_READRESPONSE>;
using OwnedBrowseResponse = Owned<UA_BrowseResponse, UA_TYPES_BROWSERESPONSE>;
using OwnedBrowseNextResponse = Owned<UA_BrowseNextResponse, UA_TYPES_BROWSENEXTRESPONSE>;

}  // namespace nimb
