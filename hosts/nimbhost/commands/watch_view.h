#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "nimbhost/commands/tool.h"
#include "nimbhost/plant/subscription.h"
#include "nimbhost/terminal/input_mode.h"

namespace nimb::nimbhost {

/// What is known of a node that is watched.
struct WatchedNode {
    std::string name;
    Sample last;
    bool arrived = false;
    unsigned long changes = 0;
    unsigned long overflows = 0;  ///< changes dropped at the server: at least one each time
    Subscription::Clock::time_point when;
};

/// All that a picture shows.
struct WatchState {
    std::vector<WatchedNode> nodes;
    std::string server;  ///< host and port
    bool encrypted = false;
    std::string sentence;  ///< what is wrong just now, or was set right
    bool paused = false;
};

inline constexpr std::size_t kNoLimit = 100000;

/// The picture for a terminal, at most `width` columns wide and `height` lines high.
std::vector<std::string> pictureOf(const WatchState& state, const Subscription& subscription,
                                   host::Library& library, std::size_t width, std::size_t height);

/// A terminal that is drawn over and over, with keys that arrive one by one. What it was before
/// comes back at the end of its life.
class Screen {
  public:
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    void draw(const std::vector<std::string>& lines);
    /// The key that was pressed, or 0.
    char key();

  private:
    InputMode keys_{ICANON | ECHO};
};

}  // namespace nimb::nimbhost
