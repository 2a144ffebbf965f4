#pragma once

#include <string>
#include <string_view>

namespace nimb {

/// The URL with "***" in place of a secret before its "@": the password of "user:password@", or all
/// of it where there is no colon. OPC UA has no such URLs, and the stack refuses them, but writes
/// them to the log first. A URL that the stack can use stays as it is.
[[nodiscard]] std::string withoutSecret(std::string_view url);

}  // namespace nimb
