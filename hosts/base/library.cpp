#include "base/library.h"

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <iterator>

#include "base/services.h"

namespace nimb::host {

namespace {

using TableFunction = decltype(&GetZFTable);

/// No result is that long, so a length still at this value was not written.
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
    const nimb_callout_row* first = getTable(&callback, services());
    if (first == nullptr) {
        throw LoadError(path + " has no callout table");
    }
    const nimb_callout_row* last = first;
    while (last->name != nullptr && last->arguments != nullptr && last->function != nullptr) {
        ++last;
    }
    return {first, last};
}

std::atomic<bool> underWay = false;

/// One call at a time in the whole process, its results taken before the next begins.
class Turn {
  public:
    Turn() : lock_(mutex()) {
        underWay = true;
        // open62541 1.4.11 takes EINTR or EAGAIN that a database left here for its own socket's
        // and then waits for a closed connection until the timeout.
        errno = 0;
    }
    ~Turn() { underWay = false; }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

  private:
    // Never destroyed: handlers that run at exit still call.
    static std::mutex& mutex() {
        static auto* mutex = new std::mutex;
        return *mutex;
    }

    std::lock_guard<std::mutex> lock_;
};

template <typename Function>
Function functionOf(const nimb_callout_row& row) {
    return reinterpret_cast<Function>(row.function);
}

/// The row that was found for an entry. Throws CallError when there is none or it is of another
/// form.
const nimb_callout_row& checked(const nimb_callout_row* found, std::string_view entry,
                                std::string_view arguments) {
    if (found == nullptr) {
        throw CallError("the library has no entry \"" + std::string(entry) + "\"");
    }
    if (arguments != found->arguments) {
        throw CallError(std::string(entry) + " has the arguments \"" + found->arguments +
                        "\", not \"" + std::string(arguments) + "\"");
    }
    return *found;
}

void checkReturned(const nimb_callout_row& row, int returned) {
    if (returned != 0) {
        throw CallError(std::string(row.name) + " returned " + std::to_string(returned) +
                        " instead of 0");
    }
}

}  // namespace

bool Library::callUnderWay() noexcept { return underWay; }

Library::Library(const std::string& path, Care care) : rows_(tableOf(path)), care_(care) {}

const nimb_callout_row* Library::find(std::string_view entry) const noexcept {
    const auto found = std::find_if(rows_.begin(), rows_.end(),
                                    [entry](const auto& row) { return row.name == entry; });
    return found == rows_.end() ? nullptr : &*found;
}

const nimb_callout_row& Library::row(std::string_view entry, std::string_view arguments) const {
    return checked(find(entry), entry, arguments);
}

void Library::passArguments(std::span<const unsigned char> arguments) {
    in_->length = static_cast<std::uint16_t>(arguments.size());
    unsigned char* stale = std::copy(arguments.begin(), arguments.end(), in_->data);
    out_->length = 0;
    if (care_ == Care::strict) {
        // What lies behind the arguments is left over from earlier calls. Here it becomes integer
        // items, so that an entry that reads too far finds something it would take for arguments.
        for (bool header = true; stale != std::end(in_->data); header = !header) {
            *stale++ = header ? 2 : 4;
        }
        out_->length = kUntouchedLength;
        std::fill(std::begin(out_->data), std::end(out_->data), kUntouchedByte);
    }
}

std::optional<ResultBytes> Library::takeResult() {
    if (care_ == Care::strict) {
        const bool written = out_->length != kUntouchedLength;
        if (written && out_->length > nimb_string_capacity) {
            throw CallError("the output was written without a valid length");
        }
        const unsigned char* end = out_->data + (written ? out_->length : 0);
        if (!std::all_of(end, static_cast<const unsigned char*>(std::end(out_->data)),
                         [](unsigned char byte) { return byte == kUntouchedByte; })) {
            throw CallError("the output was written behind its length");
        }
    }
    // Every result begins with its status, so an empty one is none.
    if (out_->length == 0 || out_->length > nimb_string_capacity) {
        return std::nullopt;
    }
    return ResultBytes(std::exchange(out_, std::make_unique_for_overwrite<nimb_string>()));
}

std::optional<ResultBytes> Library::call(std::string_view entry,
                                         std::span<const unsigned char> arguments) {
    if (arguments.size() > nimb_string_capacity) {
        throw CallError("the arguments take " + std::to_string(arguments.size()) +
                        " bytes; a host passes at most 32767");
    }
    const nimb_callout_row* found = find(entry);
    const bool withoutInput = found != nullptr && std::string_view(found->arguments) == "B";
    const nimb_callout_row& called = checked(found, entry, withoutInput ? "B" : "Bb");
    if (withoutInput && !arguments.empty()) {
        throw CallError(std::string(entry) + " takes no arguments");
    }
    if (observer_) observer_(entry, VeltoROList(arguments.data(), arguments.size()));
    const Turn turn;
    passArguments(arguments);
    checkReturned(called, withoutInput ? functionOf<int (*)(nimb_string*)>(called)(out_.get())
                                       : functionOf<int (*)(nimb_string*, const nimb_string*)>(
                                             called)(out_.get(), in_.get()));
    return takeResult();
}

int Library::callRaw(std::string_view entry, void* out, const void* in) {
    const Turn turn;
    return functionOf<int (*)(void*, const void*)>(row(entry, "Bb"))(out, in);
}

int Library::callInteger(std::string_view entry) {
    const nimb_callout_row& found = row(entry, "P");
    const Turn turn;
    int number = 0;
    checkReturned(found, functionOf<int (*)(int*)>(found)(&number));
    return number;
}

std::optional<std::string> Library::callText(std::string_view entry, unsigned int argument) {
    const nimb_callout_row& found = row(entry, "1Ji");
    const Turn turn;
    Descriptor text;
    checkReturned(found,
                  functionOf<int (*)(nimb_descriptor*, unsigned int)>(found)(text.get(), argument));
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

const std::string& Library::statusName(std::uint32_t status) {
    const std::lock_guard<std::mutex> lock(namesMutex_);
    const auto known = names_.find(status);
    if (known != names_.end()) {
        return known->second;
    }
    const auto bytes = call("zfGetStatusCodeNameB", VeltoList() + std::int64_t{status});
    const VeltoROList result(bytes ? bytes->data() : nullptr, bytes ? bytes->size() : 0);
    if (result.at(0).AsLong() != 0) {
        throw CallError("zfGetStatusCodeNameB names no status");
    }
    return names_[status] = result.at(1).AsAString();
}

}  // namespace nimb::host
