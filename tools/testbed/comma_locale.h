#pragma once

#include <clocale>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "testbed/temp_dir.h"

namespace nimb::test {

/// Puts the process under a locale with a decimal comma, made on the spot, until this object goes.
/// Throws std::runtime_error when it cannot be made.
class CommaLocale {
  public:
    CommaLocale() {
        const std::string source = folder_.write("comma",
                                                 "LC_NUMERIC\ndecimal_point \",\"\n"
                                                 "thousands_sep \".\"\ngrouping 3;3\n"
                                                 "END LC_NUMERIC\n");
        const std::string made = folder_.path() / "xx_XX";
        const std::string command = "localedef -c -i " + source + " " + made + " >/dev/null 2>&1";
        // What else a locale has is missing, which localedef minds: what counts is the outcome.
        // NOLINTNEXTLINE(cert-env33-c): a fixed command of the test's own
        static_cast<void>(std::system(command.c_str()));
        setenv("LOCPATH", folder_.path().c_str(), 1);
        if (std::setlocale(LC_NUMERIC, "xx_XX") == nullptr || std::strtod("1,5", nullptr) != 1.5) {
            throw std::runtime_error("no locale with a decimal comma: " + command);
        }
    }
    ~CommaLocale() {
        std::setlocale(LC_NUMERIC, "C");
        unsetenv("LOCPATH");
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

  private:
    TempDir folder_;
};

}  // namespace nimb::test
