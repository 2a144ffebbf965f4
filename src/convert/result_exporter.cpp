#include "convert/result_exporter.h"

#include "convert/string_mode.h"

namespace nimb {

UACExport resultExporter(VariantMode variantMode, DataValueMode dataValueMode) {
    UACExport exporter;
    exporter.variantMode = variantMode;
    exporter.dataValueMode = dataValueMode;
    exporter.dateMode = DATE_ODBC;
    exporter.stringMode = UAC_unicode_usage != 0 ? STRING_UTF16_OR_EMPTY : STRING_BYTES;
    return exporter;
}

}  // namespace nimb
