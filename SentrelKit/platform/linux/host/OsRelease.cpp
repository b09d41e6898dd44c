// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/OsRelease.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <string>
#include <sys/utsname.h>

namespace sentrel::platform {

namespace {

// The value as a shell would assign it: in quotes or not, a backslash before what is meant as it stands.
std::string unquoted(std::string_view value) {
    value = trimmed(value);
    const char quote = value.empty() || (value.front() != '"' && value.front() != '\'') ? '\0' : value.front();
    if (quote != '\0')
        value.remove_prefix(1);
    std::string text;
    for (std::size_t i = 0; i < value.size() && (quote == '\0' || value[i] != quote); ++i) {
        const bool isEscape = value[i] == '\\' && quote != '\'' && i + 1 < value.size();
        text += isEscape ? value[++i] : value[i];
    }
    return text;
}

} // namespace

void parseOsRelease(std::string_view content, OperatingSystem& system) {
    system.name = "Linux";
    system.id = "linux";
    while (std::optional<std::string_view> line = takeLine(content)) {
        if (line->find('=') == std::string_view::npos)
            continue;
        const std::string_view key = trimmed(takeUpTo(*line, '='));
        if (key == "NAME")
            system.name = unquoted(*line);
        else if (key == "PRETTY_NAME")
            system.prettyName = unquoted(*line);
        else if (key == "ID")
            system.id = unquoted(*line);
        else if (key == "VERSION_ID")
            system.version = unquoted(*line);
    }
}

std::optional<OperatingSystem> readOperatingSystem(const SystemRoot& root) {
    const std::optional<std::string> release = root.readLine("/proc/sys/kernel/osrelease");
    if (!release)
        return std::nullopt;
    OperatingSystem system;
    system.kernelRelease = *release;
    system.kernel = root.readLine("/proc/sys/kernel/ostype").value_or("");
    system.hostName = root.readLine("/proc/sys/kernel/hostname").value_or("");
    system.architecture = root.readLine("/proc/sys/kernel/arch").value_or(""); // since Linux 6.1
    utsname names{};
    if (system.architecture.empty() && root.isReal() && ::uname(&names) == 0)
        system.architecture = static_cast<const char*>(names.machine);
    std::optional<std::string> text = root.read("/etc/os-release");
    if (!text)
        text = root.read("/usr/lib/os-release");
    parseOsRelease(text.value_or(""), system);
    if (system.prettyName.empty())
        system.prettyName = system.name;
    return system;
}

} // namespace sentrel::platform
