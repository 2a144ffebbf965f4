#pragma once

#include <string>

namespace nimb::standin {

/// The adapter that belongs to this program: the one in the library folder beside the program's
/// own, built or installed; else the bare name, for the system to find.
std::string defaultLibrary();

}  // namespace nimb::standin
