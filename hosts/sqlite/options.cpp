#include "sqlite/options.h"

#include <charconv>
#include <cstdlib>
#include <set>

#include "base/text.h"

namespace nimb::sqlite {

namespace {

constexpr std::string_view kSpaces = " \t\r\n";

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(kSpaces);
    return begin == std::string_view::npos
               ? std::string_view()
               : text.substr(begin, text.find_last_not_of(kSpaces) - begin + 1);
}

/// The text in SQL's quotes, where the quote itself stands doubled; what is not quoted, as it is.
std::string unquoted(const std::string& name, std::string_view text) {
    if (text.empty() || (text.front() != '\'' && text.front() != '"')) {
        return std::string(text);
    }
    const char quote = text.front();
    std::string out;
    std::size_t i = 1;
    for (; i < text.size(); ++i) {
        if (text[i] == quote && (++i == text.size() || text[i] != quote)) break;
        out += text[i];
    }
    if (i != text.size() || text.size() < 2 || text.back() != quote) {
        throw BadOption("option " + name + ": the quotes do not match");
    }
    return out;
}

int timeoutOf(const std::string& text) {
    constexpr int most = 3600000;
    int milliseconds = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, milliseconds);
    if (error != std::errc{} || stop != end || milliseconds < 1 || milliseconds > most) {
        throw BadOption("option timeout: milliseconds from 1 to 3600000, not \"" +
                        host::printable(text) + '"');
    }
    return milliseconds;
}

void take(TableOptions& options, const std::string& name, std::string value) {
    host::Plant& plant = options.plant;
    const std::pair<const char*, std::string*> texts[] = {
        {"url", &plant.url},
        {"certificate", &plant.certificate},
        {"key", &plant.key},
        {"trusted", &plant.trusted},
        {"revoked", &plant.revoked},
        {"uri", &plant.uri},
        {"password_env", &options.passwordEnvironment},
    };
    for (const auto& [known, target] : texts) {
        if (name == known) {
            *target = std::move(value);
            return;
        }
    }
    if (name == "timeout") {
        plant.timeout = timeoutOf(value);
    } else if (name == "username") {
        plant.username = std::move(value);
    } else if (name == "nodes") {
        options.nodes = host::parseNodes(value);
    } else {
        constexpr std::size_t quoted = 40;
        throw BadOption("unknown option \"" + host::printable(name.substr(0, quoted)) +
                        "\"; there are url, nodes, timeout, certificate, key, trusted, revoked, "
                        "uri, username, password_env");
    }
}

void check(const TableOptions& options) {
    constexpr std::size_t mostNodes = 100000;
    const host::Plant& plant = options.plant;
    if (!plant.url.starts_with("opc.tcp://")) {
        throw BadOption("option url: opc.tcp://HOST:PORT is wanted");
    }
    if (options.nodes.empty()) throw BadOption("option nodes is missing");
    if (options.nodes.size() > mostNodes) throw BadOption("option nodes: more than 100000 nodes");
    const bool files = !(plant.key + plant.trusted + plant.revoked + plant.uri).empty();
    if (plant.certificate.empty() && files) {
        throw BadOption("options key, trusted, revoked and uri belong to a certificate");
    }
    if (!plant.certificate.empty() && plant.key.empty()) {
        throw BadOption("option certificate needs a key");
    }
    if (!plant.username && !options.passwordEnvironment.empty()) {
        throw BadOption("option password_env needs a username");
    }
}

}  // namespace

host::Plant TableOptions::withPassword() const {
    host::Plant complete = plant;
    if (!passwordEnvironment.empty()) {
        const char* password = std::getenv(passwordEnvironment.c_str());
        if (password == nullptr) {
            throw BadOption("option password_env: the environment has no variable " +
                            host::printable(passwordEnvironment));
        }
        complete.password = password;
    }
    return complete;
}

TableOptions parseOptions(const std::vector<std::string_view>& arguments) {
    constexpr std::size_t most = 4000;  // two texts of an entry's arguments, which take 32767 bytes
    TableOptions options;
    std::set<std::string> seen;
    for (const std::string_view argument : arguments) {
        const std::size_t equals = argument.find('=');
        const std::string name(trimmed(argument.substr(0, equals)));
        if (equals == std::string_view::npos) {
            throw BadOption("\"" + host::printable(trimmed(argument).substr(0, 40)) +
                            "\" is not NAME='VALUE'");
        }
        if (!seen.insert(name).second) {
            throw BadOption("option " + host::printable(name) + " is given twice");
        }
        std::string value = unquoted(name, trimmed(argument.substr(equals + 1)));
        if (!host::isUtf8(value)) throw BadOption("option " + name + ": the text is no UTF-8");
        if (name != "nodes" && value.size() > most) {
            throw BadOption("option " + host::printable(name) + ": longer than 4000 bytes");
        }
        take(options, name, std::move(value));
    }
    check(options);
    return options;
}

}  // namespace nimb::sqlite
