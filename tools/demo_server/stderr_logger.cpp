#include "demo_server/stderr_logger.h"

#include <cstdarg>
#include <cstdio>

namespace nimb::plant {

namespace {

[[gnu::format(printf, 4, 0)]]  // parameter 4 is checked where the stack logs
void logToStderr(void*, UA_LogLevel level, UA_LogCategory, const char* format,
                 std::va_list arguments) noexcept {
    if (level < UA_LOGLEVEL_INFO) return;
    const char* name = level < UA_LOGLEVEL_WARNING ? "info"
                       : level < UA_LOGLEVEL_ERROR ? "warning"
                                                   : "error";
    std::fprintf(stderr, "server %s: ", name);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
}

}  // namespace

UA_Logger* silentLogger() noexcept {
    static UA_Logger logger{nullptr, nullptr, nullptr};
    return &logger;
}

UA_Logger* stderrLogger() noexcept {
    static UA_Logger logger{logToStderr, nullptr, nullptr};
    return &logger;
}

}  // namespace nimb::plant
