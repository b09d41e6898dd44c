// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/LoadAverage.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

namespace sentrel::platform {

namespace {

bool take(std::string_view& text, char wanted) noexcept {
    if (!text.starts_with(wanted))
        return false;
    text.remove_prefix(1);
    return true;
}

// A number with exactly two decimals, as the kernel writes it.
std::optional<double> takeAverage(std::string_view& text) noexcept {
    const std::optional<std::uint32_t> whole = takeNumber<std::uint32_t>(text);
    if (!whole || !take(text, '.') || text.starts_with(' '))
        return std::nullopt;
    const std::size_t before = text.size();
    const std::optional<std::uint32_t> hundredths = takeNumber<std::uint32_t>(text);
    if (!hundredths || before - text.size() != 2)
        return std::nullopt;
    return *whole + *hundredths / 100.0;
}

} // namespace

std::optional<LoadAverageLine> parseLoadAverage(std::string_view content) noexcept {
    LoadAverageLine line;
    for (double& average : line.averages) {
        const std::optional<double> value = takeAverage(content);
        if (!value)
            return std::nullopt;
        average = *value;
    }
    if (!takeNumber<std::uint32_t>(content) || !take(content, '/'))
        return std::nullopt;
    const std::optional<std::uint32_t> threads = takeNumber<std::uint32_t>(content);
    if (!threads)
        return std::nullopt;
    line.threads = *threads;
    return line;
}

} // namespace sentrel::platform
