#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "nimbhost/certificates/files.h"
#include "nimbhost/plant/plant_file.h"
#include "nimbhost/terminal/input_mode.h"
#include "nimbhost/terminal/interruption.h"
#include "nimbhost/terminal/terminal.h"

namespace nimb::nimbhost {

namespace {

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
        const InputMode silent(ECHO);
        std::getline(std::cin, password);
    }
    std::cerr << '\n';
    checkInterrupted();
    if (!std::cin) throw BadInput("no password of " + *settings.user + " was typed");
    return password;
}

}  // namespace nimb::nimbhost
