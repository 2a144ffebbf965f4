#include "host/version.h"

namespace nimb {

const int UAC_version_major = NIMB_VERSION_MAJOR;
const int UAC_version_minor = NIMB_VERSION_MINOR;
const int UAC_version_revision = NIMB_VERSION_REVISION;
const int UAC_version_build = 2;
const char* const UAC_version_text = "";

const char* const UAC_version_date = "May  7 2021";
const char* const UAC_version_time = "08:12:12";

}  // namespace nimb
