#pragma once

namespace nimb {

/// How host strings are encoded, for the whole process: 0 means 8-bit bytes, 1 means UTF-16.
/// The set-up of a client stores whatever number the host gives, so other values occur.
extern int UAC_unicode_usage;

}  // namespace nimb
