#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>

#include "reading_plant.h"
#include "testbed/child_process.h"
#include "testbed/host.h"
#include "testbed/temp_dir.h"

namespace nimb::test {

inline constexpr const char* clientUri = "urn:nimbopcua:test-client";

/// What zfSetupClientC takes beside the handle.
struct Preparation {
    long long mode = 1;
    std::string certificate = {};
    std::string key = {};
    std::string trusted = {};
    std::string revoked = {};
    std::string uri = clientUri;
    long long timeout = 3000;
    int stringMode = 0;
};

inline Result setUp(Host& host, long client, const Preparation& s) {
    return host.call("zfSetupClientC", client, s.timeout, s.mode, s.certificate, s.key, s.trusted,
                     s.revoked, s.uri, s.stringMode);
}

/// A fresh current directory, in which the library may write its log; logging is off at the end.
class LogFolder {
  public:
    explicit LogFolder(Host& host) : host_(host) {}
    ~LogFolder() { host_.call("zfSetLogFile", ""); }
    LogFolder(const LogFolder&) = delete;
    LogFolder& operator=(const LogFolder&) = delete;

    /// Logs to a new file.
    void begin() { host_.call("zfSetLogFile", "part" + std::to_string(++part_)); }
    /// What has been logged since; nothing when there is no such file.
    [[nodiscard]] std::string text() const {
        const auto file = folder_.path() / ("uaclogfile_part" + std::to_string(part_) + ".txt");
        return std::filesystem::exists(file) ? readFile(file) : "";
    }
    /// True when one of those lines holds both, the one behind the other.
    [[nodiscard]] bool has(const std::string& source, const std::string& message) const {
        std::istringstream lines(text());
        for (std::string line; std::getline(lines, line);) {
            const std::size_t at = line.find(source);
            if (at != std::string::npos && line.find(message, at) != std::string::npos) return true;
        }
        return false;
    }
    [[nodiscard]] const TempDir& folder() const { return folder_; }

  private:
    Host& host_;
    WorkingDir folder_;
    int part_ = 0;
};

/// Work in a copy of this process, with the text it returns. The copy dies with its maker.
class Fork {
  public:
    explicit Fork(const std::function<std::string()>& work) {
        std::array<int, 2> pipe{};
        if (pipe2(pipe.data(), O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
        process_ = fork();
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int out = fcntl(pipe[1], F_DUPFD, 10);  // `work` may close the streams
            const std::string text = guarded(work);
            _exit(write(out, text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0
                                                                                            : 1);
        }
        close(pipe[1]);
        answer_ = pipe[0];
    }
    ~Fork() {
        kill(process_, SIGKILL);
        int status = 0;
        awaitProcess(process_, 0, status);
        close(answer_);
    }
    Fork(const Fork&) = delete;
    Fork& operator=(const Fork&) = delete;

    /// Waits for the work's text; incomplete when the copy died.
    [[nodiscard]] std::string text() const {
        std::string all;
        std::array<char, 4096> part{};
        for (ssize_t got = 0; (got = read(answer_, part.data(), part.size())) > 0;) {
            all.append(part.data(), static_cast<std::size_t>(got));
        }
        return all;
    }

  private:
    static std::string guarded(const std::function<std::string()>& work) noexcept {
        try {
            return work();
        } catch (const std::exception& error) {
            return error.what();
        }
    }

    pid_t process_ = -1;
    int answer_ = -1;
};

}  // namespace nimb::test
