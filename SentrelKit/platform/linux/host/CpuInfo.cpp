// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/CpuInfo.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

namespace sentrel::platform {

namespace {

// Far above the kernel's own limit (NR_CPUS, 8192): a list beyond it is no list of processors.
constexpr std::uint32_t mostProcessors = 65536;

struct Entry {
    std::string_view key;
    std::string_view value;
};

// Splits "key<blanks>: value". A line without a colon has no value.
Entry splitEntry(std::string_view line) noexcept {
    const std::string_view key = trimmed(takeUpTo(line, ':'));
    if (line.starts_with(' '))
        line.remove_prefix(1);
    return {key, line};
}

} // namespace

std::optional<std::string_view> findBrand(std::string_view cpuinfo) noexcept {
    // Most telling first: x86 and arm64, MIPS, POWER, old ARM and the board that it is on.
    static constexpr std::string_view keys[] = {"model name", "Model Name", "cpu model",
                                                "cpu",        "Processor",  "Hardware"};
    for (const std::string_view key : keys) {
        std::string_view text = cpuinfo;
        while (const std::optional<std::string_view> line = takeLine(text)) {
            const Entry entry = splitEntry(*line);
            if (entry.key == key && !trimmed(entry.value).empty())
                return entry.value;
        }
    }
    return std::nullopt;
}

std::vector<ProcessorCore> parseProcessors(std::string_view cpuinfo) {
    std::vector<ProcessorCore> processors;
    while (const std::optional<std::string_view> line = takeLine(cpuinfo)) {
        Entry entry = splitEntry(*line);
        const std::optional<std::uint32_t> number = takeNumber<std::uint32_t>(entry.value);
        if (!number)
            continue;
        if (entry.key == "processor") {
            if (processors.size() == mostProcessors)
                break;
            processors.push_back({*number, std::nullopt, std::nullopt});
        } else if (!processors.empty() && entry.key == "physical id") {
            processors.back().package = *number;
        } else if (!processors.empty() && entry.key == "core id") {
            processors.back().core = *number;
        }
    }
    return processors;
}

std::optional<std::vector<std::uint32_t>> parseProcessorList(std::string_view text) {
    text = trimmed(text);
    std::vector<std::uint32_t> numbers;
    while (!text.empty()) {
        const std::optional<std::uint32_t> first = takeNumber<std::uint32_t>(text);
        std::optional<std::uint32_t> last = first;
        if (text.starts_with('-')) {
            text.remove_prefix(1);
            last = takeNumber<std::uint32_t>(text);
        }
        if (!first || !last || *last < *first || *last >= mostProcessors)
            return std::nullopt;
        if (!numbers.empty() && *first <= numbers.back())
            return std::nullopt;
        for (std::uint32_t number = *first; number <= *last; ++number)
            numbers.push_back(number);
        if (text.empty())
            break;
        if (!text.starts_with(','))
            return std::nullopt;
        text.remove_prefix(1);
        if (text.empty())
            return std::nullopt;
    }
    return numbers;
}

} // namespace sentrel::platform
