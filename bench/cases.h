#pragma once

#include <memory>
#include <string>
#include <vector>

#include "compare.h"
#include "sessions.h"

namespace nimb::bench {

/// What all cases work with: the library and a server at rest.
struct Setting {
    host::Library& library;
    std::string url;
};

/// What is measured: the adapter's CPU time as a multiple of the bare stack's, or the time itself.
enum class Unit { ratio, nanoseconds };

/// One row of the table. `prepare` connects and builds everything that the contest needs and
/// keeps it alive through the contest's functions.
struct Case {
    std::string name;
    Unit unit;
    double target;
    Plan plan;
    std::function<Contest(const Setting&)> prepare;
};

/// Reads, writes, polls and browsing against a server at rest.
void addServiceCases(std::vector<Case>& cases);
/// Notifications of a server whose values change; each case has a server of its own.
void addSubscriptionCases(std::vector<Case>& cases);
/// Reads that are prepared, beside requests that are built by hand from the same bytes.
void addPrepareCases(std::vector<Case>& cases);
/// Services of the bare stack behind the guard of its connection, beside the same without it.
void addGuardCases(std::vector<Case>& cases);
/// Entries that need no server.
void addLocalCases(std::vector<Case>& cases);

/// A poll of the first `count` nodes: doubles only, texts only in wide mode, or doubles, integers
/// and texts in turn.
enum class Mix { doubles, texts, mixed };
Contest pollContest(const Setting& setting, const char* entry, Mix mix, std::uint32_t count);

}  // namespace nimb::bench
