#pragma once

namespace nimb {

/// How host strings are encoded, for the whole process: 0 means 8-bit bytes, 1 means UTF-16.
/// The set-up of a client stores whatever number the host gives, so other values occur.
extern int UAC_unicode_usage;

/// The `stringMode` that results are converted with: UTF-16, with invalid text as an empty string,
/// when the host uses wide strings; otherwise plain bytes.
[[nodiscard]] int exportStringMode();

}  // namespace nimb
