#include "sqlite/sessions.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace nimb::sqlite {

namespace {

/// What outlives everything: the exit handler runs among the destructors of other modules.
struct Process {
    std::recursive_mutex mutex;
    std::atomic<int> inside = 0;
    std::vector<std::weak_ptr<Session>> sessions;
    std::vector<std::weak_ptr<Closable>> closables;
    pid_t id = getpid();
};

Process& process() {
    static auto* one = new Process;
    return *one;
}

/// Does nothing while a call is on the stack: exit() may have been called by a signal handler.
void closeSessions() {
    Process& all = process();
    if (getpid() != all.id || all.inside != 0 || host::Library::callUnderWay()) {
        return;
    }
    for (const auto& weak : all.closables) {
        if (const auto closable = weak.lock()) closable->close();
    }
}

std::string libraryPath() {
    const char* named = secure_getenv("NIMBOPCUA_LIBRARY");
    return named != nullptr && *named != '\0' ? named : NIMB_INSTALLED_LIBRARY;
}

host::Library* load() {
    auto* loaded = new host::Library(libraryPath());
    // Registered behind the library's own handlers, and so run before them.
    static_cast<void>(std::atexit(closeSessions));
    return loaded;
}

}  // namespace

Gate::Gate() {
    if (getpid() != process().id) {
        throw std::runtime_error("sessions do not survive a fork: open the database after it");
    }
    process().mutex.lock();
    ++process().inside;
}

Gate::~Gate() {
    --process().inside;
    process().mutex.unlock();
}

host::Library& library() {
    static host::Library* loaded = load();
    return *loaded;
}

void closeAtExit(std::weak_ptr<Closable> closable) {
    auto& closables = process().closables;
    std::erase_if(closables, [](const auto& weak) { return weak.expired(); });
    closables.push_back(std::move(closable));
}

std::shared_ptr<Session> sessionFor(const host::Plant& plant) {
    auto& sessions = process().sessions;
    std::erase_if(sessions, [](const auto& weak) { return weak.expired(); });
    for (const auto& weak : sessions) {
        auto session = weak.lock();
        if (session && session->connection.plant() == plant) return session;
    }
    auto session = std::make_shared<Session>(library(), plant);
    sessions.push_back(session);
    closeAtExit(session);
    return session;
}

}  // namespace nimb::sqlite
