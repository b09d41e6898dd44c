// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/Configuration.h"

#include <glib.h>
#include <sys/stat.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

namespace {

using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_free)>;
using Error = std::unique_ptr<GError, decltype(&g_error_free)>;

bool isAddress(const std::string& text) {
    unsigned char bytes[sizeof(in6_addr)];
    return inet_pton(AF_INET, text.c_str(), bytes) == 1 || inet_pton(AF_INET6, text.c_str(), bytes) == 1;
}

template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

std::optional<bool> parseFlag(std::string_view text) {
    if (text == "true" || text == "false")
        return text == "true";
    return std::nullopt;
}

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// What is read of the file before it is known to fit together.
struct Draft {
    Configuration configuration;
    Credentials credentials;
    std::string certificate;
    std::string key;
    bool tellsApplications = false;
    ApplicationLimits applications;
};

// False for a value that is none of the kind.
using Setter = std::function<bool(Draft&, const std::string&)>;

struct Key {
    std::string_view section;
    std::string_view name;
    std::string_view kind; // of its values, in words
    Setter set;
};

std::optional<std::size_t> parseWithin(const std::string& text, std::size_t least, std::size_t most) {
    const auto number = parseNumber<std::size_t>(text);
    return number && *number >= least && *number <= most ? number : std::nullopt;
}

bool setLimit(std::size_t& limit, const std::string& text, std::size_t most = 1000) {
    const std::optional<std::size_t> number = parseWithin(text, 1, most);
    limit = number.value_or(limit);
    return number.has_value();
}

bool setPace(Draft& draft, const std::string& text) {
    const std::optional<std::size_t> seconds = parseWithin(text, 2, 3600);
    draft.configuration.pace = std::chrono::seconds(seconds.value_or(0));
    return seconds.has_value();
}

const std::vector<Key>& keys() {
    static const std::vector<Key> all = {
        {"server", "listen", "an address and a port",
         [](Draft& draft, const std::string& text) {
             const auto endpoint = parseEndpoint(text);
             draft.configuration.listen = endpoint.value_or(Endpoint());
             return endpoint.has_value();
         }},
        {"authentication", "user", "a name without a colon",
         [](Draft& draft, const std::string& text) {
             draft.credentials.user = text;
             return !text.empty() && text.find(':') == std::string::npos;
         }},
        {"authentication", "password", "a text",
         [](Draft& draft, const std::string& text) {
             draft.credentials.password = text;
             return !text.empty();
         }},
        {"tls", "certificate", "the path of a file",
         [](Draft& draft, const std::string& text) { return !(draft.certificate = text).empty(); }},
        {"tls", "key", "the path of a file",
         [](Draft& draft, const std::string& text) { return !(draft.key = text).empty(); }},
        {"applications", "enabled", "true or false",
         [](Draft& draft, const std::string& text) {
             draft.tellsApplications = parseFlag(text).value_or(false);
             return parseFlag(text).has_value();
         }},
        {"applications", "top", "a number from 1 to 1000",
         [](Draft& draft, const std::string& text) { return setLimit(draft.applications.top, text); }},
        {"applications", "names", "a number from 1 to 1000",
         [](Draft& draft, const std::string& text) { return setLimit(draft.applications.names, text); }},
        {"devices", "limit", "a number from 1 to 100000",
         [](Draft& draft, const std::string& text) {
             return setLimit(draft.configuration.deviceLimit, text, 100'000);
         }},
        {"sampling", "seconds", "a number from 2 to 3600", setPace},
    };
    return all;
}

// The file's text with the lines of its sections and keys, which GLib does not tell.
class Text {
public:
    Text(std::string path, std::string text) : path_(std::move(path)), text_(std::move(text)) {}

    [[nodiscard]] const std::string& text() const { return text_; }

    [[nodiscard]] Refusal refuse(const std::string& what) const { return {path_ + ": " + what}; }

    // Of a key in a section, or of a section without a key.
    [[nodiscard]] Refusal refuse(std::string_view section, std::string_view key, const std::string& what) const {
        return {path_ + ":" + std::to_string(lineOf(section, key)) + ": " + what};
    }

private:
    [[nodiscard]] int lineOf(std::string_view section, std::string_view key) const {
        std::istringstream lines(text_);
        std::string line;
        bool isInside = false;
        int found = 1;
        for (int number = 1; std::getline(lines, line); ++number) {
            const std::string_view trimmed = trim(line);
            if (trimmed.starts_with('[')) {
                isInside = trimmed == "[" + std::string(section) + "]";
                if (isInside && key.empty())
                    return number;
            } else if (isInside && !key.empty() && trim(trimmed.substr(0, trimmed.find('='))) == key) {
                found = number; // the last one counts
            }
        }
        return found;
    }

    std::string path_;
    std::string text_;
};

std::optional<std::string> readFile(const std::string& path, std::string& reason) {
    std::ifstream file(path, std::ios::binary);
    const bool isEmpty = file && file.peek() == std::ifstream::traits_type::eof() && !file.bad();
    std::ostringstream content;
    // A folder opens, and then cannot be read.
    if (!isEmpty && !(file && content << file.rdbuf())) {
        reason = "cannot read '" + path + "': " + std::strerror(errno);
        return std::nullopt;
    }
    return content.str();
}

bool isReadableByEverybody(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IROTH) != 0;
}

