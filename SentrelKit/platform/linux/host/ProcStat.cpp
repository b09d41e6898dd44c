// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/ProcStat.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

namespace sentrel::platform {

namespace {

std::optional<ProcessorTicks> parseTicks(std::string_view columns) noexcept {
    ProcessorTicks ticks;
    for (std::uint64_t* column : {&ticks.user, &ticks.nice, &ticks.system, &ticks.idle}) {
        const std::optional<std::uint64_t> value = takeNumber(columns);
        if (!value)
            return std::nullopt;
        *column = *value;
    }
    ticks.iowait = takeNumber(columns);
    for (int interrupts = 0; interrupts < 2; ++interrupts) // hard and soft ones
        ticks.system += takeNumber(columns).value_or(0);
    ticks.steal = takeNumber(columns);
    return ticks;
}

std::uint64_t growth(std::uint64_t now, std::uint64_t before) noexcept {
    return now > before ? now - before : 0;
}

} // namespace

std::optional<ProcessorTimes> parseProcessorTimes(std::string_view stat) noexcept {
    std::optional<std::string_view> line = takeLine(stat);
    if (!line || takeUpTo(*line, ' ') != "cpu")
        return std::nullopt;

    ProcessorTimes times;
    for (std::uint64_t* column : {&times.user, &times.nice, &times.system, &times.idle}) {
        const std::optional<std::uint64_t> value = takeNumber(*line);
        if (!value)
            return std::nullopt;
        *column = *value;
    }
    for (std::uint64_t* column : {&times.iowait, &times.irq, &times.softirq, &times.steal})
        *column = takeNumber(*line).value_or(0);
    return times;
}

bool parseProcessorLoad(std::string_view stat, ProcessorLoad& load) noexcept {
    std::optional<std::string_view> line = takeLine(stat);
    if (!line || takeUpTo(*line, ' ') != "cpu")
        return false;
    const std::optional<ProcessorTicks> all = parseTicks(*line);
    if (!all)
        return false;
    load.all = *all;
    load.each.clear();
    load.contextSwitches.reset();
    load.interrupts.reset();
    load.forks.reset();
    while ((line = takeLine(stat))) {
        const std::string_view key = takeUpTo(*line, ' ');
        if (key.starts_with("cpu")) {
            const std::optional<std::uint32_t> number = toNumber<std::uint32_t>(key.substr(3));
            const std::optional<ProcessorTicks> ticks = parseTicks(*line);
            if (number && ticks && (load.each.empty() || load.each.back().number < *number))
                load.each.push_back({*number, *ticks});
        } else if (key == "intr") {
            load.interrupts = takeNumber(*line); // the sum comes first
        } else if (key == "ctxt") {
            load.contextSwitches = takeNumber(*line);
        } else if (key == "processes") {
            load.forks = takeNumber(*line);
        }
    }
    return true;
}

HostLoadTicks SteadyTicks::add(const ProcessorTimes& times) noexcept {
    user_ += growth(times.user, last_.user);
    nice_ += growth(times.nice, last_.nice);
    system_ += growth(times.system, last_.system) + growth(times.irq, last_.irq) +
               growth(times.softirq, last_.softirq) + growth(times.steal, last_.steal);
    // One sum: when a waiting processor turns out idle the kernel moves its time from the one counter to the other.
    idle_ += growth(times.idle + times.iowait, last_.idle + last_.iowait);
    last_ = times;

    // The counters are 32 bits wide and wrap.
    return {static_cast<std::uint32_t>(user_), static_cast<std::uint32_t>(system_), static_cast<std::uint32_t>(idle_),
            static_cast<std::uint32_t>(nice_)};
}

} // namespace sentrel::platform
