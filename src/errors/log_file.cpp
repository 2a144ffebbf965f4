#include "errors/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <span>

#include "errors/file_descriptor.h"
#include "errors/file_size_signal.h"

namespace nimb {

const char* UAC_log_filename = nullptr;

namespace {

char UAC_log_filename_buffer[UAC_log_filename_size] = {};
int UAC_log_pid = 0;
unsigned int UAC_log_counter = 0;  // begins anew after 2^32 lines

/// A name of this length or less holds nothing of the caller's text.
constexpr std::size_t kEmptyNameLength = std::string_view("uaclogfile_.txt").size();

/// Written out because isalnum follows the locale of the host process.
bool keptInName(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_';
}

/// The continuation bytes that follow the first byte of a UTF-8 character, where they may be below
/// 0xA0 without making it a control character.
int continuationsOf(unsigned char first) {
    return first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : first > 0xC2 ? 1 : 0;
}

/// A call is a line, and a text from outside is shown and never obeyed: a "?" takes the place of
/// every control character but the tab. Those from 0x80 to 0x9F are controls to 8-bit terminals as
/// bytes and to others behind a 0xC2, and otherwise parts of UTF-8 characters.
void replaceControls(std::span<char> text) {
    int continuations = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool continues = byte >= 0x80 && byte < 0xC0 && continuations > 0;
        continuations = continues ? continuations - 1 : continuationsOf(byte);
        const bool upperControl = byte >= 0x80 && byte < 0xA0 && !continues;
        if (upperControl && i > 0 && text[i - 1] == '\xC2') {
            text[i - 1] = '?';
        }
        if (upperControl || byte == 0x7F || (byte < 0x20 && byte != '\t')) {
            text[i] = '?';
        }
    }
}

/// The form of asctime_r without its newline: 24 characters and a zero.
void writeLocalTime(char (&text)[26]) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    if (asctime_r(&local, text) == nullptr) {
        text[0] = '\0';
    }
    text[24] = '\0';
}

/// A pipe of the log file's name must not make the host wait for a reader, nor end it by SIGPIPE
/// when the reader goes: only regular files are written. O_CLOEXEC: the descriptor must not leak
/// into programs that the host starts.
int openLogFile() {
    constexpr int kFlags = O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    return open(UAC_log_filename, kFlags, 0666);
}

/// Whether the file's last line was cut short, by this process or another: a disk or a file-size
/// limit that is reached takes the beginning of a line.
bool endsWithinLine(int file, off_t size) {
    char last = '\n';
    return size > 0 && pread(file, &last, 1, size - 1) == 1 && last != '\n';
}

/// Appends the line, which begins with a newline for the case that the file ends within one. One
/// write keeps lines whole when several processes share the file.
void appendToLogFile(std::string_view line) {
    const ClosedStreamsTaken meanwhile;
    const FileDescriptor file(openLogFile());
    struct stat status {};
    if (file.get() < 0 || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return;
    }
    if (!endsWithinLine(file.get(), status.st_size)) {
        line.remove_prefix(1);
    }
    const FileSizeSignalHeld held;
    if (write(file.get(), line.data(), line.size()) < 0 && errno == EFBIG) {
        held.takeSignal();
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
    const int errnoBefore = errno;  // the stack logs between a failed call and its look at errno
    char message[1000] = {};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    replaceControls({message, std::strlen(message)});
    if (UAC_log_counter == 0) {
        UAC_log_pid = getpid();
    }
    ++UAC_log_counter;
    char time[26] = {};
    writeLocalTime(time);
    char line[sizeof message + 80];
    const int length = std::snprintf(line, sizeof line, "\n%s [%d/%u] %s\n", time, UAC_log_pid,
                                     UAC_log_counter, message);
    appendToLogFile({line, static_cast<std::size_t>(length)});
    errno = errnoBefore;
}

}  // namespace nimb
