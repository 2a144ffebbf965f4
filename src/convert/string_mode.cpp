#include "convert/string_mode.h"

namespace nimb {

int UAC_unicode_usage = 0;

}  // namespace nimb
