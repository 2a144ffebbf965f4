#pragma once

#include <open62541/plugin/log.h>

#include <cstdarg>

namespace nimb {

/// Names as hosts read them in the log file, by level from the lowest to the highest.
extern const char* const UAC_UA_logLevelNames[6];
/// Names by the stack's category number.
extern const char* const UAC_UA_logCategoryNames[7];

/// The stack's logger that writes to the log file. Static: the stack keeps pointers to it.
extern UA_Logger UAC_UA_Log_toFile;

/// The stack's logger that drops every message; used while no log file is named.
extern UA_Logger UAC_UA_Log_silent;

/// A logger like UAC_UA_Log_toFile that drops messages below `minimum`.
[[nodiscard]] UA_Logger UAC_UA_Log_toFile_withLevel(UA_LogLevel minimum);

/// The stack's log callback.
/// @param context  the lowest level to write, as a number in the pointer; null for every level
[[gnu::format(printf, 4, 0)]] void UAC_UA_Log_toFile_log(void* context, UA_LogLevel level,
                                                         UA_LogCategory category,
                                                         const char* format,
                                                         std::va_list arguments);

/// The stack's clean-up callback: the sink owns nothing.
void UAC_UA_Log_toFile_clear(UA_Logger* logger);

}  // namespace nimb
