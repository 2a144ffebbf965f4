#include "nimbhost/plant/plant_file.h"

#include <CLI/CLI.hpp>
#include <array>
#include <fstream>
#include <functional>
#include <map>

#include "nimbhost/certificates/files.h"
#include "nimbhost/entry_table.h"
#include "nimbhost/plant/duration.h"

namespace nimb::nimbhost {

namespace {

namespace fs = std::filesystem;

/// Reads one key's value into the settings; paths are taken relative to `folder`. Throws BadInput
/// without the place.
using Setter =
    std::function<void(PlantSettings&, const std::string& value, const fs::path& folder)>;

Setter text(std::string PlantSettings::*member) {
    return [member](PlantSettings& settings, const std::string& value, const fs::path&) {
        settings.*member = value;
    };
}

Setter path(std::string PlantSettings::*member) {
    return [member](PlantSettings& settings, const std::string& value, const fs::path& folder) {
        settings.*member = value.empty() ? value : (folder / value).lexically_normal().string();
    };
}

Setter choice(int PlantSettings::*member, std::map<std::string, int> values,
              const std::string& expected) {
    return [member, values = std::move(values), expected](
               PlantSettings& settings, const std::string& value, const fs::path&) {
        const auto found = values.find(value);
        if (found == values.end()) throw BadInput("is " + expected + ", not \"" + value + '"');
        settings.*member = found->second;
    };
}

const std::map<std::string, Setter>& setters() {
    using S = PlantSettings;
    static const std::map<std::string, Setter> all{
        {"url", text(&S::url)},
        {"certificate", path(&S::certificate)},
        {"key", path(&S::key)},
        {"trusted", path(&S::trusted)},
        {"revoked", path(&S::revoked)},
        {"uri", text(&S::uri)},
        {"password-file", path(&S::passwordFile)},
        {"user", [](S& s, const std::string& value, const fs::path&) { s.user = value; }},
        {"mode", choice(&S::mode, {{"none", 1}, {"sign", 2}, {"encrypt", 3}}, "none or encrypt")},
        {"string-mode", choice(&S::stringMode, {{"utf8", 0}, {"utf16", 1}}, "utf8 or utf16")},
        {"timeout",
         [](S& s, const std::string& value, const fs::path&) {
             s.timeout = static_cast<int>(parseDuration(value).count());
         }},
        {"namespace",
         [](S& s, const std::string& value, const fs::path&) {
             if (!CLI::detail::lexical_cast(value, s.defaultNamespace) || s.defaultNamespace < 0 ||
                 s.defaultNamespace > 65535) {
                 throw BadInput("is a number from 0 to 65535, not \"" + value + '"');
             }
         }},
    };
    return all;
}

/// "FILE:LINE: " of the line that sets `key`; the parser of the file's format counts no lines.
std::string placeOf(const fs::path& file, const std::string& key) {
    std::ifstream in(file);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const std::size_t first = line.find_first_not_of(" \t");
        if (first != std::string::npos && line.compare(first, key.size(), key) == 0) {
            return file.string() + ':' + std::to_string(number) + ": ";
        }
    }
    return file.string() + ": ";
}

void apply(PlantSettings& settings, const CLI::ConfigItem& item, const fs::path& file) {
    const auto setter = setters().find(item.fullname());
    if (setter == setters().end()) {
        std::vector<std::string_view> names;
        for (const auto& known : setters()) names.emplace_back(known.first);
        throw BadInput(placeOf(file, item.name) + "unknown key \"" + item.fullname() + '"' +
                       standin::suggestion(item.name, names));
    }
    if (item.inputs.size() > 1) {
        throw BadInput(placeOf(file, item.name) + item.name +
                       " has several values; put a value with blanks or commas in quotes");
    }
    try {
        setter->second(settings, item.inputs.empty() ? "" : item.inputs[0], file.parent_path());
    } catch (const BadInput& error) {
        throw BadInput(placeOf(file, item.name) + item.name + ' ' + error.what());
    }
}

}  // namespace

std::filesystem::path findPlantFile(const std::string& name) {
    if (name.find('/') != std::string::npos || name.ends_with(".conf")) {
        if (fs::is_regular_file(name)) return name;
        throw BadInput("there is no plant file " + name);
    }
    for (const fs::path& folder : {fs::path(), fs::path(kPlantFolder)}) {
        const fs::path file = folder / (name + ".conf");
        if (fs::is_regular_file(file)) return file;
    }
    throw BadInput("there is no plant \"" + name + "\": neither ./" + name + ".conf nor " +
                   kPlantFolder + '/' + name + ".conf is a file; \"nimbhost cert new -p " + name +
                   "\" writes one");
}

PlantSettings readPlantFile(const std::string& name) {
    PlantSettings settings;
    settings.file = findPlantFile(name);
    settings.name = name;
    CLI::ConfigINI format;
    std::vector<CLI::ConfigItem> items;
    try {
        std::istringstream in(readWholeFile(settings.file));
        items = format.from_config(in);
    } catch (const CLI::Error& error) {
        throw BadInput(settings.file.string() + ": " + error.what());
    } catch (const FileError& error) {
        throw BadInput(error.what());
    }
    for (const CLI::ConfigItem& item : items) apply(settings, item, settings.file);
    if (settings.isEncrypted()) {
        for (const auto& [key, value] : {std::pair("certificate", settings.certificate),
                                         {"key", settings.key},
                                         {"trusted", settings.trusted},
                                         {"revoked", settings.revoked},
                                         {"uri", settings.uri}}) {
            if (value.empty()) {
                throw BadInput(settings.file.string() + ": mode = encrypt needs " + key);
            }
        }
    }
    return settings;
}

}  // namespace nimb::nimbhost
