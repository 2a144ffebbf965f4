#include "list/list_item.h"

#include <bit>
#include <cstring>
#include <exception>

#include "list/item_payload.h"
#include "list/velto_list.h"

namespace nimb {

namespace {

/// Little-endian bytes below the leading bytes of `value`.
unsigned long long readExtended(const unsigned char* bytes, std::size_t count,
                                unsigned long long value) {
    if (count > sizeof value) {
        throw std::exception();
    }
    while (count-- > 0) {
        value = value << 8 | bytes[count];
    }
    return value;
}

}  // namespace

int VeltoListItem::getTypeOfAnyItem(const unsigned char*& payload,
                                    std::size_t& length) const noexcept {
    const ItemHeader header = ItemHeader::read(item_);
    payload = item_ + header.bytes;
    length = 0;
    if (header.content == 0) {
        return item_code::kUndefined;
    }
    length = header.content - 1;
    return *payload++;
}

VeltoList VeltoListItem::AsVeltoList() const { return {data(), datalength()}; }

std::string VeltoListItem::getAscii(const unsigned char* bytes, std::size_t count) {
    return {bytes, bytes + count};
}

std::basic_string<unsigned char> VeltoListItem::getUAscii(const unsigned char* bytes,
                                                          std::size_t count) {
    return {bytes, bytes + count};
}

std::u16string VeltoListItem::getUnicode(const unsigned char* bytes, std::size_t count) {
    std::u16string text(count / 2, u'\0');
    std::memcpy(text.data(), bytes, text.size() * sizeof text[0]);
    return text;
}

long long VeltoListItem::getPosLongLong(const unsigned char* bytes, std::size_t count) {
    const auto value = std::bit_cast<long long>(readExtended(bytes, count, 0));
    if (value < 0) {
        throw std::exception();
    }
    return value;
}

long long VeltoListItem::getNegLongLong(const unsigned char* bytes, std::size_t count) {
    const auto value = std::bit_cast<long long>(readExtended(bytes, count, ~0ULL));
    if (value >= 0) {
        throw std::exception();
    }
    return value;
}

long long ItemPayload::integer() const {
    return type == item_code::kPosInteger ? VeltoListItem::getPosLongLong(bytes, length)
                                          : VeltoListItem::getNegLongLong(bytes, length);
}

DecimalValue ItemPayload::decimal() const {
    if (length == 0) {
        throw std::exception();
    }
    const long exponent = (bytes[0] ^ 0x80L) - 0x80;  // one signed byte
    return {exponent, type == item_code::kPosDecimal
                          ? VeltoListItem::getPosLongLong(bytes + 1, length - 1)
                          : VeltoListItem::getNegLongLong(bytes + 1, length - 1)};
}

double ItemPayload::ieee() const {
    double value = 0.0;
    float single = 0.0F;
    if (length == sizeof value) {
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    if (length != sizeof single) {
        throw std::exception();
    }
    std::memcpy(&single, bytes, sizeof single);
    return single;
}

std::size_t ItemPayload::evenUnits() const {
    if (length % 2 != 0) {
        throw std::exception();
    }
    return length / 2;
}

}  // namespace nimb
