#pragma once

#include <unistd.h>

#include <utility>

namespace nimb::test {

/// A file descriptor that is closed at the end of its life; -1 is none.
class Descriptor {
  public:
    explicit Descriptor(int value = -1) noexcept : value_(value) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const noexcept { return value_; }
    void reset() noexcept {
        if (value_ >= 0) ::close(std::exchange(value_, -1));
    }

  private:
    int value_;
};

}  // namespace nimb::test
