#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>

namespace nimb {

/// Owner of an open file, closed at the end of its scope.
class FileDescriptor {
  public:
    /// Takes what open() returned; a negative one stands for no file.
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }

    [[nodiscard]] int get() const { return descriptor_; }

  private:
    int descriptor_;
};

/// Takes the numbers of those standard streams that the host has closed, for the length of a scope
/// in which a socket or a file is opened: what got one of them would be sent what the host or its
/// programs print.
class ClosedStreamsTaken {
  public:
    ClosedStreamsTaken() noexcept {
        for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
            if (fcntl(stream, F_GETFD) < 0) {
                // The lowest number that is free: this one.
                taken_[static_cast<std::size_t>(stream)] = open("/dev/null", O_RDWR | O_CLOEXEC);
            }
        }
    }
    ClosedStreamsTaken(const ClosedStreamsTaken&) = delete;
    ClosedStreamsTaken& operator=(const ClosedStreamsTaken&) = delete;
    ~ClosedStreamsTaken() {
        for (const int descriptor : taken_) {
            if (descriptor >= 0) {
                close(descriptor);
            }
        }
    }

  private:
    std::array<int, STDERR_FILENO + 1> taken_{-1, -1, -1};
};

}  // namespace nimb
