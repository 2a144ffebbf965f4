#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "list/velto_list.h"

namespace nimb::standin {

/// Named values, one item each: `$handle` and its like.
class Variables {
  public:
    /// @param item  a list of one item
    void set(std::string_view name, VeltoList item) {
        values_.insert_or_assign(std::string(name), std::move(item));
    }
    /// Declares the variable without a value.
    void declare(std::string_view name) { values_.try_emplace(std::string(name)); }

    /// The value as a list of one item, empty when only declared; null when the name is unknown.
    const VeltoList* find(std::string_view name) const {
        const auto found = values_.find(name);
        return found == values_.end() ? nullptr : &found->second;
    }

    /// While checking, declared variables stand for an undefined item, so that a script's text can
    /// be checked before any call is made.
    bool checking = false;

  private:
    std::map<std::string, VeltoList, std::less<>> values_;
};

}  // namespace nimb::standin
