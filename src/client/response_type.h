#pragma once

#include <cstdint>
#include <span>

namespace nimb {

/// The type with which the body of a response begins, followed over the pieces of that body. It is
/// a node id of a numeric form, of two, four or seven bytes. For types that cannot be decoded
/// open62541 1.4.11 clears values that it has not initialised.
class ResponseType {
  public:
    /// Takes the next bytes of the body; what lies behind the type is not looked at.
    /// @return false when they are no type that can be decoded
    [[nodiscard]] bool take(std::span<const unsigned char> body);
    [[nodiscard]] bool whole() const { return size_ != 0 && taken_ == size_; }
    /// Begins the next response.
    void reset() { *this = {}; }

  private:
    std::uint8_t taken_ = 0;
    std::uint8_t size_ = 0;  ///< 0 until the first byte has come
};

inline constexpr const char* kTypeUndecodable = "a response whose type cannot be decoded";
inline constexpr const char* kTypeCutShort = "a response that ends within its type";

}  // namespace nimb
