#include "platform/environment.h"

#include "platform/file.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

namespace skar::platform {
namespace {

using Tree = boost::property_tree::ptree;

constexpr std::size_t largestRegistry = std::size_t{1} << 20;
constexpr int deepestPrerequisite = 100;
constexpr std::size_t longestValue = 1024;
constexpr char separator = ':';

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool sameName(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](char x, char y) { return lower(x) == lower(y); });
}

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

std::vector<std::string> splitPath(const std::string& text) {
    std::vector<std::string> entries;
    std::string entry;
    bool quoted = false;
    const auto finish = [&] {
        entry.erase(entry.find_last_not_of(' ') + 1);
        if (!entry.empty() && std::ranges::find(entries, entry) == entries.end()) {
            entries.push_back(entry);
        }
        entry.clear();
    };
    for (const char c : text) {
        quoted = quoted != (c == '"');
        if (c == separator && !quoted) {
            finish();
        } else if (c != ' ' || !entry.empty()) {
            entry.push_back(c);
        }
    }
    finish();
    return entries;
}

// One of the two files. A key exists with its section or with that of a key below it.
class Registry {
public:
    explicit Registry(Tree content) : tree(std::move(content)) {}

    bool has(const std::string& key) const {
        return std::ranges::any_of(tree, [&key](const Tree::value_type& section) {
            const std::string_view name = section.first;
            return sameName(name.substr(0, key.size()), key) &&
                   (name.size() == key.size() || name[key.size()] == '\\');
        });
    }
    // The values of a key in the order of the file.
    std::vector<std::pair<std::string, std::string>> values(const std::string& key) const {
        std::vector<std::pair<std::string, std::string>> found;
        for (const auto& [name, section] : tree) {
            if (sameName(name, key)) {
                for (const auto& [valueName, value] : section) {
                    found.emplace_back(valueName, value.data());
                }
            }
        }
        return found;
    }

private:
    Tree tree;
};

std::optional<Registry> readRegistry(const std::string& directory) {
    // A relative directory in these variables is to be ignored.
    if (directory.empty() || directory.front() != '/') {
        return std::nullopt;
    }
    std::string text;
    if (!readFile(wideName(directory + "/skar/registry.ini").c_str(), largestRegistry, text)) {
        return std::nullopt;
    }
    std::istringstream in(text);
    Tree tree;
    try {
        boost::property_tree::read_ini(in, tree);
    } catch (const boost::property_tree::ini_parser_error&) {
        return std::nullopt;
    }
    return Registry(std::move(tree));
}

std::vector<Registry> readRegistries() {
    std::vector<Registry> registries;
    std::string directories = variable("XDG_CONFIG_DIRS");
    for (const std::string& directory : splitPath(directories.empty() ? "/etc/xdg" : directories)) {
        if (auto registry = readRegistry(directory)) {
            registries.push_back(std::move(*registry));
            break;
        }
    }
    std::string home = variable("XDG_CONFIG_HOME");
    if (home.empty() && !variable("HOME").empty()) {
        home = variable("HOME") + "/.config";
    }
    if (auto registry = readRegistry(home)) {
        registries.push_back(std::move(*registry));
    }
    return registries;
}

class EnvironmentStep {
public:
    EnvironmentStep(const std::vector<Registry>& allRegistries, bool changesEnvironment)
        : registries(allRegistries), update(changesEnvironment), path(splitPath(variable("PATH"))) {}

    // A product that is needed twice, or by itself, counts once; it may be found in either file.
    bool apply(const std::string& keyPath, int depth = 0) {
        std::string seen = keyPath;
        std::ranges::transform(seen, seen.begin(), lower);
        if (depth > deepestPrerequisite || !visited.insert(seen).second) {
            return false;
        }
        const std::string key = "Software\\" + keyPath;
        bool found = false;
        for (const Registry& registry : registries) {
            if (registry.has(key)) {
                found = true;
                applyPrerequisites(registry, key + "\\prerequisites", depth);
                applyVariables(registry, key + "\\environment variables");
            }
        }
        return found;
    }

    void finish() const {
        std::string joined;
        for (const std::string& entry : path) {
            joined += (joined.empty() ? "" : std::string(1, separator)) + entry;
        }
        set("PATH", joined);
    }

private:
    void applyPrerequisites(const Registry& registry, const std::string& key, int depth) {
        for (const auto& [name, product] : readableValues(registry, key)) {
            apply(product, depth + 1);
        }
    }

    void applyVariables(const Registry& registry, const std::string& key) {
        for (const auto& [name, value] : readableValues(registry, key)) {
            if (!sameName(name, "PATH")) {
                set(name, value);
                continue;
            }
            for (const std::string& entry : splitPath(value)) {
                if (std::ranges::find(path, entry) == path.end()) {
                    path.push_back(entry);
                }
            }
        }
    }

    static std::vector<std::pair<std::string, std::string>> readableValues(const Registry& registry,
                                                                           const std::string& key) {
        constexpr int moreData = 234;
        std::vector<std::pair<std::string, std::string>> readable;
        int index = 0;
        for (auto& value : registry.values(key)) {
            if (value.first.size() > longestValue || value.second.size() > longestValue) {
                std::printf("Line:%d 0 based index = %d, retValue = %d, ValueLen = %d", __LINE__, index,
                            moreData, static_cast<int>(value.second.size()));
            } else {
                readable.push_back(std::move(value));
            }
            ++index;
        }
        return readable;
    }

    void set(const std::string& name, const std::string& value) const {
        if (!update) {
            std::printf("SET %s=%s\n", name.c_str(), value.c_str());
        } else if (value.empty()) {
            ::unsetenv(name.c_str());
        } else {
            ::setenv(name.c_str(), value.c_str(), 1);
        }
    }

    const std::vector<Registry>& registries;
    bool update;
    std::vector<std::string> path;
    std::set<std::string> visited;
};

int applyFrom(const std::vector<Registry>& registries, const std::string& keyPath, bool update) {
    EnvironmentStep step(registries, update);
    if (!step.apply(keyPath)) {
        return 0;
    }
    step.finish();
    return 1;
}

} // namespace

int setUpEnvironment() {
    static const std::string product = "MORVA\\SKAR";
    const std::vector<Registry> registries = readRegistries();
    const auto opened = std::ranges::find_if(
        registries, [](const Registry& registry) { return registry.has("Software\\" + product); });
    if (opened == registries.end()) {
        return registryMissing;
    }
    const auto values = opened->values("Software\\" + product);
    const auto version =
        std::ranges::find_if(values, [](const auto& value) { return sameName(value.first, "Version"); });
    if (version == values.end() || version->second.size() > longestValue) {
        return versionMissing;
    }
    const bool applied = applyFrom(registries, product + '\\' + version->second, true) == 1 ||
                         applyFrom(registries, product + "\\8.0", true) == 1;
    return applied ? 0 : settingsMissing;
}

int applyEnvironment(const std::string& keyPath, bool update) {
    return applyFrom(readRegistries(), keyPath, update);
}

} // namespace skar::platform
