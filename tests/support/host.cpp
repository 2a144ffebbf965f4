#include "support/host.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace nimb::test {

namespace {

std::string narrow(const std::u16string& units) {
    std::string text;
    for (const char16_t unit : units) {
        char escape[8];
        if (unit >= 0x20 && unit < 0x7F) {
            text += static_cast<char>(unit);
        } else {
            std::snprintf(escape, sizeof escape, "\\%04X", unit);
            text += escape;
        }
    }
    return text;
}

bool printable(const std::string& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](unsigned char c) { return c >= 0x20; });
}

bool isList(const VeltoROList& list) {
    try {
        for (const VeltoListItem item : list) {
            const int type = item.Type();
            if (type == 0 || type == 3 || type > item_code::kIeee) {
                return false;
            }
        }
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

std::string bytesText(const VeltoListItem& item) {
    const std::string bytes = item.AsAString();
    if (!printable(bytes) && isList(item.AsVeltoROList())) {
        return "[" + textOf(item.AsVeltoROList()) + "]";
    }
    return "\"" + bytes + "\"";
}

std::string itemText(const VeltoListItem& item) {
    switch (item.Type()) {
        case item_code::kUndefined:
            return "null";
        case item_code::kBytes:
            return bytesText(item);
        case item_code::kUnicode:
            return "u\"" + narrow(item.AsXString()) + "\"";
        case item_code::kIeee: {
            char text[40];
            std::snprintf(text, sizeof text, "f%.17g", item.AsDouble());
            return text;
        }
        default:
            return item.AsAString();
    }
}

void require(const Result& result, const char* step) {
    if (!result.ok()) {
        throw std::runtime_error(std::string(step) + ": " + result.text());
    }
}

}  // namespace

std::string textOf(const VeltoROList& list) {
    std::string text;
    for (std::size_t i = 0; i < list.size(); ++i) {
        text += (i == 0 ? "" : ", ") + itemText(list.at(i));
    }
    return text;
}

std::string Result::text() const { return written_ ? textOf(list_) : "output untouched"; }

std::string failure(int kind, long long code, const std::string& text) {
    return "1, " + std::to_string(kind) + ", " + std::to_string(code) + ", u\"" + text + "\"";
}

Host::Host() : library_(NIMB_LIBRARY_PATH, host::Library::Care::strict) {}

Result Host::callWith(std::string_view entry, const VeltoROList& arguments) {
    const auto bytes = library_.call(entry, arguments);
    return bytes ? Result(*bytes) : Result();
}

long Host::newClient(int timeout, int stringMode) {
    const Result created = call("zfCreateClientB");
    require(created, "zfCreateClientB");
    const long handle = created[1].AsLong();
    require(call("zfSetupClientC", handle, timeout, 1, "", "", "", "", "", stringMode),
            "zfSetupClientC");
    return handle;
}

long Host::connectedClient(const std::string& url, int timeout, int stringMode) {
    const long handle = newClient(timeout, stringMode);
    require(call("zfConnectB", handle, url), "zfConnectB");
    return handle;
}

}  // namespace nimb::test
