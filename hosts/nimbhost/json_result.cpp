#include "nimbhost/json_result.h"

#include <charconv>
#include <cmath>

#include "base/text.h"
#include "list/item_payload.h"
#include "nimbhost/entry_table.h"

namespace nimb::standin {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kMaxDepth = 32;  // deeper nesting shows as bytes

Json jsonOf(const VeltoListItem& item, Nesting nesting, bool shaped, int depth);

Json arrayOf(const VeltoROList& list, Nesting nesting, bool shaped, int depth) {
    Json out = Json::array();
    for (const VeltoListItem each : list) out.push_back(jsonOf(each, nesting, shaped, depth));
    return out;
}

Json bytesJson(const VeltoListItem& item) {
    const std::string bytes = item.AsAString();
    if (host::isUtf8(bytes)) return bytes;
    std::string digits;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        digits += "0123456789abcdef"[byte >> 4];
        digits += "0123456789abcdef"[byte & 0xF];
    }
    return {{"hex", digits}};
}

/// A double when its shortest digits are the decimal's own, else the digits as a text.
Json decimalJson(const std::string& digits) {
    double number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    constexpr double exact = 9007199254740992.0;  // 2^53: 15 digits and more survive below
    const std::size_t count = digits.size() - (digits.find('.') != std::string::npos ? 1 : 0) -
                              (digits[0] == '-' ? 1 : 0);
    if (count <= 15 && std::abs(number) < exact) return number;
    return digits;
}

Json realJson(double number) {
    if (std::isnan(number)) return "NaN";
    if (std::isinf(number)) return number < 0 ? "-Infinity" : "Infinity";
    return number;
}

/// A single's own digits: 0.1 and not what the nearest double to it prints.
Json singleJson(float number) {
    if (!std::isfinite(number)) return realJson(static_cast<double>(number));
    char digits[40];
    double nearest = 0;
    const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    std::from_chars(digits, end, nearest);
    return nearest;
}

Json wideJson(const VeltoListItem& item) {
    if (const auto text = host::textOf(item)) return *text;
    return {{"units", describe(VeltoROList(item.header(), item.size()))}};  // lone surrogates
}

Json jsonOf(const VeltoListItem& item, Nesting nesting, bool shaped, int depth) {
    const ItemPayload payload(item);
    switch (payload.type) {
        case item_code::kUndefined:
            return nullptr;
        case item_code::kBytes:
            if (shaped && payload.length == 0) return Json::array();
            if (nesting == Nesting::guess && depth < kMaxDepth &&
                looksLikeList({payload.bytes, payload.length})) {
                return arrayOf(item.AsVeltoROList(), nesting, false, depth + 1);
            }
            return bytesJson(item);
        case item_code::kUnicode:
            return wideJson(item);
        case item_code::kPosInteger:
        case item_code::kNegInteger:
            return payload.integer();
        case item_code::kIeee:
            return payload.length == sizeof(float) ? singleJson(static_cast<float>(payload.ieee()))
                                                   : realJson(payload.ieee());
        default:
            return decimalJson(describe(VeltoROList(item.header(), item.size())));
    }
}

/// The name without the shape that stands behind it.
std::string shortName(const std::string& name) {
    return name.substr(0, std::min(name.find(" ["), name.find(" (")));
}

Json fieldsOf(std::string_view names, const VeltoROList& items, std::size_t first,
              Nesting nesting) {
    Json out = Json::object();
    for (std::size_t i = first; i < items.size(); ++i) {
        const std::string name = fieldName(names, i - first);
        // An empty list has no bytes, as the empty text; the name tells which one it is. Nothing
        // stands for a node's missing value in the same way.
        const bool list = name.ends_with(']') && !name.starts_with("node");
        out[shortName(name)] = jsonOf(items.at(i), nesting, list, 0);
    }
    return out;
}

}  // namespace

Json jsonOf(std::string_view entry, const Outcome& outcome, Nesting nesting) {
    Json out{{"entry", entry}, {"status", outcome.failed ? 1 : 0}};
    const std::size_t first = outcome.hasStatus ? 1 : 0;
    if (outcome.untouched || outcome.cut) {
        out["tooLong"] = true;
    } else if (outcome.failed) {
        out["failure"] = fieldsOf("error kind; code; text", outcome.result, first, nesting);
    } else {
        const EntryHelp* help = findHelp(entry);
        const char* names = help == nullptr || help->results == nullptr ? "" : help->results;
        out["results"] = fieldsOf(names, outcome.result, first, nesting);
    }
    return out;
}

}  // namespace nimb::standin
