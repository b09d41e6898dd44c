// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/CpuFrequencies.h>

#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/host/CpuInfo.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <string>

namespace sentrel::platform {

namespace {

using Numbers = std::vector<std::uint32_t>;

Numbers readList(const SystemRoot& root, std::string_view path) {
    const std::optional<std::string> text = root.read(path);
    return text ? parseProcessorList(*text).value_or(Numbers()) : Numbers();
}

bool contains(const Numbers& numbers, std::uint32_t number) {
    return std::binary_search(numbers.begin(), numbers.end(), number);
}

} // namespace

std::optional<std::uint64_t> parseFrequency(std::string_view content) noexcept {
    constexpr std::uint64_t highest = 1'000'000'000; // kHz: beyond any processor
    const std::optional<std::uint64_t> kilohertz = toNumber(trimmed(content));
    if (!kilohertz || *kilohertz == 0 || *kilohertz > highest)
        return std::nullopt;
    return *kilohertz * 1000;
}

Availability CpuFrequencies::read(ProcessorFrequencies& frequencies) {
    if (search_.isDue())
        find();
    const bool hasFigure = std::any_of(processors_.begin(), processors_.end(), [](const Processor& processor) {
        return processor.now || processor.governor || processor.facts.least || processor.facts.most;
    });
    if (!hasFigure && !kinds_)
        return availabilityOf(refusal_ != 0 ? refusal_ : ENOENT);

    frequencies.kinds = kinds_;
    std::size_t count = 0;
    for (Processor& processor : processors_) {
        std::array<char, 64> buffer;
        const auto now = processor.now ? processor.now->read(buffer) : std::nullopt;
        if (processor.now && !now && errno == ENOENT)
            continue;
        if (frequencies.each.size() == count)
            frequencies.each.emplace_back();
        CoreFrequency& core = frequencies.each[count++];
        core.number = processor.facts.number;
        core.now = now ? parseFrequency(*now) : std::nullopt;
        core.least = processor.facts.least;
        core.most = processor.facts.most;
        core.kind = processor.facts.kind;
        const auto governor = processor.governor ? processor.governor->read(buffer) : std::nullopt;
        core.governor = trimmed(governor.value_or(std::string_view()));
    }
    frequencies.each.resize(count);
    return Availability::available;
}

void CpuFrequencies::find() {
    processors_.clear();
    refusal_ = 0;
    const std::string folder = "/sys/devices/system/cpu/cpu";
    for (const std::uint32_t number : readList(root_, "/sys/devices/system/cpu/online")) {
        const std::string files = folder + std::to_string(number) + "/cpufreq/";
        const auto kept = [&](const char* name) -> std::optional<KeptFile> {
            if (root_.open(files + name))
                return KeptFile(root_, files + name);
            if (errno != ENOENT)
                refusal_ = errno;
            return std::nullopt;
        };
        const auto figure = [&](const char* name) {
            return parseFrequency(root_.read(files + name).value_or(std::string()));
        };
        Processor processor;
        processor.facts.number = number;
        processor.now = kept("scaling_cur_freq");
        processor.governor = kept("scaling_governor");
        processor.facts.least = figure("cpuinfo_min_freq");
        processor.facts.most = figure("cpuinfo_max_freq");
        processors_.push_back(std::move(processor));
    }
    findKinds();
}

void CpuFrequencies::findKinds() {
    kinds_.reset();
    const Numbers fast = readList(root_, "/sys/devices/cpu_core/cpus");
    const Numbers thrifty = readList(root_, "/sys/devices/cpu_atom/cpus");
    const bool areNamed = !fast.empty() && !thrifty.empty();
    Numbers capacities;
    std::uint32_t least = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t most = 0;
    for (const Processor& processor : processors_) {
        const std::optional<std::string> text =
            root_.readLine("/sys/devices/system/cpu/cpu" + std::to_string(processor.facts.number) + "/cpu_capacity");
        const std::optional<std::uint32_t> capacity = text ? toNumber<std::uint32_t>(*text) : std::nullopt;
        if (!areNamed && !capacity)
            return; // all of them, or they cannot be compared
        capacities.push_back(capacity.value_or(0));
        least = std::min(least, capacities.back());
        most = std::max(most, capacities.back());
    }
    if (!areNamed && least >= most)
        return;
    CoreKinds kinds;
    for (std::size_t i = 0; i < processors_.size(); ++i) {
        CoreFrequency& facts = processors_[i].facts;
        if (areNamed && !contains(fast, facts.number) && !contains(thrifty, facts.number))
            continue;
        const bool isThrifty = areNamed ? contains(thrifty, facts.number) : capacities[i] == least;
        facts.kind = isThrifty ? CoreKind::efficiency : CoreKind::performance;
        ++(isThrifty ? kinds.efficiency : kinds.performance);
    }
    kinds_ = kinds;
}

} // namespace sentrel::platform
