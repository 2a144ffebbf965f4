#pragma once

namespace nimb {

/// The version that hosts see: it names the interface they were written against, so it changes
/// with the interface and not with each build of the library.
extern const int UAC_version_major;
extern const int UAC_version_minor;
extern const int UAC_version_revision;
extern const int UAC_version_build;
extern const char* const UAC_version_text;

/// Date and time of the interface version, in the compiler's date form. They are fixed, so that
/// every build of one source answers the same bytes.
extern const char* const UAC_version_date;
extern const char* const UAC_version_time;

}  // namespace nimb
