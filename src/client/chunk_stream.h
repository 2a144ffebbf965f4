#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "client/response_type.h"

namespace nimb {

/// Follows the bytes that a server sends on one connection, in whatever runs they arrive, and tells
/// what the stack must not see. It copies nothing but eight bytes of header and allocates nothing;
/// contents are jumped over by the size that the header states.
///
/// A stream is a row of chunks: a type of three letters, a letter (F final, C more to come, A the
/// message is given up) and the chunk's size in 32 bits, little endian. Behind the header of a
/// message stand channel, token, sequence number and request id, then the body.
class ChunkStream {
  public:
    /// A message larger than this on the wire is refused: a result that a host can take holds
    /// 32 KiB, and values grow up to 80-fold when they are decoded.
    static constexpr std::uint32_t kLargestMessage = std::uint32_t{4} << 20;
    /// The smallest chunks that the protocol lets a peer agree on hold 8 KiB.
    static constexpr std::uint32_t kMostChunks = 2 * kLargestMessage / 8192;

    /// @param inClear  bodies can be read: the channel is not encrypted
    void setInClear(bool inClear) { inClear_ = inClear; }
    [[nodiscard]] bool inClear() const { return inClear_; }

    /// Takes the next bytes of the stream. After a refusal the stream is not to be used again.
    /// @return null, or what was refused, in words that complete "the server sent ..."
    [[nodiscard]] const char* follow(std::span<const unsigned char> bytes);

    /// True once an answer to the request for a channel has come.
    [[nodiscard]] bool channelAnswered() const { return stage_ == Stage::open; }

  private:
    enum class Stage : std::uint8_t { beginning, acknowledged, open, ended };

    const char* takeHeader(std::span<const unsigned char>& bytes);
    const char* takeContents(std::span<const unsigned char>& bytes);
    const char* beginChunk();
    const char* beginMessageChunk();
    bool takeType(std::span<const unsigned char> contents);
    const char* endChunk();
    void endMessage();
    [[nodiscard]] bool is(const char* type) const;

    static constexpr std::uint32_t kHeaderSize = 8;

    std::array<unsigned char, kHeaderSize> header_{};
    std::uint32_t position_ = 0;  ///< in the chunk
    std::uint32_t size_ = 0;      ///< of the chunk
    std::uint32_t messageSize_ = 0;
    std::uint32_t messageChunks_ = 0;
    ResponseType type_;
    Stage stage_ = Stage::beginning;
    bool inClear_ = true;
    bool readsType_ = false;  ///< in this chunk
};

}  // namespace nimb
