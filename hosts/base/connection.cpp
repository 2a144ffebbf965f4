#include "base/connection.h"

#include "base/text.h"

namespace nimb::host {

namespace {

constexpr std::uint32_t kBadEncodingLimitsExceeded = 0x80080000;
constexpr std::uint32_t kBadTimeout = 0x800A0000;
constexpr std::uint32_t kBadTooManyOperations = 0x80100000;
constexpr std::uint32_t kBadSecureChannelClosed = 0x80860000;
constexpr std::uint32_t kBadConnectionClosed = 0x80AE0000;
constexpr std::uint32_t kBadRequestTooLarge = 0x80B80000;
constexpr std::uint32_t kBadResponseTooLarge = 0x80B90000;

/// Whoever did not use a session for so long cannot know how it fares: servers drop idle sessions,
/// and channels end with their lifetime.
constexpr std::chrono::seconds kPause{10};

constexpr int kInClear = 1;
constexpr int kSignAndEncrypt = 3;
/// Texts are bytes: names go to the server as the UTF-8 that they are. In mode 1 they are UTF-16,
/// and UTF-8 given there finds no node.
constexpr int kStringMode = 0;

/// Failure texts are 16-bit, one unit a byte of the text, and may be cut within a character.
Failure failureOf(const VeltoROList& list) {
    return {static_cast<int>(list.at(1).AsLong()), list.at(2).AsLongLong(),
            printable(list.at(3).AsAString())};
}

}  // namespace

bool Failure::timedOut() const noexcept { return is(kBadTimeout); }

bool Failure::closed() const noexcept {
    return is(kBadConnectionClosed) || is(kBadSecureChannelClosed);
}

bool Failure::resetRequired() const noexcept {
    return (kind_ == 1 || kind_ == 2) && code_ == 9 &&
           std::string_view(what()).find("Client reset required") != std::string_view::npos;
}

bool Failure::tooMuchAtOnce() const noexcept {
    return is(kBadTooManyOperations) || is(kBadResponseTooLarge) || is(kBadRequestTooLarge) ||
           is(kBadEncodingLimitsExceeded);
}

Connection::~Connection() {
    if (handle_ == 0) {
        return;
    }
    try {
        call("zfDestroyClientB");
    } catch (const std::exception&) {  // there is nobody left to tell
    }
}

ResultList Connection::call(std::string_view entry, const VeltoROList& arguments) {
    VeltoList all = VeltoList() + handle_;
    all.appendList(arguments);
    auto bytes = library_.call(entry, all);
    lastUse_ = std::chrono::steady_clock::now();
    if (!bytes) {
        throw TooLong("the result of " + std::string(entry) + " does not fit into 32767 bytes");
    }
    ResultList list(std::move(*bytes));
    if (list.at(0).AsLong() != 0) {
        throw failureOf(list);
    }
    return list;
}

void Connection::setUp() {
    if (handle_ == 0) {
        const auto created = library_.call("zfCreateClientB");
        const VeltoROList list(created ? created->data() : nullptr, created ? created->size() : 0);
        if (list.at(0).AsLong() != 0) {
            throw failureOf(list);
        }
        handle_ = list.at(1).AsLong();
    }
    ++generation_;
    const int mode = plant_.certificate.empty() ? kInClear : kSignAndEncrypt;
    call("zfSetupClientC", VeltoList() + plant_.timeout + mode + plant_.certificate + plant_.key +
                               plant_.trusted + plant_.revoked + plant_.uri + kStringMode);
    isSetUp_ = true;
}

void Connection::connect() {
    if (plant_.username) {
        call("zfConnectUser", VeltoList() + plant_.url + *plant_.username + plant_.password);
    } else {
        call("zfConnectB", VeltoList() + plant_.url);
    }
    isOpen_ = true;
}

void Connection::open() {
    if (isOpen_) {
        return;
    }
    if (isSetUp_) {
        try {
            connect();
            return;
        } catch (const Failure& failure) {
            if (!failure.resetRequired()) {
                throw;
            }
            isSetUp_ = false;
        }
    }
    setUp();
    connect();
}

void Connection::close() noexcept {
    if (!isOpen_) {
        return;
    }
    isOpen_ = false;
    try {
        call("zfDisconnectB");
    } catch (const std::exception&) {  // it is closed for us either way
    }
}

bool Connection::isRested() const noexcept {
    return std::chrono::steady_clock::now() - lastUse_ > kPause;
}

bool Connection::isConnected() {
    try {
        return call("zfGetClientStateD").at(2).AsLong() != 0;
    } catch (const Failure&) {
        return false;
    }
}

/// Whether the operation may be tried again, on a session to be opened.
bool Connection::noteFailure(const Failure& failure, bool rested) {
    if (failure.timedOut()) {
        return false;
    }
    if (failure.resetRequired()) {
        reset();
        return true;
    }
    if (failure.closed() || (failure.kind() == 4 && (rested || !isConnected()))) {
        isOpen_ = false;
        return true;
    }
    return false;
}

void Connection::tryOut() {
    constexpr int serverState = 2259;
    constexpr int value = 13;
    call("zfReadAttribute", VeltoList() + serverState + 0 + 0 + value);
}

void Connection::write(std::string_view entry, const VeltoROList& arguments) {
    if (!isOpen_ || isRested()) {
        reading([this] { tryOut(); });
    }
    try {
        call(entry, arguments);
    } catch (Failure& failure) {
        noteFailure(failure, false);  // the next request opens a new session where that helps
        failure.endedWrite();
        throw;
    }
}

}  // namespace nimb::host
