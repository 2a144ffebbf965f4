#include "host/version.h"

namespace nimb {

const int UAC_version_major = 0;
const int UAC_version_minor = 3;
const int UAC_version_revision = 0;
const int UAC_version_build = 2;
const char* const UAC_version_text = "";

const char* const UAC_version_date = "May  7 2021";
const char* const UAC_version_time = "08:12:12";

}  // namespace nimb
