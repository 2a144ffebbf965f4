#pragma once

#include "convert/ua_export.h"

namespace nimb {

/// The exporter that results are made with: ODBC dates, and strings as the process-wide string mode
/// says at this moment.
[[nodiscard]] UACExport resultExporter(VariantMode variantMode, DataValueMode dataValueMode);

}  // namespace nimb
