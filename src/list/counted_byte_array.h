#pragma once

#include <cstdint>
#include <utility>

namespace nimb {

/// A run of bytes with its length, which may or may not own them: the form in which encoded lists
/// and raw byte strings are passed around without copying.
class CountedByteArray {
  public:
    /// An empty array.
    CountedByteArray() = default;

    /// Wraps `length` bytes at `data`. With `owned` the array releases them with `delete[]`;
    /// without it they must outlive the array.
    CountedByteArray(const unsigned char* data, std::uint64_t length, bool owned = false) noexcept
        : data_(data), length_(length), owned_(owned ? 1 : 0) {}

    CountedByteArray(const CountedByteArray&) = delete;
    CountedByteArray& operator=(const CountedByteArray&) = delete;

    CountedByteArray(CountedByteArray&& other) noexcept
        : data_(std::exchange(other.data_, nullptr)),
          length_(std::exchange(other.length_, 0)),
          owned_(std::exchange(other.owned_, 0)) {}

    CountedByteArray& operator=(CountedByteArray&& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(length_, other.length_);
        std::swap(owned_, other.owned_);
        return *this;
    }

    virtual ~CountedByteArray() {
        if (owned_ != 0) {
            delete[] data_;
        }
    }

    /// First byte; null for an array that was never given any.
    const unsigned char* data() const noexcept { return data_; }
    /// Number of bytes.
    std::uint64_t length() const noexcept { return length_; }

  private:
    const unsigned char* data_ = nullptr;
    std::uint64_t length_ = 0;
    int owned_ = 0;
};

}  // namespace nimb
