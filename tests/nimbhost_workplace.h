#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "testbed/temp_dir.h"

namespace nimb::test {

namespace fs = std::filesystem;

constexpr const char* kServerUri = "urn:nimbopcua:plant-server";
constexpr const char* kClientUri = "urn:waterworks-north:nimb-client";

struct Outcome {
    int status = -1;
    std::string out, err;
};

/// A folder to run commands in, with nimbhost in the path.
class Workplace {
  public:
    Outcome run(const std::string& command) const {
        const std::string line = "cd '" + folder.path().string() + "' && PATH='" +
                                 fs::path(NIMB_HOST_PROGRAM).parent_path().string() +
                                 "':$PATH NIMBOPCUA_LIBRARY='" NIMB_LIBRARY_PATH
                                 "' && export PATH "
                                 "NIMBOPCUA_LIBRARY && { " +
                                 command + "\n} >.out 2>.err </dev/null";
        const int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                readFile(folder.path() / ".out"), readFile(folder.path() / ".err")};
    }
    std::string file(const std::string& name) const { return readFile(folder.path() / name); }

    TempDir folder;
};

inline std::vector<nlohmann::json> jsonLines(const std::string& text) {
    std::vector<nlohmann::json> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) out.push_back(nlohmann::json::parse(line));
    return out;
}

inline bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

}  // namespace nimb::test
