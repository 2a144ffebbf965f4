#include "errors/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "errors/file_descriptor.h"

namespace nimb {

const char* UAC_log_filename = nullptr;

namespace {

char UAC_log_filename_buffer[UAC_log_filename_size] = {};
int UAC_log_pid = 0;
unsigned int UAC_log_counter = 0;  // begins anew after 2^32 lines

// A name of this length or less holds nothing of the caller's text.
constexpr std::size_t kEmptyNameLength = std::string_view("uaclogfile_.txt").size();

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

// A pipe of the log file's name must not make the host wait for a reader, nor end it by SIGPIPE
// when the reader goes: only regular files are written. One write keeps lines whole when several
// processes share the file. O_CLOEXEC: the descriptor must not leak into programs that the host
// starts.
void appendToLogFile(const char* line, std::size_t length) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    const FileDescriptor file(open(UAC_log_filename, kFlags, 0666));
    struct stat status {};
    if (file.get() >= 0 && fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode)) {
        [[maybe_unused]] const ssize_t written = write(file.get(), line, length);
    }
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
    char line[sizeof message + 80];
    const int length = std::snprintf(line, sizeof line, "%s [%d/%u] %s\n", time, UAC_log_pid,
                                     UAC_log_counter, message);
    appendToLogFile(line, static_cast<std::size_t>(length));
}

}  // namespace nimb
