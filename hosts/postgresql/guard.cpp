#include "postgresql/guard.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "base/node_id.h"
#include "base/write.h"
#include "postgresql/session.h"

namespace nimb::postgresql {

namespace {

/// Copies as much as there is room for, without a part of a character at the end.
template <std::size_t Size>
void copyText(char (&to)[Size], std::string_view from) noexcept {
    std::size_t length = std::min(from.size(), Size - 1);
    while (length < from.size() && length > 0 && (from[length] & 0xC0) == 0x80) --length;
    std::copy_n(from.data(), length, to);
    to[length] = '\0';
}

void fill(NimbError& error, NimbErrorKind kind, std::string_view text) noexcept {
    error.kind = kind;
    error.node[0] = '\0';
    error.in_doubt = false;
    copyText(error.text, text);
}

/// "BadTimeout: The operation timed out." of the library's
/// "OPC UA Error 0x800A0000  [BadTimeout] The operation timed out. : [B8]".
std::string plainText(const host::Failure& failure) {
    std::string_view text = failure.what();
    constexpr int kStatus = 4;
    const std::size_t own = text.find(" : ");
    if (failure.kind() == kStatus) {
        const std::size_t open = text.find('[');
        const std::size_t close = text.find(']');
        if (open < close && close < own && close != std::string_view::npos) {
            std::string_view rest = text.substr(close + 1, own - close - 1);
            const std::string name(text.substr(open + 1, close - open - 1));
            rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
            return rest.empty() ? name : name + ": " + std::string(rest);
        }
        return std::string(text.substr(0, own));
    }
    // The last part is the failure's own; a tag in brackets tells where in the library it arose.
    const std::size_t last = text.rfind(" : ");
    const std::string_view words = last == std::string_view::npos ? text : text.substr(last + 3);
    const std::size_t tag = words.find('[');
    return std::string(tag == 0 ? text.substr(0, last) : words.substr(0, tag));
}

void fillFailure(const Session* session, NimbError& error, const host::Failure& failure) {
    const bool lost = failure.closed() || (session != nullptr && !session->connection.isOpen());
    fill(error,
         lost                 ? NIMB_CONNECT
         : failure.timedOut() ? NIMB_TIMEOUT
                              : NIMB_OPCUA,
         plainText(failure));
    error.in_doubt = failure.inDoubt();
}

}  // namespace

void nameNode(NimbError& error, const char* node) noexcept {
    if (error.node[0] == '\0') copyText(error.node, node);
}

void describeException(const Session* session, NimbError& error) noexcept {
    try {
        try {
            throw;
        } catch (const host::Failure& failure) {
            fillFailure(session, error, failure);
        } catch (const host::OutOfRange& refusal) {
            fill(error, NIMB_RANGE, refusal.what());
        } catch (const host::Refusal& refusal) {
            fill(error, NIMB_VALUE, refusal.what());
        } catch (const host::BadNode& bad) {
            fill(error, NIMB_NODE, bad.what());
        } catch (const host::LoadError& missing) {
            fill(error, NIMB_LIBRARY, missing.what());
        } catch (const std::bad_alloc&) {
            fill(error, NIMB_MEMORY, "out of memory");
        } catch (const std::exception& other) {
            fill(error, NIMB_OPCUA, other.what());
        }
    } catch (...) {  // memory ran out while the text was made
        fill(error, NIMB_MEMORY, "out of memory");
    }
}

}  // namespace nimb::postgresql
