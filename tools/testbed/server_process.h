#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace nimb::test {

/// The demonstration server as a process of its own, for tests that kill, freeze and restart it.
/// It never outlives this object nor the thread that made it. Every member that waits throws
/// std::runtime_error when the process does not do its part in time.
class ServerProcess {
  public:
    /// Starts the server with the program's options beside `--port`; it accepts connections when
    /// the constructor returns.
    explicit ServerProcess(std::vector<std::string> options = {});
    /// Another program with the same command line.
    ServerProcess(std::string program, std::vector<std::string> options);
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    const std::string& url() const noexcept { return url_; }
    std::uint16_t port() const noexcept { return port_; }

    /// Ends it without warning (SIGKILL). Nothing when it has ended already.
    void kill() noexcept;
    /// Asks it to end (SIGTERM) and returns its exit status, -1 when a signal ended it.
    int terminate();
    /// Stops the process where it stands; connections stay, answers fail to come. It is frozen
    /// when this returns.
    void freeze();
    void thaw();
    /// Starts a new process on the same port, after `kill` or `terminate`.
    void start();

  private:
    void readReadyLine(int descriptor);

    std::string program_;
    std::vector<std::string> options_;
    std::string url_;
    std::uint16_t port_ = 0;
    pid_t process_ = -1;
};

}  // namespace nimb::test
