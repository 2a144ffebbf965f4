#include "client/der.h"

namespace nimb {

namespace {

constexpr unsigned char kLongForm = 0x80;  // of a length: the low bits count its bytes
constexpr unsigned char kLongTag = 0x1F;   // of a tag: more bytes of it follow
constexpr std::size_t kMaxLengthBytes = 4;

struct Length {
    std::size_t bytes;  // that it takes itself
    std::size_t value;
};

std::optional<Length> lengthAt(Bytes bytes) {
    if (bytes.empty()) {
        return std::nullopt;
    }
    if (bytes[0] < kLongForm) {
        return Length{1, bytes[0]};
    }
    const std::size_t count = bytes[0] - std::size_t{kLongForm};
    if (count == 0 || count > kMaxLengthBytes || count >= bytes.size() || bytes[1] == 0) {
        return std::nullopt;
    }
    std::size_t value = 0;
    for (const unsigned char byte : bytes.subspan(1, count)) {
        value = value << 8 | byte;
    }
    return value < kLongForm ? std::nullopt : std::optional(Length{1 + count, value});
}

}  // namespace

std::optional<DerElement> DerReader::next() {
    if (rest_.empty() || (rest_[0] & kLongTag) == kLongTag) {
        return std::nullopt;
    }
    const auto length = lengthAt(rest_.subspan(1));
    if (!length || length->value > rest_.size() - 1 - length->bytes) {
        return std::nullopt;
    }
    const std::size_t head = 1 + length->bytes;
    const Bytes all = rest_;
    rest_ = all.subspan(head + length->value);
    return DerElement{all[0], all.subspan(head, length->value), all.first(head + length->value)};
}

std::optional<DerElement> DerReader::next(unsigned char tag) {
    return !rest_.empty() && rest_[0] == tag ? next() : std::nullopt;
}

}  // namespace nimb
