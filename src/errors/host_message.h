#pragma once

#include <string>
#include <string_view>

namespace nimb {

/// The host's own wording of one of its error codes: message, one blank, detail.
/// @param defaultText  the answer when the host does not know the code or gives no message
[[nodiscard]] std::u16string GetVeltoErrMsg(const long& code, std::u16string_view defaultText);

}  // namespace nimb
