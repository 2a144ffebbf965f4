#pragma once

#include <memory>

#include "base/connection.h"
#include "base/nodes.h"

namespace nimb::sqlite {

/// Lets one thread at a time at the sessions, whichever database it works for. Everything below
/// wants one, and so does the destruction of a session. Throws std::runtime_error in a process that
/// was forked from the one with the sessions.
class Gate {
  public:
    Gate();
    ~Gate();
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;
};

/// Something with a session that must be closed when the process exits.
class Closable {
  public:
    Closable() = default;
    Closable(const Closable&) = delete;
    Closable& operator=(const Closable&) = delete;
    virtual ~Closable() = default;
    virtual void close() noexcept = 0;
};

/// Has it closed at exit if it still exists then.
void closeAtExit(std::weak_ptr<Closable> closable);

/// A session, shared by all tables of the process that have the same access to the same plant.
struct Session : Closable {
    Session(host::Library& library, host::Plant plant)
        : connection(library, std::move(plant)), catalogue(connection) {}
    void close() noexcept override { connection.close(); }

    host::Connection connection;
    host::NodeCatalogue catalogue;
};

/// The adapter, loaded at the first call from $NIMBOPCUA_LIBRARY or from where it is installed;
/// never from a place that SQL names, which would load code where load_extension() must not. From
/// then on the sessions are closed when the process exits, which shells do without closing their
/// databases. Throws host::LoadError.
host::Library& library();

/// The session for a plant; it is opened by its first request.
std::shared_ptr<Session> sessionFor(const host::Plant& plant);

}  // namespace nimb::sqlite
