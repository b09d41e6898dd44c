// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/GraphicsDevices.h>

#include <SentrelKit/platform/linux/common/File.h>
#include <SentrelKit/platform/linux/common/Folder.h>
#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/graphics/HardwareDatabase.h>
#include <SentrelKit/platform/linux/graphics/PciDevice.h>

#include <algorithm>
#include <array>
#include <unistd.h>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr std::string_view devicesFolder = "/sys/bus/pci/devices";
constexpr double megahertz = 1e6;

// The first entry of a folder that begins so, and is followed by a number: "card0", not "card0-eDP-1".
std::string numbered(const SystemRoot& root, const std::string& folder, std::string_view prefix) {
    std::string entry(prefix); // where there is none, none has this name either
    for (const std::string& name : namesIn(root, folder).value_or(std::vector<std::string>())) {
        if (name.starts_with(prefix) && toNumber<std::uint32_t>(std::string_view(name).substr(prefix.size()))) {
            entry = name;
            break;
        }
    }
    return folder + "/" + entry;
}

std::optional<std::int64_t> readNumber(std::optional<NumberFile>& file) noexcept {
    return file ? file->read() : std::nullopt;
}

std::optional<double> readIn(std::optional<NumberFile>& file, double unit) noexcept {
    const std::optional<std::int64_t> number = readNumber(file);
    return number ? std::optional(static_cast<double>(*number) * unit) : std::nullopt;
}

std::optional<std::uint64_t> readBytes(std::optional<NumberFile>& file) noexcept {
    const std::optional<std::int64_t> number = readNumber(file);
    return number && *number >= 0 ? std::optional(static_cast<std::uint64_t>(*number)) : std::nullopt;
}

} // namespace

std::optional<double> parseClockStates(std::string_view text) noexcept {
    while (std::optional<std::string_view> line = takeLine(text)) {
        std::string_view state = trimmed(*line);
        if (!state.ends_with('*'))
            continue;
        takeUpTo(state, ':');
        const std::optional<std::uint32_t> frequency = takeNumber<std::uint32_t>(state);
        const std::string_view unit = takeWord(state);
        if (frequency && (unit == "Mhz" || unit == "MHz"))
            return *frequency * megahertz;
    }
    return std::nullopt;
}

GraphicsDevices::GraphicsDevices(SystemRoot root) : root_(std::move(root)), folder_(root_, devicesFolder) {}

std::optional<NumberFile> GraphicsDevices::file(const std::string& path) const {
    std::string real = root_.path(path);
    if (::access(real.c_str(), F_OK) != 0)
        return std::nullopt;
    return NumberFile(std::move(real));
}

void GraphicsDevices::find() {
    devices_.clear();
    nvidia_.reset();
    for (const std::string& address : namesIn(root_, devicesFolder).value_or(std::vector<std::string>()))
        if (isDisplayController(root_, std::string(devicesFolder) + "/" + address))
            add(address);
}

void GraphicsDevices::add(const std::string& address) {
    const std::string folder = std::string(devicesFolder) + "/" + address;
    Device device{.processor = {}, .sleep = KeptFile(root_, folder + "/power/runtime_status")};
    device.processor.identifier = address;
    device.processor.name = pciDisplayName(root_, folder).value_or("Unknown");
    if (const std::optional<std::string> driver = linkTarget(root_.path(folder + "/driver")))
        device.processor.driver = lastPathComponent(*driver);
    device.use = file(folder + "/gpu_busy_percent");
    device.memoryUsed = file(folder + "/mem_info_vram_used");
    device.memoryTotal = file(folder + "/mem_info_vram_total");

    const std::string monitor = numbered(root_, folder + "/hwmon", "hwmon");
    device.temperature = file(monitor + "/temp1_input");
    device.power = file(monitor + "/power1_average");
    if (!device.power)
        device.power = file(monitor + "/power1_input");
    device.fan = file(monitor + "/fan1_input");

    const std::string card = numbered(root_, folder + "/drm", "card");
    for (const std::string& idle : {card + "/gt/gt0/rc6_residency_ms", card + "/power/rc6_residency_ms",
                                    folder + "/tile0/gt0/gtidle/idle_residency_ms"})
        if (!device.idle)
            device.idle = file(idle);
    for (const auto& [clock, unit] : {std::pair(monitor + "/freq1_input", 1.0), // hertz
                                      std::pair(card + "/gt_act_freq_mhz", megahertz),
                                      std::pair(folder + "/tile0/gt0/freq0/act_freq", megahertz)}) {
        if (device.clock)
            break;
        device.clock = file(clock);
        device.clockUnit = unit;
    }
    if (!device.clock && ::access(root_.path(folder + "/pp_dpm_sclk").c_str(), F_OK) == 0)
        device.clockStates.emplace(root_, folder + "/pp_dpm_sclk");
    devices_.push_back(std::move(device));
}

void GraphicsDevices::askNvidia(Device& device) {
    constexpr const char* library = "libnvidia-ml.so.1";
    if (!nvidia_)
        nvidia_.emplace(root_.isReal() ? library : root_.path("/usr/lib/") + library);
    if (!device.nvidia)
        device.nvidia = nvidia_->find(device.processor.identifier);
    device.processor.figures = nvidia_->read(*device.nvidia, device.processor);
}

void GraphicsDevices::sample(Device& device) {
    std::array<char, 512> buffer;
    GraphicsProcessor& now = device.processor;
    now.isAsleep = trimmed(device.sleep.read(buffer).value_or(std::string_view())) == "suspended";
    now.use.reset();
    now.idleSeconds.reset();
    now.memoryUsed.reset();
    now.memoryTotal.reset();
    now.clock.reset();
    now.temperature.reset();
    now.power.reset();
    now.fan.reset();
    now.fanShare.reset();
    now.figures = Availability::available;
    if (now.isAsleep)
        return;
    if (const std::optional<std::int64_t> percent = readNumber(device.use))
        now.use = static_cast<double>(std::clamp<std::int64_t>(*percent, 0, 100));
    now.idleSeconds = readIn(device.idle, 1e-3);
    now.memoryUsed = readBytes(device.memoryUsed);
    now.memoryTotal = readBytes(device.memoryTotal);
    now.clock = readIn(device.clock, device.clockUnit);
    if (device.clockStates)
        now.clock = parseClockStates(device.clockStates->read(buffer).value_or(std::string_view()));
    now.temperature = readIn(device.temperature, 1e-3);
    now.power = readIn(device.power, 1e-6);
    now.fan = readIn(device.fan, 1);
    if (now.driver == "nvidia")
        askNvidia(device);
}

Availability GraphicsDevices::read(std::vector<GraphicsProcessor>& processors) {
    if (folder_.hasChanged())
        find();
    if (devices_.empty())
        return Availability::unsupported;
    processors.resize(devices_.size());
    for (std::size_t i = 0; i < devices_.size(); ++i) {
        sample(devices_[i]);
        processors[i] = devices_[i].processor;
    }
    return Availability::available;
}

} // namespace sentrel::platform
