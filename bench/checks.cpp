#include "checks.h"

#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace nimb::bench {

namespace {

/// UTF-8 of at most two bytes per character, which the server's texts are.
std::u16string widened(std::string_view text) {
    std::u16string wide;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool single = byte < 0x80;
        const auto next = static_cast<unsigned char>(single ? 0 : text.at(++i));
        wide += static_cast<char16_t>(single ? byte : (byte & 0x1F) << 6 | (next & 0x3F));
    }
    return wide;
}

std::string timeText(UA_DateTime time) {
    const UA_DateTimeStruct fields = UA_DateTime_toStruct(time);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u %02u:%02u:%02u.%03u%03u%u", fields.year,
                  fields.month, fields.day, fields.hour, fields.min, fields.sec, fields.milliSec,
                  fields.microSec, fields.nanoSec / 100U);
    return text;
}

bool equals(const VeltoListItem& item, const UA_Variant& value, bool wideText) {
    if (UA_Variant_hasScalarType(&value, &UA_TYPES[UA_TYPES_DOUBLE])) {
        return item.AsDouble() == *static_cast<const double*>(value.data);
    }
    if (UA_Variant_hasScalarType(&value, &UA_TYPES[UA_TYPES_INT32])) {
        return item.AsLongLong() == *static_cast<const UA_Int32*>(value.data);
    }
    const auto& text = *static_cast<const UA_String*>(value.data);
    const std::string expected(reinterpret_cast<const char*>(text.data), text.length);
    return wideText ? item.AsXString() == widened(expected) : item.AsAString() == expected;
}

/// Where a node's parts lie in its list; -1 for those that the layout leaves out.
struct Places {
    int value;
    int time;
    int status;
};

constexpr Places placesOf(Layout layout) {
    return layout == Layout::pollB ? Places{0, 1, -1} : Places{3, 0, 2};
}

}  // namespace

void require(bool condition, const char* what) {
    if (!condition) throw std::runtime_error(std::string("wrong answer: ") + what);
}

void checkRead(Layout layout, bool wideText, const VeltoROList& results,
               const UA_ReadResponse& expected) {
    const bool flat = layout == Layout::pollA || layout == Layout::single;
    const Places places = placesOf(layout);
    const std::size_t count = expected.resultsSize;
    require(count > 0 && results.size() == (flat ? 4 * count : count), "number of items");
    for (std::size_t i = 0; i < count; ++i) {
        const VeltoROList nested = flat ? results : results.at(i).AsVeltoROList();
        const auto part = [&](int place) {
            return nested.at((flat ? 4 * i : 0) + static_cast<std::size_t>(place));
        };
        const UA_DataValue& value = expected.results[i];
        require(equals(part(places.value), value.value, wideText), "value");
        require(part(places.time).AsAString() == timeText(value.sourceTimestamp), "time stamp");
        require(places.status < 0 || part(places.status).AsLongLong() == value.status, "status");
    }
}

void checkBrowse(const VeltoROList& results, const UA_BrowseResponse& expected) {
    require(expected.resultsSize == 1, "number of browsed nodes");
    const UA_BrowseResult& node = expected.results[0];
    const VeltoROList answer = results.at(2).AsVeltoROList().at(0).AsVeltoROList();
    const VeltoROList references = answer.at(3).AsVeltoROList();
    require(references.size() == node.referencesSize, "number of references");
    for (std::size_t i = 0; i < node.referencesSize; ++i) {
        const UA_String& name = node.references[i].browseName.name;
        const VeltoROList browseName = references.at(i).AsVeltoROList().at(3).AsVeltoROList();
        require(browseName.at(0).AsAString() ==
                    std::string(reinterpret_cast<const char*>(name.data), name.length),
                "browse name");
    }
}

void checkLine(const VeltoROList& line, std::size_t items) {
    require(line.size() == items + 1, "number of items in a line");
    const double change = line.at(1).AsVeltoROList().at(3).AsDouble();
    require(change >= 1 && change == std::floor(change), "change");
    for (std::size_t i = 0; i < items; ++i) {
        const double value = line.at(i + 1).AsVeltoROList().at(3).AsDouble();
        require(value == static_cast<double>(i) + change, "changed value");
    }
}

}  // namespace nimb::bench
