#include "client/response_type.h"

#include <algorithm>
#include <array>

namespace nimb {

bool ResponseType::take(std::span<const unsigned char> body) {
    constexpr std::array<std::uint8_t, 3> sizes{2, 4, 7};  // by the form, the first byte
    if (body.empty()) {
        return true;
    }
    if (size_ == 0) {
        if (body[0] >= sizes.size()) {
            return false;
        }
        size_ = sizes[body[0]];
    }
    taken_ = static_cast<std::uint8_t>(std::min<std::size_t>(size_, taken_ + body.size()));
    return true;
}

}  // namespace nimb
