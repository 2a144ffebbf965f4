#include "errors/log_file.h"

#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

namespace nimb {

const char* UAC_log_filename = nullptr;

namespace {

char UAC_log_filename_buffer[UAC_log_filename_size] = {};
int UAC_log_pid = 0;
int UAC_log_counter = 0;

// A name of this length or less holds nothing of the caller's text.
constexpr std::size_t kEmptyNameLength = std::string_view("uaclogfile_.txt").size();

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Written out because isalnum follows the locale of the host process.
bool keptInName(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_';
}

// The form of asctime_r without its newline: 24 characters and a zero.
void writeLocalTime(char (&text)[26]) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    if (asctime_r(&local, text) == nullptr) {
        text[0] = '\0';
    }
    text[24] = '\0';
}

}  // namespace

void UAC_SetLogFileName(std::string_view variablePart) {
    char name[UAC_log_filename_size] = {};
    std::snprintf(name, sizeof name, "uaclogfile_%.*s.txt",
                  static_cast<int>(std::min(variablePart.size(), sizeof name)),
                  variablePart.data());
    std::memset(UAC_log_filename_buffer, 0, sizeof UAC_log_filename_buffer);
    std::size_t length = 0;
    for (const char* c = name; *c != '\0'; ++c) {
        if (keptInName(*c)) {
            UAC_log_filename_buffer[length++] = *c;
        }
    }
    UAC_log_filename = length > kEmptyNameLength ? UAC_log_filename_buffer : nullptr;
}

void UAC_WriteLogFile(const char* format, ...) noexcept {
    if (UAC_log_filename == nullptr) {
        return;
    }
    char message[1000] = {};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    if (UAC_log_counter == 0) {
        UAC_log_pid = getpid();
    }
    ++UAC_log_counter;
    char time[26] = {};
    writeLocalTime(time);
    // "e": the descriptor must not leak into programs that the host starts.
    if (const File file{std::fopen(UAC_log_filename, "ae")}) {
        std::fprintf(file.get(), "%s [%d/%d] %s\n", time, UAC_log_pid, UAC_log_counter, message);
    }
}

}  // namespace nimb
