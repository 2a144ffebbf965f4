#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "base/library.h"

namespace nimb::host {

/// A failure list that an entry answered; what() is its text.
class Failure : public std::runtime_error {
  public:
    Failure(int kind, long long code, const std::string& text)
        : std::runtime_error(text), kind_(kind), code_(code) {}

    int kind() const noexcept { return kind_; }
    long long code() const noexcept { return code_; }
    /// Whether the server, or the way to it, answered this OPC UA status.
    bool is(std::uint32_t status) const noexcept { return kind_ == 4 && code_ == status; }
    /// Nothing came in time.
    bool timedOut() const noexcept;
    /// The connection had ended, or ended before the answer.
    bool closed() const noexcept;
    /// It ended a write that no answer came to: it may have been carried out all the same.
    bool inDoubt() const noexcept { return inDoubt_; }
    void endedWrite() noexcept { inDoubt_ = timedOut() || closed(); }
    /// The client lost its set-up, with it every prepared read and subscription.
    bool resetRequired() const noexcept;
    /// The server wants less at once.
    bool tooMuchAtOnce() const noexcept;

  private:
    int kind_;
    long long code_;
    bool inDoubt_ = false;
};

/// A result does not fit into the 32767 bytes that a host can be given.
class TooLong : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A server and how to get at it. Text is UTF-8.
struct Plant {
    std::string url{};
    int timeout = 3000;  ///< milliseconds, for every request
    /// Files and folders of a session that is signed and encrypted; without a certificate there is
    /// neither.
    std::string certificate{}, key{}, trusted{}, revoked{}, uri{};
    std::optional<std::string> username{};
    std::string password{};

    friend bool operator==(const Plant&, const Plant&) = default;
};

/// A result list that owns its bytes. They stay where they are when it is moved.
class ResultList : public VeltoROList {
  public:
    explicit ResultList(ResultBytes bytes)
        : VeltoROList(bytes.data(), bytes.size()), bytes_(std::move(bytes)) {}
    ResultList(ResultList&&) = default;
    ResultList& operator=(ResultList&&) = default;
    ~ResultList() override = default;

  private:
    ResultBytes bytes_;
};

/// One session with a server, opened by the first request and again when it was lost. The client
/// behind it is destroyed with the object.
///
/// For one thread at a time. Members throw Failure and TooLong, CallError, std::bad_alloc, and
/// std::exception for a result that is no list.
class Connection {
  public:
    Connection(Library& library, Plant plant) : library_(library), plant_(std::move(plant)) {}
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Runs an operation that reads, on an open session: a second time, on a new one, if it found
    /// the old one closed, or failed otherwise after a long pause. Never after a timeout: the
    /// caller has waited long enough. The operation may use call(); what it prepared on the client
    /// is gone when generation() has changed.
    template <typename Operation>
    auto reading(Operation operation) {
        open();
        const bool rested = isRested();
        try {
            return operation();
        } catch (const Failure& failure) {
            if (!noteFailure(failure, rested)) {
                throw;
            }
        }
        open();
        return operation();
    }

    /// Makes a call that changes something, on an open session, and never twice. After a pause the
    /// session is tried with a read first.
    void write(std::string_view entry, const VeltoROList& arguments);

    /// Reads the server's state, to see whether it answers.
    void tryOut();

    /// Calls an entry with the client's handle and the arguments behind it.
    /// @return the result list, the status first; copies of a failed call's list are thrown
    ResultList call(std::string_view entry, const VeltoROList& arguments = {});

    /// Grows with every set-up of the client: what was prepared before it counts as gone.
    unsigned generation() const noexcept { return generation_; }

    const Plant& plant() const noexcept { return plant_; }
    Library& library() const noexcept { return library_; }

    /// Opens the session unless it is open.
    void open();
    /// Whether it is, as far as is known: a failure after which it is not cost the session.
    bool isOpen() const noexcept { return isOpen_; }
    /// Closes it. The next request opens it again.
    void close() noexcept;
    /// Makes the next open() set the client up again, which discards what it had.
    void reset() noexcept { isSetUp_ = isOpen_ = false; }
    /// When the last call ended.
    std::chrono::steady_clock::time_point lastUse() const noexcept { return lastUse_; }

  private:
    bool isRested() const noexcept;
    bool noteFailure(const Failure& failure, bool rested);
    bool isConnected();
    void setUp();
    void connect();

    Library& library_;
    Plant plant_;
    long handle_ = 0;
    unsigned generation_ = 0;
    bool isSetUp_ = false;
    bool isOpen_ = false;
    std::chrono::steady_clock::time_point lastUse_ = std::chrono::steady_clock::now();
};

}  // namespace nimb::host
