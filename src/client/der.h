#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace nimb {

using Bytes = std::span<const unsigned char>;

/// Tags of the DER elements that certificates and keys are made of (X.690).
namespace der_tag {
inline constexpr unsigned char kBoolean = 0x01;
inline constexpr unsigned char kInteger = 0x02;
inline constexpr unsigned char kBitString = 0x03;
inline constexpr unsigned char kOctetString = 0x04;
inline constexpr unsigned char kObjectIdentifier = 0x06;
inline constexpr unsigned char kSequence = 0x30;
/// Element `number` of a structure whose author numbered them; constructed: it holds others.
inline constexpr unsigned char context(unsigned char number) { return 0x80 | number; }
inline constexpr unsigned char constructed(unsigned char number) { return 0xA0 | number; }
}  // namespace der_tag

/// One element: views of the bytes it was read from.
struct DerElement {
    unsigned char tag = 0;
    Bytes content;
    Bytes whole;  ///< with tag and length
};

/// Reads the elements of a DER encoding from outside one after the other. Owns nothing, allocates
/// nothing, and never looks beyond the bytes it was given.
class DerReader {
  public:
    explicit DerReader(Bytes bytes) : rest_(bytes) {}

    [[nodiscard]] bool atEnd() const { return rest_.empty(); }

    /// The next element. None, and nothing is passed over, when it is not wholly there, has a tag
    /// of several bytes, or a length that is indefinite, above 32 bits or not as short as DER
    /// demands.
    std::optional<DerElement> next();
    /// The same for an element that must carry this tag.
    std::optional<DerElement> next(unsigned char tag);
    /// Passes over an element of that tag. @return false when there is none here
    bool skip(unsigned char tag) { return next(tag).has_value(); }

  private:
    Bytes rest_;
};

}  // namespace nimb
