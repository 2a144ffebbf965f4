#pragma once

#include <cstddef>
#include <cstdint>

namespace nimb {

/// A status code of the OPC UA standard and the standard's one-sentence description of it.
struct StatusCodeDesc {
    std::uint32_t code;
    const char* description;
};

inline constexpr std::size_t UAC_status_code_slots = 237;

/// 231 codes, the closing pair (0xFFFFFFFF, "Unknown StatusCode"), and zeroed slots.
extern const StatusCodeDesc UAC_status_code_descs[UAC_status_code_slots];

/// @return the description of a status code, or null when the table lacks it. The text is static.
const char* UAC_GetLongFormStatusCodeDescription(unsigned int code);

}  // namespace nimb
