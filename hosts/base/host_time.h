#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "list/list_item.h"

namespace nimb::host {

/// An instant in steps of 100 ns since 1601-01-01 UTC.
struct Ticks {
    std::int64_t count = 0;
    friend auto operator<=>(const Ticks&, const Ticks&) = default;
};

/// A time item, 16-bit text "YYYY-MM-DD hh:mm:ss.fffffff". The first instant of 1601 means that
/// there is none; so does a text that is no time.
std::optional<Ticks> timeOf(const VeltoListItem& item);

/// "2026-11-21T19:45:17.4999600Z".
std::string isoText(Ticks time);

}  // namespace nimb::host
