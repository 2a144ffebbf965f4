#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "base/connection.h"
#include "base/node_id.h"

namespace nimb::sqlite {

/// An argument of CREATE VIRTUAL TABLE that cannot be taken; what() names it.
class BadOption : public std::invalid_argument {
    using std::invalid_argument::invalid_argument;
};

/// The arguments of a table: url=, nodes=, timeout=, certificate=, key=, trusted=, revoked=, uri=,
/// username=, password_env=. Reading them touches neither network nor files nor the environment,
/// for it happens whenever a database's schema is read.
struct TableOptions {
    host::Plant plant;  ///< without its password
    std::vector<host::NodeId> nodes;
    std::string passwordEnvironment;  ///< name of the variable that holds the password

    /// The plant with its password, taken from the environment now. Throws BadOption.
    host::Plant withPassword() const;
};

/// @param arguments  as SQLite passes them, such as "url='opc.tcp://plant:4840'"
/// Throws BadOption and host::BadNode.
TableOptions parseOptions(const std::vector<std::string_view>& arguments);

}  // namespace nimb::sqlite
