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

// Of a node id by its first byte. A response's type has one of the three numeric forms; of others
// that do not decode, open62541 1.4.11 clears values it has not initialised.
std::uint8_t typeSizeOf(unsigned char form) {
    switch (form) {
        case 0:
            return 2;
        case 1:
            return 4;
        case 2:
            return 7;
        default:
            return 0;
    }
}

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
    readsType_ = inClear_ && header_[3] != 'A' && (typeSize_ == 0 || typeBytes_ < typeSize_);
    return nullptr;
}

const char* ChunkStream::takeContents(std::span<const unsigned char>& bytes) {
    const auto contents = bytes.first(std::min<std::size_t>(bytes.size(), size_ - position_));
    bytes = bytes.subspan(contents.size());
    if (readsType_) {
        if (const char* refusal = takeType(contents); refusal != nullptr) {
            return refusal;
        }
    }
    position_ += static_cast<std::uint32_t>(contents.size());
    return position_ == size_ ? endChunk() : nullptr;
}

const char* ChunkStream::takeType(std::span<const unsigned char> contents) {
    std::size_t at = position_ < kBodyAt ? kBodyAt - position_ : 0;
    for (; at < contents.size() && readsType_; ++at) {
        if (typeBytes_ == 0) {
            typeSize_ = typeSizeOf(contents[at]);
        }
        ++typeBytes_;
        readsType_ = typeBytes_ < typeSize_;
    }
    return typeBytes_ != 0 && typeSize_ == 0 ? "a response whose type cannot be decoded" : nullptr;
}

const char* ChunkStream::endChunk() {
    position_ = 0;
    if (!is("MSG") || header_[3] == 'C') {
        return nullptr;
    }
    const bool typeMissing = inClear_ && header_[3] == 'F' && (typeSize_ == 0 || readsType_);
    endMessage();
    return typeMissing ? "a response that ends within its type" : nullptr;
}

void ChunkStream::endMessage() {
    messageSize_ = 0;
    messageChunks_ = 0;
    typeBytes_ = 0;
    typeSize_ = 0;
}

}  // namespace nimb
