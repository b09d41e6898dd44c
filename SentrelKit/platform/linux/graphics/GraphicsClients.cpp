// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/GraphicsClients.h>

#include <SentrelKit/platform/linux/common/File.h>
#include <SentrelKit/platform/linux/common/Folder.h>
#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <optional>
#include <unistd.h>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr std::string_view cardsFolder = "/sys/class/drm";
constexpr std::string_view devicesFolder = "/dev/dri/";
constexpr std::size_t mostEngines = 32;
constexpr std::size_t bufferSize = 16384; // i915 and xe tell a hundred lines

using Path = std::array<char, 64>; // below /proc: two numbers and a word

GraphicsEngine* engineOf(GraphicsClient& client, std::size_t& count, std::string_view name) {
    const auto end = client.engines.begin() + static_cast<std::ptrdiff_t>(count);
    const auto found =
        std::find_if(client.engines.begin(), end, [&](const GraphicsEngine& engine) { return engine.name == name; });
    if (found != end)
        return &*found;
    if (name.empty() || count == mostEngines)
        return nullptr;
    if (count == client.engines.size())
        client.engines.emplace_back();
    GraphicsEngine& engine = client.engines[count++];
    engine.name = name;
    engine.busy = 0;
    engine.total = 0;
    engine.count = 1;
    return &engine;
}

// "125 MiB", "12 KiB", "0": bytes.
std::optional<std::uint64_t> takeBytes(std::string_view text) noexcept {
    const std::optional<std::uint64_t> number = takeNumber(text);
    const std::string_view unit = trimmed(text);
    const unsigned shift = unit == "KiB" ? 10 : unit == "MiB" ? 20 : unit.empty() ? 0 : 64;
    if (!number || shift == 64 || *number > std::numeric_limits<std::uint64_t>::max() >> shift)
        return std::nullopt;
    return *number << shift;
}

void add(std::optional<std::uint64_t>& sum, std::optional<std::uint64_t> bytes) noexcept {
    if (bytes && *bytes <= std::numeric_limits<std::uint64_t>::max() - sum.value_or(0))
        sum = sum.value_or(0) + *bytes;
}

// Takes a prefix off the key.
bool takePrefix(std::string_view& key, std::string_view prefix) noexcept {
    if (!key.starts_with(prefix))
        return false;
    key.remove_prefix(prefix.size());
    return true;
}

bool isNumber(std::string_view name) noexcept {
    return toNumber<std::uint32_t>(name).has_value();
}

} // namespace

bool parseGraphicsClient(std::string_view text, GraphicsClient& client) {
    std::string_view driver;
    std::string_view device;
    std::optional<std::uint64_t> identifier;
    std::optional<std::uint64_t> resident;
    std::optional<std::uint64_t> memory; // the older word for it
    std::size_t engines = 0;
    while (const std::optional<std::string_view> line = takeLine(text)) {
        std::string_view value = *line;
        std::string_view key = takeUpTo(value, ':');
        if (!takePrefix(key, "drm-"))
            continue;
        value = trimmed(value);
        if (key == "driver") {
            driver = value;
        } else if (key == "pdev") {
            device = value;
        } else if (key == "client-id") {
            identifier = toNumber(value);
        } else if (takePrefix(key, "engine-capacity-")) {
            GraphicsEngine* const engine = engineOf(client, engines, key);
            if (const auto count = toNumber<std::uint32_t>(value); engine && count && *count > 0)
                engine->count = *count;
        } else if (takePrefix(key, "engine-") || takePrefix(key, "cycles-")) {
            if (GraphicsEngine* const engine = engineOf(client, engines, key))
                engine->busy = takeNumber(value).value_or(0); // "123 ns", or cycles
        } else if (takePrefix(key, "total-cycles-")) {
            if (GraphicsEngine* const engine = engineOf(client, engines, key))
                engine->total = takeNumber(value).value_or(0);
        } else if (takePrefix(key, "resident-")) {
            add(resident, takeBytes(value));
        } else if (takePrefix(key, "memory-")) {
            add(memory, takeBytes(value));
        }
    }
    if (driver.empty() || !identifier)
        return false;
    client.processor = device.empty() ? driver : device;
    client.identifier = *identifier;
    client.engines.resize(engines);
    client.memory = resident ? resident : memory;
    return true;
}

GraphicsClients::GraphicsClients(const SystemRoot& root)
    : root_(root), processesFolder_(root.path("/proc")), cards_(root, cardsFolder) {}

void GraphicsClients::readFile(int processes, const char* process, int files, const char* name) {
    std::array<char, 64> target;
    const ssize_t length = ::readlinkat(files, name, target.data(), target.size());
    if (length <= 0 || !std::string_view(target.data(), static_cast<std::size_t>(length)).starts_with(devicesFolder))
        return;
    Path path;
    std::snprintf(path.data(), path.size(), "%s/fdinfo/%s", process, name);
    const std::optional<std::string_view> text = readFileAt(processes, path.data(), buffer_);
    if (!text || !parseGraphicsClient(wholeLines(*text, buffer_.size()), scratch_))
        return;
    const auto end = clients_.begin() + static_cast<std::ptrdiff_t>(count_);
    if (std::any_of(clients_.begin(), end, [&](const GraphicsClient& known) {
            return known.identifier == scratch_.identifier && known.processor == scratch_.processor;
        }))
        return;
    if (count_ == clients_.size())
        clients_.emplace_back();
    std::swap(clients_[count_++], scratch_);
}

void GraphicsClients::readProcess(int processes, const char* process) {
    Path path;
    std::snprintf(path.data(), path.size(), "%s/fd", process);
    const UniqueFd files = openAt(processes, path.data(), O_DIRECTORY);
    if (!files) {
        isDenied_ = isDenied_ || availabilityOf(errno) == Availability::denied;
        return;
    }
    FolderReader entries(files.get());
    while (const dirent64* entry = entries.next())
        if (isNumber(entry->d_name))
            readFile(processes, process, files.get(), entry->d_name);
}

Availability GraphicsClients::read(std::vector<GraphicsClient>& clients) {
    if (cards_.hasChanged()) {
        const std::vector<std::string> names = namesIn(root_, cardsFolder).value_or(std::vector<std::string>());
        hasCards_ = std::any_of(names.begin(), names.end(), [](const std::string& name) {
            return name.starts_with("card") || name.starts_with("renderD");
        });
    }
    if (!hasCards_)
        return Availability::unsupported;
    const UniqueFd processes = openAt(AT_FDCWD, processesFolder_.c_str(), O_DIRECTORY);
    if (!processes)
        return availabilityOf(errno);
    buffer_.resize(bufferSize);
    count_ = 0;
    isDenied_ = false;
    FolderReader entries(processes.get());
    while (const dirent64* entry = entries.next())
        if (isNumber(entry->d_name))
            readProcess(processes.get(), entry->d_name);
    if (entries.hasFailed())
        return Availability::failed;
    if (count_ == 0 && isDenied_)
        return Availability::denied;
    clients.resize(count_);
    std::copy_n(clients_.begin(), count_, clients.begin());
    return Availability::available;
}

} // namespace sentrel::platform
