#include "nimbhost/callout_library.h"

#include <dlfcn.h>

#include <algorithm>
#include <iterator>

#include "nimbhost/host_services.h"

namespace nimb::standin {

namespace {

using TableFunction = const nimb_callout_row* (*)(void* callback, HostFunction* functions);

// No result is that long, so a length still at this value was not written.
constexpr std::uint16_t kUntouchedLength = 0xFFFF;
constexpr unsigned char kUntouchedByte = 0xA5;

std::string loaderMessage() {
    const char* message = dlerror();
    return message == nullptr ? "no reason given" : message;
}

std::span<const nimb_callout_row> tableOf(const std::string& path) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        throw LoadError("cannot load the library: " + loaderMessage());
    }
    const auto getTable = reinterpret_cast<TableFunction>(dlsym(library, "GetZFTable"));
    if (getTable == nullptr) {
        throw LoadError("not a callout library: " + loaderMessage());
    }
    static char callback;  // the library only keeps this address
    const nimb_callout_row* first = getTable(&callback, hostFunctionTable());
    if (first == nullptr) {
        throw LoadError(path + " has no callout table");
    }
    const nimb_callout_row* last = first;
    while (last->name != nullptr && last->arguments != nullptr && last->function != nullptr) {
        ++last;
    }
    return {first, last};
}

template <typename Function>
Function functionOf(const nimb_callout_row& row) {
    return reinterpret_cast<Function>(row.function);
}

void checkReturned(const nimb_callout_row& row, int returned) {
    if (returned != 0) {
        throw CallError(std::string(row.name) + " returned " + std::to_string(returned) +
                        " instead of 0");
    }
}

}  // namespace

CalloutLibrary::CalloutLibrary(const std::string& path) : rows_(tableOf(path)) {}

const nimb_callout_row* CalloutLibrary::find(std::string_view entry) const noexcept {
    const auto found = std::find_if(rows_.begin(), rows_.end(),
                                    [entry](const auto& row) { return row.name == entry; });
    return found == rows_.end() ? nullptr : &*found;
}

const nimb_callout_row& CalloutLibrary::row(std::string_view entry,
                                            std::string_view arguments) const {
    const nimb_callout_row* found = find(entry);
    if (found == nullptr) {
        throw CallError("the library has no entry \"" + std::string(entry) + "\"");
    }
    if (arguments != found->arguments) {
        throw CallError(std::string(entry) + " has the arguments \"" + found->arguments +
                        "\", not \"" + std::string(arguments) + "\"");
    }
    return *found;
}

// What lies behind the arguments is left over from earlier calls in a host. Here it is filled with
// integer items, so that an entry that reads too far finds something it would take for arguments.
void CalloutLibrary::passArguments(std::span<const unsigned char> arguments) {
    if (arguments.size() > HostBytes::capacity) {
        throw CallError("the arguments take " + std::to_string(arguments.size()) +
                        " bytes; a host passes at most 32767");
    }
    in_->length = static_cast<std::uint16_t>(arguments.size());
    unsigned char* stale = std::copy(arguments.begin(), arguments.end(), in_->data);
    for (bool header = true; stale != std::end(in_->data); header = !header) {
        *stale++ = header ? 2 : 4;
    }
    out_->length = kUntouchedLength;
    std::fill(std::begin(out_->data), std::end(out_->data), kUntouchedByte);
}

std::optional<std::vector<unsigned char>> CalloutLibrary::takeResult() const {
    const auto isUntouched = [](unsigned char byte) { return byte == kUntouchedByte; };
    if (out_->length > HostBytes::capacity) {
        if (out_->length != kUntouchedLength ||
            !std::all_of(std::begin(out_->data), std::end(out_->data), isUntouched)) {
            throw CallError("the output was written without a valid length");
        }
        return std::nullopt;
    }
    if (!std::all_of(out_->data + out_->length, std::end(out_->data), isUntouched)) {
        throw CallError("the output was written behind its length");
    }
    return std::vector<unsigned char>(out_->data, out_->data + out_->length);
}

std::optional<std::vector<unsigned char>> CalloutLibrary::call(
    std::string_view entry, std::span<const unsigned char> arguments) {
    const nimb_callout_row* found = find(entry);
    passArguments(arguments);
    if (found != nullptr && std::string_view(found->arguments) == "B") {
        if (!arguments.empty()) {
            throw CallError(std::string(entry) + " takes no arguments");
        }
        checkReturned(*found, functionOf<int (*)(HostBytes*)>(*found)(out_.get()));
    } else {
        const int returned = callRaw(entry, *out_, *in_);
        checkReturned(*find(entry), returned);
    }
    return takeResult();
}

int CalloutLibrary::callRaw(std::string_view entry, HostBytes& out, const HostBytes& in) {
    return functionOf<int (*)(HostBytes*, const HostBytes*)>(row(entry, "Bb"))(&out, &in);
}

int CalloutLibrary::callInteger(std::string_view entry) {
    const nimb_callout_row& found = row(entry, "P");
    int number = 0;
    checkReturned(found, functionOf<int (*)(int*)>(found)(&number));
    return number;
}

std::optional<std::string> CalloutLibrary::callText(std::string_view entry, unsigned int argument) {
    const nimb_callout_row& found = row(entry, "1Ji");
    Descriptor text;
    checkReturned(found,
                  functionOf<int (*)(HostDescriptor*, unsigned int)>(found)(text.get(), argument));
    const std::span<const unsigned char> written((*text).data, (*text).length);
    if (written.data() == nullptr) {
        return std::nullopt;
    }
    const auto end = std::find(written.begin(), written.end(), '\0');
    if (end == written.end()) {
        throw CallError(std::string(entry) + " wrote a text without a closing NUL");
    }
    return std::string(written.begin(), end);
}

}  // namespace nimb::standin
