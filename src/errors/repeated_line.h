#pragma once

#include <cstdio>
#include <cstring>

namespace nimb {

/// Folds equal messages that follow each other, as the stack writes them while a server keeps
/// refusing, into one and the number of its repetitions. Without memory of its own, so that it may
/// live as long as the process and be used from within the stack.
class RepeatedLine {
  public:
    static constexpr std::size_t kHeadSize = 100;
    static constexpr std::size_t kMessageSize = 1000;
    /// Repetitions after which their number is told although they may go on.
    static constexpr unsigned int kMost = 1000;

    /// @param head     what stands before the message in its line, shorter than kHeadSize
    /// @param message  shorter than kMessageSize
    /// @param write    called with head and message of each line to be written now
    template <typename Write>
    void add(const char* head, const char* message, Write write) {
        const bool repeated = std::strcmp(head, head_) == 0 && std::strcmp(message, message_) == 0;
        if (repeated && ++repetitions_ < kMost) {
            return;
        }
        if (repetitions_ != 0) {
            char told[40];
            std::snprintf(told, sizeof told, "repeated %u times", repetitions_);
            repetitions_ = 0;
            write(head_, told);
        }
        if (!repeated) {
            std::snprintf(head_, sizeof head_, "%s", head);
            std::snprintf(message_, sizeof message_, "%s", message);
            write(head, message);
        }
    }

  private:
    char head_[kHeadSize] = {};
    char message_[kMessageSize] = {};
    unsigned int repetitions_ = 0;
};

}  // namespace nimb
