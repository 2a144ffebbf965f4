#include "convert/string_mode.h"

#include "convert/ua_export.h"

namespace nimb {

int UAC_unicode_usage = 0;

int exportStringMode() { return UAC_unicode_usage != 0 ? STRING_UTF16_OR_EMPTY : STRING_BYTES; }

}  // namespace nimb
