#include "damage.h"

#include <algorithm>
#include <cstring>

namespace nimb::fuzz {

namespace {

constexpr std::size_t kSizeAt = 4;
constexpr std::size_t kBody = 24;  // of a message

void put(std::string& bytes, std::size_t at, std::uint32_t number, std::size_t size) {
    std::memcpy(bytes.data() + at, &number, std::min(size, bytes.size() - at));
}

void putSize(std::string& bytes) {
    if (bytes.size() >= kSizeAt + sizeof(std::uint32_t)) {
        put(bytes, kSizeAt, static_cast<std::uint32_t>(bytes.size()), sizeof(std::uint32_t));
    }
}

std::string chunk(const char* type, std::size_t size, std::uint32_t filling) {
    std::string bytes = type;
    bytes.resize(std::max<std::size_t>(size, 8), static_cast<char>(filling));
    putSize(bytes);
    return bytes;
}

/// A chunk that no reply is, complete in itself.
std::string stranger(const Damage& damage) {
    static constexpr const char* types[] = {"HELF", "CLOF", "ERRF", "ACKF", "RHEF",
                                            "MSGA", "OPNC", "XYZF", "MSGX", "ERRC"};
    const char* type = types[damage.value % std::size(types)];
    return chunk(type, damage.at % 80, damage.value >> 8);
}

/// The message in two chunks, cut anywhere in its body.
std::vector<std::string> inTwoChunks(const std::string& reply, std::size_t at) {
    if (reply.size() < kBody || !reply.starts_with("MSG")) {
        return {reply};
    }
    const std::size_t cut = kBody + at % (reply.size() - kBody + 1);
    std::string first = reply.substr(0, cut);
    std::string second = reply.substr(0, kBody) + reply.substr(cut);
    first[3] = 'C';
    putSize(first);
    putSize(second);
    std::uint32_t sequenceNumber = 0;
    std::memcpy(&sequenceNumber, reply.data() + 16, sizeof sequenceNumber);
    put(second, 16, sequenceNumber + 1, sizeof sequenceNumber);
    return {first + second};
}

}  // namespace

Damage Damage::take(Input& input) {
    Damage damage;
    damage.reply = input.take<std::uint8_t>();
    damage.kind = input.take<std::uint8_t>();
    damage.at = input.take<std::uint16_t>();
    damage.value = input.take<std::uint32_t>();
    return damage;
}

std::vector<std::string> damaged(const std::string& reply, const Damage& damage) {
    std::string bytes = reply;
    const std::size_t at = damage.at % reply.size();
    const std::size_t body = reply.size() > kBody ? kBody : 0;
    const std::size_t inBody = body + damage.at % (reply.size() - body);
    switch (damage.kind % 16) {
        case 0:
        case 1:
            put(bytes, inBody, damage.value, 1);
            return {bytes};
        case 2:
        case 3:
            put(bytes, inBody, damage.value, 4);
            return {bytes};
        case 4:
            put(bytes, at, damage.value, 1);
            return {bytes};
        case 5:
            put(bytes, at, damage.value, 4);
            return {bytes};
        case 6:  // the body ends early
            bytes.resize(inBody);
            putSize(bytes);
            return {bytes};
        case 7:  // the message ends early, the next one begins in it
            bytes.resize(at);
            return {bytes};
        case 8:
            bytes.insert(inBody, damage.value % 64, static_cast<char>(damage.value >> 8));
            putSize(bytes);
            return {bytes};
        case 9:
            put(bytes, kSizeAt, damage.value % 40, 4);
            return {bytes};
        case 10:
            put(bytes, 3, damage.value, 1);
            return {bytes};
        case 11:
            return {stranger(damage) + bytes};
        case 12:
            return {bytes + stranger(damage)};
        case 13:
            return {bytes.substr(0, at), bytes.substr(at)};
        case 14:
            return inTwoChunks(bytes, damage.at);
        default:
            return {bytes, bytes};
    }
}

}  // namespace nimb::fuzz
