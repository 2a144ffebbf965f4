#include "client/chunk_stream.h"

#include <algorithm>
#include <cstring>

namespace nimb {

namespace {

constexpr std::uint32_t kAcknowledgeSize = 28;
constexpr std::uint32_t kErrorSize = 16;
constexpr std::uint32_t kLargestReason = 4096;
constexpr std::uint32_t kChannelAnswerSize = 32;  // with three empty strings and no body
constexpr std::uint32_t kBodyAt = 24;

}  // namespace

const char* ChunkStream::follow(std::span<const unsigned char> bytes) {
    const char* refusal = nullptr;
    while (refusal == nullptr && !bytes.empty()) {
        refusal = position_ < kHeaderSize ? takeHeader(bytes) : takeContents(bytes);
    }
    return refusal;
}

const char* ChunkStream::takeHeader(std::span<const unsigned char>& bytes) {
    const auto part = bytes.first(std::min<std::size_t>(bytes.size(), kHeaderSize - position_));
    std::copy(part.begin(), part.end(), header_.begin() + position_);
    position_ += static_cast<std::uint32_t>(part.size());
    bytes = bytes.subspan(part.size());
    return position_ == kHeaderSize ? beginChunk() : nullptr;
}

bool ChunkStream::is(const char* type) const { return std::memcmp(header_.data(), type, 3) == 0; }

const char* ChunkStream::beginChunk() {
    std::memcpy(&size_, header_.data() + 4, sizeof size_);  // x86-64 is little endian too
    readsType_ = false;
    if (stage_ == Stage::ended) {
        return "more behind an error that ends the connection";
    }
    if (is("MSG")) {
        return beginMessageChunk();
    }
    if (header_[3] != 'F') {
        return "a chunk that is not final, of a type that has no others";
    }
    if (is("ERR")) {
        stage_ = Stage::ended;
        return size_ >= kErrorSize && size_ <= kErrorSize + kLargestReason
                   ? nullptr
                   : "an error message of a wrong size";
    }
    if (is("ACK")) {
        if (stage_ != Stage::beginning) {
            return "a second acknowledgement";
        }
        stage_ = Stage::acknowledged;
        return size_ == kAcknowledgeSize ? nullptr : "an acknowledgement of a wrong size";
    }
    if (!is("OPN")) {
        return is("HEL") || is("CLO") ? "a message that only clients send"
                                      : "a chunk of an unknown type";
    }
    if (stage_ == Stage::beginning || messageChunks_ != 0) {
        return "an opened channel out of turn";
    }
    stage_ = Stage::open;
    return size_ >= kChannelAnswerSize && size_ <= kLargestMessage
               ? nullptr
               : "an opened channel in a chunk of a wrong size";
}

const char* ChunkStream::beginMessageChunk() {
    if (stage_ != Stage::open) {
        return "a message before its channel was open";
    }
    if (header_[3] != 'F' && header_[3] != 'C' && header_[3] != 'A') {
        return "a chunk that is neither final nor to be continued";
    }
    if (size_ < kBodyAt) {  // less than the eight bytes of a header too
        return "a chunk smaller than its headers";
    }
    ++messageChunks_;
    if (size_ > kLargestMessage - messageSize_ || messageChunks_ > kMostChunks) {
        return "a message above 4 MiB or of more than 1024 chunks";
    }
    messageSize_ += size_;
    readsType_ = inClear_ && header_[3] != 'A' && !type_.whole();
    return nullptr;
}

const char* ChunkStream::takeContents(std::span<const unsigned char>& bytes) {
    const auto contents = bytes.first(std::min<std::size_t>(bytes.size(), size_ - position_));
    bytes = bytes.subspan(contents.size());
    if (readsType_ && !takeType(contents)) {
        return kTypeUndecodable;
    }
    position_ += static_cast<std::uint32_t>(contents.size());
    return position_ == size_ ? endChunk() : nullptr;
}

bool ChunkStream::takeType(std::span<const unsigned char> contents) {
    const std::size_t headers = position_ < kBodyAt ? kBodyAt - position_ : 0;
    const bool decodable = type_.take(contents.subspan(std::min(headers, contents.size())));
    readsType_ = !type_.whole();
    return decodable;
}

const char* ChunkStream::endChunk() {
    position_ = 0;
    if (!is("MSG") || header_[3] == 'C') {
        return nullptr;
    }
    const bool cutShort = inClear_ && header_[3] == 'F' && !type_.whole();
    endMessage();
    return cutShort ? kTypeCutShort : nullptr;
}

void ChunkStream::endMessage() {
    messageSize_ = 0;
    messageChunks_ = 0;
    type_.reset();
}

}  // namespace nimb
