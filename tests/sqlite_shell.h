#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <string>
#include <utility>

#include "testbed/child_process.h"
#include "testbed/temp_dir.h"

namespace nimb::test {

/// A run of the shell in a folder of its own.
class Shell {
  public:
    /// @param runner  what stands before the shell's name: valgrind, or settings of variables
    explicit Shell(std::string runner = "") : runner_(std::move(runner)) {}

    /// Starts the shell on plant.db with the extension loaded, and the lines as its input.
    pid_t start(const std::string& lines) const {
        folder_.write("input.sql", ".load nimbopcua_sqlite\n" + lines);
        const std::string command = "cd '" + folder_.path().string() +
                                    "' && exec env LD_LIBRARY_PATH='" NIMB_LIBRARY_DIR
                                    "' NIMBOPCUA_LIBRARY='" NIMB_LIBRARY_PATH "' " NIMB_PRELOAD
                                    " " +
                                    runner_ + " sqlite3 -batch plant.db < input.sql > output 2>&1";
        return spawnProcess({"sh", "-c", command}, -1, -1);
    }
    const std::filesystem::path& folder() const { return folder_.path(); }
    std::string output() const { return readFile(folder_.path() / "output"); }

    /// All that it printed, errors included.
    std::string run(const std::string& lines) const {
        int status = 0;
        EXPECT_TRUE(awaitProcess(start(lines), 0, status));
        EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
        return output();
    }

  private:
    TempDir folder_;
    std::string runner_;
};

inline std::string table(const std::string& name, const std::string& url, const std::string& nodes,
                         const std::string& others = "") {
    return "CREATE VIRTUAL TABLE " + name + " USING opcua(url='" + url + "', nodes='" + nodes +
           "'" + others + ");\n";
}

}  // namespace nimb::test
