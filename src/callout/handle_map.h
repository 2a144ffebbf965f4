#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <new>
#include <utility>

namespace nimb {

/// The registry of objects that hosts address by number. Numbers run 1, 2, 3, ... and none is given
/// out twice while the library stays loaded: Compatibility C7.
template <typename Object>
class HandleMap {
  public:
    /// The process-wide registry, made on first use and not destroyed with the process: hosts may
    /// still call while that winds down.
    static HandleMap& getMap() noexcept {
        alignas(HandleMap) static unsigned char storage[sizeof(HandleMap)];
        if (handle_map == nullptr) {
            handle_map = new (storage) HandleMap;
        }
        return *handle_map;
    }

    /// Whether there is a registry with an object that is not destroyed.
    static bool holdsObjects() noexcept {
        const auto lives = [](const auto& entry) { return entry.second != nullptr; };
        return handle_map != nullptr &&
               std::any_of(handle_map->objects_.begin(), handle_map->objects_.end(), lives);
    }

    /// Destroys the registry and all that it owns, as if it had never been made.
    static void giveBack() noexcept {
        if (HandleMap* map = std::exchange(handle_map, nullptr)) {
            map->~HandleMap();
        }
    }

    /// Takes in a new object and returns its handle.
    long add(std::unique_ptr<Object> object) {
        const long handle = ++lastHandle_;
        objects_.emplace_hint(objects_.end(), handle, std::move(object));
        return handle;
    }

    /// @return the object, owned by the registry; null for a handle that was never given out and
    ///         for one whose object is destroyed
    Object* find(long handle) const {
        const auto entry = objects_.find(handle);
        return entry == objects_.end() ? nullptr : entry->second.get();
    }

    /// Destroys the object; its handle keeps counting.
    void destroy(long handle) { objects_.at(handle).reset(); }

    /// Number of handles given out, those of destroyed objects included.
    [[nodiscard]] std::size_t size() const { return objects_.size(); }

  private:
    inline static HandleMap* handle_map = nullptr;

    std::map<long, std::unique_ptr<Object>> objects_;
    long lastHandle_ = 0;
};

}  // namespace nimb
