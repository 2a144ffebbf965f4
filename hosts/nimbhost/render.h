#pragma once

#include <span>
#include <string>

#include "list/ro_list.h"

namespace nimb::standin {

/// How nested lists are told from text, which the encoding does not: both travel as 8-bit items.
enum class Nesting {
    guess,  ///< a list where looksLikeList() says so
    raw,    ///< always text
};

/// Whether bytes are an encoded list rather than text: they are not printable UTF-8, and they are
/// exactly a run of one or more items, each of a known type and as a writer would have written it.
/// An empty nested list cannot be told from the empty text and passes for text; a byte string can
/// look like a list by accident.
bool looksLikeList(std::span<const unsigned char> bytes) noexcept;

// All of these throw std::exception for bytes that are no well-formed list.

/// The items in one line, in the form in which arguments are typed:
///
///     0, -3, "text", u"wide text", null, 1.5, f:0.1, f32:0.25, ["nested", 1]
std::string describe(const VeltoROList& list, Nesting nesting = Nesting::guess);

/// The items in one line with their exact types, for comparison in tests:
///
///     i:0 i:-3 s:"text" u:"wide text" n d:1.5 f:0.1 f32:0.25 [s:"nested" i:1]
///
/// i integer, d decimal (canonical text: no exponent, no zero before the point), s 8-bit text or
/// bytes, u 16-bit text, n undefined, f double, f32 single. Text shows as UTF-8; a byte that is
/// none, and control characters, as \xHH, in 16-bit text as \uHHHH. Exactly one blank between
/// items, none inside the brackets.
std::string typed(const VeltoROList& list, Nesting nesting = Nesting::guess);

/// One item as describe() shows it, a list that does not fit broken into several lines. `indent` is
/// the column at which it begins, `width` the columns of a line.
std::string describeItem(const VeltoListItem& item, Nesting nesting, std::size_t indent,
                         std::size_t width);

/// Offset, bytes and characters of each 16 bytes, a line each.
std::string hexDump(std::span<const unsigned char> bytes);

}  // namespace nimb::standin
