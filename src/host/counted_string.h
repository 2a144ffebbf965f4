#pragma once

#include <nimbopcua/callout_table.h>

#include <cstddef>
#include <cstdint>

namespace nimb {

/// The host's counted string: a 16-bit element count followed by the elements. The host lays it
/// out; the length it states is not to be trusted until it has been compared with `capacity`. The
/// count may lie at an odd address, for a host may pack byte strings as it likes.
template <typename Unit, std::size_t Capacity>
struct VeltoString {
    static constexpr std::size_t capacity = Capacity;

    [[gnu::packed]] std::uint16_t length;
    Unit data[Capacity];
};

/// Input and output of every ordinary entry, up to 32767 bytes: the string of the callout table's
/// header without its alignment.
using HostBytes = VeltoString<unsigned char, nimb_string_capacity>;

/// What the host fills with message texts: up to 32767 UTF-16 code units.
using HostText = VeltoString<char16_t, 32767>;

static_assert(offsetof(HostBytes, data) == 2 && offsetof(nimb_string, data) == 2,
              "hosts put the bytes right behind the length");
static_assert(alignof(HostBytes) == 1, "hosts promise no alignment");

}  // namespace nimb
