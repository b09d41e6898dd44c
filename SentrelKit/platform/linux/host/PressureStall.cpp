// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/PressureStall.h>

#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/common/UniqueFd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/epoll.h>
#include <unistd.h>
#include <utility>

namespace sentrel::platform {

namespace {

// Takes a number with two decimals, such as "12.34" (show in kernel/sched/psi.c), off the text.
std::optional<double> takePercent(std::string_view& text) noexcept {
    const std::optional<std::uint32_t> whole = takeNumber<std::uint32_t>(text);
    if (!whole || *whole > 100 || !text.starts_with('.'))
        return std::nullopt;
    text.remove_prefix(1);
    const std::string_view digits = text.substr(0, text.find(' '));
    const std::optional<std::uint32_t> hundredths = toNumber<std::uint32_t>(digits);
    if (digits.size() != 2 || !hundredths)
        return std::nullopt;
    text.remove_prefix(2);
    return std::min(*whole + *hundredths / 100.0, 100.0);
}

bool takeKey(std::string_view& text, std::string_view key) noexcept {
    if (!text.starts_with(key))
        return false;
    text.remove_prefix(key.size());
    return true;
}

std::optional<PressureShare> parseShare(std::string_view line) noexcept {
    PressureShare share;
    const std::array<std::pair<std::string_view, double*>, 3> averages = {
        {{" avg10=", &share.avg10}, {" avg60=", &share.avg60}, {" avg300=", &share.avg300}}};
    for (const auto& [key, average] : averages) {
        const std::optional<double> percent = takeKey(line, key) ? takePercent(line) : std::nullopt;
        if (!percent)
            return std::nullopt;
        *average = *percent;
    }
    const std::optional<std::uint64_t> total = takeKey(line, " total=") ? toNumber(line) : std::nullopt;
    if (!total)
        return std::nullopt;
    share.total = *total;
    return share;
}

} // namespace

std::string_view pressurePath(PressureResource resource) noexcept {
    constexpr std::array<std::string_view, 3> paths = {"/proc/pressure/cpu", "/proc/pressure/memory",
                                                       "/proc/pressure/io"};
    return paths.at(static_cast<std::size_t>(resource));
}

std::optional<Pressure> parsePressure(std::string_view content) noexcept {
    std::optional<PressureShare> some;
    Pressure pressure;
    while (std::optional<std::string_view> line = takeLine(content)) {
        if (takeKey(*line, "some"))
            some = parseShare(*line);
        else if (takeKey(*line, "full"))
            pressure.full = parseShare(*line);
    }
    if (!some)
        return std::nullopt;
    pressure.some = *some;
    return pressure;
}

Observation observePressureStall(const SystemRoot& root, EventSource& events, PressureResource resource,
                                 const PressureThreshold& threshold, std::function<void()> crossed) {
    const auto trigger = std::make_shared<const UniqueFd>(
        ::open(root.path(pressurePath(resource)).c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    const std::string text = (threshold.kind == PressureThreshold::Kind::some ? "some " : "full ") +
                             std::to_string(threshold.stall) + " " + std::to_string(threshold.window);
    // With the zero byte: the kernel takes the last one for the text's end.
    if (!*trigger || ::write(trigger->get(), text.c_str(), text.size() + 1) < 0)
        return {};
    // The closure goes with the watch, and with it the trigger.
    Observation watch = events.watch(trigger->get(), EPOLLPRI, [trigger, call = std::move(crossed)] { call(); });
    if (watch)
        events.backgroundQueue()->async([] {}); // descriptors are served from the first use of a queue on
    return watch;
}

} // namespace sentrel::platform
