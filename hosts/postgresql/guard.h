#pragma once

#include <type_traits>

#include "postgresql/core.h"

namespace nimb::postgresql {

struct Session;

/// Fills the error from the exception that is being handled.
/// @param session  whose session with the server may have been lost; null where there is none
void describeException(const Session* session, NimbError& error) noexcept;

/// Puts the node's notation into the error unless it has one.
void nameNode(NimbError& error, const char* node) noexcept;

/// Runs an operation; what it throws becomes the error, and the answer false or null.
template <typename Operation>
auto guarded(const Session* session, NimbError* error, Operation operation) noexcept {
    using Result = decltype(operation());
    try {
        return operation();
    } catch (...) {
        describeException(session, *error);
        return Result{};
    }
}

}  // namespace nimb::postgresql
