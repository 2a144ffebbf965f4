#include "convert/string_mode.h"

namespace nimb {

int UAC_unicode_usage = 0;

HostTexts hostTexts() {
    switch (UAC_unicode_usage) {
        case 0:
            return HostTexts::bytes;
        case 1:
            return HostTexts::utf16;
        default:
            return HostTexts::ignored;
    }
}

UACExport resultExporter(VariantMode variantMode, DataValueMode dataValueMode) {
    UACExport exporter;
    exporter.variantMode = variantMode;
    exporter.dataValueMode = dataValueMode;
    exporter.dateMode = DATE_ODBC;
    exporter.stringMode = UAC_unicode_usage != 0 ? STRING_UTF16_OR_EMPTY : STRING_BYTES;
    return exporter;
}

}  // namespace nimb
