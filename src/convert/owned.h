#pragma once

#include <open62541/types.h>
#include <open62541/types_generated.h>
#include <open62541/types_generated_handling.h>

#include <cstddef>
#include <utility>

#include "convert/clear_values.h"

namespace nimb {

/// Owner of one stack value: zeroed at birth, its members released at death.
/// @tparam TypeIndex  position of the type's description in the stack's UA_TYPES table
/// @tparam Clear      releases the members: the value owns nothing then
template <typename T, std::size_t TypeIndex, auto Clear = UA_clear>
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
    ~Owned() { Clear(&value_, type()); }

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
        Clear(&value_, type());
        value_ = value;
    }

  private:
    T value_{};
};

using OwnedString = Owned<UA_String, UA_TYPES_STRING>;
using OwnedNodeId = Owned<UA_NodeId, UA_TYPES_NODEID>;
using OwnedDataValue = Owned<UA_DataValue, UA_TYPES_DATAVALUE>;
using OwnedVariant = Owned<UA_Variant, UA_TYPES_VARIANT>;
using OwnedReadResponse = Owned<UA_ReadResponse, UA_TYPES_READRESPONSE, clearReadResponse>;
using OwnedBrowseResponse = Owned<UA_BrowseResponse, UA_TYPES_BROWSERESPONSE, clearBrowseResponse>;
using OwnedBrowseNextResponse = Owned<UA_BrowseNextResponse, UA_TYPES_BROWSENEXTRESPONSE>;

}  // namespace nimb
