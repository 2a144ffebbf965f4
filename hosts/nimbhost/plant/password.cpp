#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "nimbhost/certificates/files.h"
#include "nimbhost/plant/plant_file.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

/// Keeps what is typed from showing, until the end of its life.
class NoEcho {
  public:
    NoEcho() {
        if (::tcgetattr(STDIN_FILENO, &before_) != 0) return;
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        changed_ = ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
    }
    ~NoEcho() {
        if (changed_) ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    }
    NoEcho(const NoEcho&) = delete;
    NoEcho& operator=(const NoEcho&) = delete;

  private:
    termios before_{};
    bool changed_ = false;
};

std::string fromFile(const std::string& path) {
    struct stat about {};
    if (::stat(path.c_str(), &about) == 0 && (about.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw BadInput("others can read the password in " + path + "; chmod 600 " + path);
    }
    try {
        std::string password = readWholeFile(path);
        password.resize(std::min(password.find_first_of("\r\n"), password.size()));
        return password;
    } catch (const FileError& error) {
        throw BadInput(error.what());
    }
}

}  // namespace

std::string passwordFor(const PlantSettings& settings) {
    if (!settings.passwordFile.empty()) {
        return fromFile(settings.passwordFile);
    }
    if (const char* password = std::getenv("NIMBOPCUA_PASSWORD")) {
        return password;
    }
    if (!isTerminal(STDIN_FILENO) || !isTerminal(STDERR_FILENO)) {
        throw BadInput("the password of " + *settings.user +
                       " is missing: name a file with password-file in the plant file, or set "
                       "NIMBOPCUA_PASSWORD");
    }
    std::cerr << "Password of " << *settings.user << ": " << std::flush;
    std::string password;
    {
        const NoEcho silence;
        std::getline(std::cin, password);
    }
    std::cerr << '\n';
    return password;
}

}  // namespace nimb::nimbhost
