#include "errors/log_sink.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "errors/log_file.h"
#include "errors/repeated_line.h"

namespace nimb {

const char* const UAC_UA_logLevelNames[6] = {"trace", "debug", "info", "warn", "error", "fatal"};
const char* const UAC_UA_logCategoryNames[7] = {
    "network", "channel", "session", "server", "client", "userland", "securitypolicy",
};

UA_Logger UAC_UA_Log_toFile = {UAC_UA_Log_toFile_log, nullptr, UAC_UA_Log_toFile_clear};
UA_Logger UAC_UA_Log_silent = {nullptr, nullptr, UAC_UA_Log_toFile_clear};

namespace {

RepeatedLine repeatedLine;

/// open62541 1.4 numbers its levels 100 (trace) to 600 (fatal).
const char* levelName(UA_LogLevel level) {
    const int index = std::clamp(static_cast<int>(level) / 100 - 1, 0, 5);
    return UAC_UA_logLevelNames[index];
}

/// open62541 1.4 has categories beyond the seven that hosts know (event loop, PubSub, discovery).
const char* categoryName(UA_LogCategory category) {
    const auto index = static_cast<std::size_t>(category);
    return index < std::size(UAC_UA_logCategoryNames) ? UAC_UA_logCategoryNames[index] : "other";
}

}  // namespace

UA_Logger UAC_UA_Log_toFile_withLevel(UA_LogLevel minimum) {
    // The stack hands the context back as it is: a number in it needs no memory of its own.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    auto* context = reinterpret_cast<void*>(static_cast<std::uintptr_t>(minimum));
    return {UAC_UA_Log_toFile_log, context, UAC_UA_Log_toFile_clear};
}

void UAC_UA_Log_toFile_log(void* context, UA_LogLevel level, UA_LogCategory category,
                           const char* format, std::va_list arguments) {
    const bool tooLow =
        static_cast<std::uintptr_t>(level) < reinterpret_cast<std::uintptr_t>(context);
    // Logging may have been switched off since the client was set up.
    if (tooLow || UAC_log_filename == nullptr) {
        return;
    }
    char prefix[RepeatedLine::kHeadSize];
    std::snprintf(prefix, sizeof prefix, " * %s/%s\t", levelName(level), categoryName(category));
    char message[RepeatedLine::kMessageSize] = {};
    std::vsnprintf(message, sizeof message, format, arguments);
    repeatedLine.add(prefix, message, [](const char* head, const char* text) {
        UAC_WriteLogFile("%s %s", head, text);
    });
}

void UAC_UA_Log_toFile_clear(UA_Logger* /*logger*/) {}

}  // namespace nimb
