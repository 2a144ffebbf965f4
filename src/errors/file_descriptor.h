#pragma once

#include <unistd.h>

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

}  // namespace nimb
