#pragma once

#include <span>
#include <string>
#include <vector>

#include "base/library.h"
#include "list/velto_list.h"
#include "nimbhost/render.h"
#include "testbed/lists.h"

namespace nimb::test {

/// Any list as nimbhost shows it.
using standin::describe;

/// What a call returned: a copy of the output's list, or nothing when the output was left as it
/// was.
class Result {
  public:
    Result() = default;
    explicit Result(std::span<const unsigned char> bytes)
        : written_(true), list_(bytes.data(), bytes.size()) {}

    [[nodiscard]] bool written() const { return written_; }
    [[nodiscard]] bool ok() const { return written_ && list_.at(0).AsLong() == 0; }
    /// The items as nimbhost shows them, the status first.
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

/// The failure list's text form: `1, kind, code, u"text"`.
[[nodiscard]] std::string failure(int kind, long long code, const std::string& text);

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

    /// A client that was never set up.
    long bareClient();
    /// A client set up in clear, not connected. Throws std::runtime_error when a step fails.
    long newClient(int timeout = 5000, int stringMode = 0);
    /// The same, connected to the server.
    long connectedClient(const std::string& url, int timeout = 5000, int stringMode = 0);

  private:
    host::Library library_;
};

}  // namespace nimb::test
