#pragma once

#include "convert/ua_export.h"

namespace nimb {

/// How host strings are encoded, for the whole process: 0 means 8-bit bytes, 1 means UTF-16.
/// The set-up of a client stores whatever number the host gives, so other values occur.
extern int UAC_unicode_usage;

/// What the number means for texts that come from the host.
enum class HostTexts {
    bytes,   ///< 0
    utf16,   ///< 1
    ignored  ///< any other: they are not read
};
[[nodiscard]] HostTexts hostTexts();

/// The exporter that results are made with: ODBC dates, and strings as the process-wide string mode
/// says at this moment; UTF-16 for every number but 0.
[[nodiscard]] UACExport resultExporter(VariantMode variantMode, DataValueMode dataValueMode);

}  // namespace nimb
