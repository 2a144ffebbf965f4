#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "convert/ua_export.h"
#include "errors/uac_err.h"
#include "list/velto_list.h"
#include "list_hex.h"

namespace nimb::test {

/// Stands for an 8-byte floating-point item among the arguments of items().
struct Ieee {
    double value;
};

inline void append(VeltoList& list, Ieee item) { list.appendIEEE64(item.value); }
template <typename T>
void append(VeltoList& list, const T& item) {
    list += item;
}

/// A list of the given items; an inner items() becomes a nested list.
template <typename... T>
VeltoList items(const T&... values) {
    VeltoList list;
    (append(list, values), ...);
    return list;
}

/// "kind,code,text" of the UACErr that the call raises; "no error" without one.
inline std::string errorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const UACErr& e) {
        return std::to_string(e.kind) + "," + std::to_string(e.code) + "," + e.text;
    }
    return "no error";
}

inline UA_String uaString(const char* text) {
    return {std::char_traits<char>::length(text),
            reinterpret_cast<UA_Byte*>(const_cast<char*>(text))};
}

/// Pseudo-random numbers that are the same in every run.
class Random {
  public:
    std::uint64_t next() {
        state_ += 0x9E3779B97F4A7C15;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }
    /// From `low` to `high` inclusive.
    std::int64_t between(std::int64_t low, std::int64_t high) {
        const auto span = static_cast<std::uint64_t>(high) - static_cast<std::uint64_t>(low) + 1;
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(low) + next() % span);
    }

  private:
    std::uint64_t state_ = 1;
};

}  // namespace nimb::test
