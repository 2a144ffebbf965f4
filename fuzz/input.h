#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

namespace nimb::fuzz {

/// Takes a fuzzer's bytes apart from the front. At the end every number is 0 and every run of bytes
/// is empty, so that any input drives any target.
class Input {
  public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

    [[nodiscard]] bool empty() const { return rest_.empty(); }
    [[nodiscard]] std::size_t size() const { return rest_.size(); }

    /// A number made of the next bytes, whatever they are.
    template <typename T>
    T take() {
        static_assert(std::is_arithmetic_v<T>);
        T value{};
        const auto bytes = takeBytes(sizeof value);
        if (!bytes.empty()) {
            std::memcpy(&value, bytes.data(), bytes.size());
        }
        return value;
    }
    /// A number below `bound`, from one byte.
    std::size_t below(std::size_t bound) { return take<std::uint8_t>() % bound; }
    bool flag() { return (take<std::uint8_t>() & 1) != 0; }

    std::span<const std::uint8_t> takeBytes(std::size_t count) {
        const auto taken = rest_.first(count < rest_.size() ? count : rest_.size());
        rest_ = rest_.subspan(taken.size());
        return taken;
    }
    std::span<const std::uint8_t> takeAll() { return takeBytes(rest_.size()); }

  private:
    std::span<const std::uint8_t> rest_;
};

/// Ends the program the way a fuzzer notices, when something that must hold does not.
inline void require(bool holds) {
    if (!holds) {
        __builtin_trap();
    }
}

}  // namespace nimb::fuzz
