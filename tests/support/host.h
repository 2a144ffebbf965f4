#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/library.h"
#include "host/counted_string.h"
#include "list/velto_list.h"

namespace nimb::test {

/// What a call returned: a copy of the output's list, or nothing when the output was left as it
/// was.
class Result {
  public:
    Result() = default;
    explicit Result(const std::vector<unsigned char>& bytes)
        : written_(true), list_(bytes.data(), bytes.size()) {}

    [[nodiscard]] bool written() const { return written_; }
    [[nodiscard]] bool ok() const { return written_ && list_.at(0).AsLong() == 0; }
    /// The items behind each other, the status first: 42, -0.5 (a decimal), f0.5 (floating point),
    /// "bytes", u"text", null, and [...] for 8-bit strings that are lists and no printable text.
    [[nodiscard]] std::string text() const;
    [[nodiscard]] const VeltoList& list() const { return list_; }
    /// Item `i`; 0 is the status.
    [[nodiscard]] VeltoListItem operator[](std::size_t i) const { return list_.at(i); }
    /// Item `i` as the list it holds.
    [[nodiscard]] VeltoROList sublist(std::size_t i) const { return list_.at(i).AsVeltoROList(); }

  private:
    bool written_ = false;
    VeltoList list_;
};

/// The same form for any list.
[[nodiscard]] std::string textOf(const VeltoROList& list);

/// The failure list's text form: `1, kind, code, u"text"`.
[[nodiscard]] std::string failure(int kind, long long code, const std::string& text);

inline void appendArgument(VeltoList& list, double value) { list.appendIEEE64(value); }
inline void appendArgument(VeltoList& list, const char* text) { list += std::string(text); }
template <typename T>
void appendArgument(VeltoList& list, const T& value) {
    list += value;
}

/// A list of arguments: integers, 8-bit and 16-bit strings, floating point (as such), VeltoNull,
/// and inner lists.
template <typename... T>
VeltoList listOf(const T&... values) {
    VeltoList list;
    (appendArgument(list, values), ...);
    return list;
}

/// A list of one repeated value.
template <typename T>
VeltoList repeated(std::size_t count, const T& value) {
    VeltoList list;
    for (std::size_t i = 0; i < count; ++i) {
        appendArgument(list, value);
    }
    return list;
}

/// The shared library under test, loaded as a host loads it.
class Host {
  public:
    Host();

    template <typename... T>
    Result call(std::string_view entry, const T&... arguments) {
        return callWith(entry, listOf(arguments...));
    }
    Result callWith(std::string_view entry, const VeltoROList& arguments);
    host::Library& library() { return library_; }

    /// A client set up in clear, not connected. Throws std::runtime_error when a step fails.
    long newClient(int timeout = 5000, int stringMode = 0);
    /// The same, connected to the server.
    long connectedClient(const std::string& url, int timeout = 5000, int stringMode = 0);

  private:
    host::Library library_;
};

}  // namespace nimb::test