std::vector<std::string> list(char** names) {
    std::vector<std::string> result;
    for (char** name = names; name != nullptr && *name != nullptr; ++name)
        result.emplace_back(*name);
    g_strfreev(names);
    return result;
}

std::string textOf(GKeyFile& file, const std::string& section, const std::string& key) {
    char* const value = g_key_file_get_value(&file, section.c_str(), key.c_str(), nullptr);
    std::string text(value == nullptr ? "" : value);
    g_free(value);
    return text;
}

// Absent if the key is one of the section's and its value is of its kind.
std::optional<Refusal> take(Draft& draft, const Text& text, const std::string& section, const std::string& name,
                            const std::string& value) {
    const auto known =
        std::ranges::find_if(keys(), [&](const Key& key) { return key.section == section && key.name == name; });
    if (known == keys().end())
        return text.refuse(section, name, "[" + section + "] has no '" + name + "'");
    if (!known->set(draft, value))
        return text.refuse(section, name, "'" + name + "' takes " + std::string(known->kind) + ", not '" + value + "'");
    return std::nullopt;
}

std::optional<Refusal> take(Draft& draft, const Text& text, GKeyFile& file) {
    for (const std::string& section : list(g_key_file_get_groups(&file, nullptr))) {
        if (std::ranges::find(keys(), section, &Key::section) == keys().end())
            return text.refuse(section, "", "there is no section '" + section + "'");
        for (const std::string& name : list(g_key_file_get_keys(&file, section.c_str(), nullptr, nullptr)))
            if (auto refusal = take(draft, text, section, name, textOf(file, section, name)))
                return refusal;
    }
    return std::nullopt;
}

// What belongs together is there together, and secret.
std::variant<Configuration, Refusal> finish(Draft draft, const Text& text, const std::string& path) {
    Configuration& configuration = draft.configuration;
    if (draft.credentials.user.empty() != draft.credentials.password.empty())
        return text.refuse("authentication", "", "[authentication] takes both 'user' and 'password'");
    if (!draft.credentials.user.empty()) {
        if (isReadableByEverybody(path))
            return text.refuse("authentication", "password", "everybody can read the password (chmod o-r)");
        configuration.credentials = draft.credentials;
    }
    if (draft.certificate.empty() != draft.key.empty())
        return text.refuse("tls", "", "[tls] takes both 'certificate' and 'key'");
    if (!draft.key.empty()) {
        if (isReadableByEverybody(draft.key))
            return text.refuse("tls", "key", "everybody can read '" + draft.key + "' (chmod o-r)");
        std::string reason;
        const auto chain = readFile(draft.certificate, reason);
        const auto key = chain ? readFile(draft.key, reason) : std::nullopt;
        if (!key)
            return text.refuse("tls", chain ? "key" : "certificate", reason);
        configuration.certificate = Certificate{*chain, *key};
    }
    if (draft.tellsApplications)
        configuration.applications = draft.applications;
    return std::move(configuration);
}

} // namespace

std::optional<Endpoint> parseEndpoint(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos)
        return std::nullopt;
    const auto port = parseNumber<std::uint16_t>(std::string_view(text).substr(colon + 1));
    std::string address = text.substr(0, colon);
    const bool isBracketed = address.starts_with('[') && address.ends_with(']');
    if (isBracketed)
        address = address.substr(1, address.size() - 2);
    else if (address.empty())
        address = "::";
    else if (address == "localhost")
        address = "127.0.0.1";
    // Without brackets the last part of an address could be taken for the port.
    const bool isIPv6 = address.find(':') != std::string::npos;
    if (!port || !isAddress(address) || (isIPv6 != isBracketed && address != "::"))
        return std::nullopt;
    return Endpoint{address, *port};
}

std::variant<Configuration, Refusal> readConfiguration(const std::string& path) {
    std::string reason;
    std::optional<std::string> content = readFile(path, reason);
    if (!content)
        return Refusal{reason};
    const Text text(path, std::move(*content));
    const KeyFile file(g_key_file_new(), g_key_file_free);
    GError* error = nullptr;
    if (!text.text().empty() &&
        g_key_file_load_from_data(file.get(), text.text().data(), text.text().size(), G_KEY_FILE_NONE, &error) == 0) {
        const Error owner(error, g_error_free);
        return text.refuse(owner->message);
    }
    Draft draft;
    if (auto refusal = take(draft, text, *file))
        return *refusal;
    return finish(std::move(draft), text, path);
}

} // namespace tool
