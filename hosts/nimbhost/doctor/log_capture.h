#pragma once

#include <filesystem>
#include <string>

#include "base/library.h"

namespace nimb::nimbhost {

/// Has the library write its log into a folder that is removed at the end of this object's life.
/// The library writes into the current folder, so this is another one meanwhile: paths that are
/// used must be absolute.
class LogCapture {
  public:
    explicit LogCapture(host::Library& library);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// What was logged so far; empty when nothing can be written.
    std::string text() const;

  private:
    host::Library& library_;
    std::filesystem::path before_;
    std::filesystem::path folder_;
};

}  // namespace nimb::nimbhost
