// SPDX-License-Identifier: Apache-2.0
#include "tests/support/linux/CapturedMachine.h"

#include "tests/support/Fixtures.h"

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>

namespace sentrel {

namespace {

// The numbers of a line of /proc/stat, the first of which is the time in programs and the fourth that of rest.
class Ticks {
public:
    explicit Ticks(std::string_view line) noexcept {
        for (std::uint64_t& number : numbers_)
            number = platform::takeNumber(line).value_or(0);
    }
    void pass(std::uint64_t worked, std::uint64_t rested) noexcept {
        numbers_[0] += worked;
        numbers_[3] += rested;
    }
    [[nodiscard]] std::string text() const {
        std::string text;
        for (const std::uint64_t number : numbers_)
            text += " " + std::to_string(number);
        return text;
    }

private:
    std::array<std::uint64_t, 10> numbers_;
};

} // namespace

CapturedMachine::CapturedMachine(const std::string& name) {
    const std::string host = fixturePath("host/" + name);
    if (std::filesystem::exists(host))
        std::filesystem::copy(host, path(),
                              std::filesystem::copy_options::recursive | std::filesystem::copy_options::copy_symlinks);
    if (std::filesystem::exists(fixturePath("machines/" + name + ".tree")))
        add(machineListing(name));
}

void CapturedMachine::work(std::uint32_t processor) const {
    const std::string before = root().read("/proc/stat", std::size_t{1} << 20).value_or("");
    std::string each;
    std::string rest;
    std::optional<Ticks> all;
    std::uint64_t count = 0;
    std::string_view text = before;
    while (const std::optional<std::string_view> line = platform::takeLine(text)) {
        std::string_view numbers = *line;
        const std::string_view name = platform::takeWord(numbers);
        if (name == "cpu") {
            all.emplace(numbers);
        } else if (name.starts_with("cpu")) {
            const bool works = platform::toNumber<std::uint32_t>(name.substr(3)) == processor;
            Ticks ticks(numbers);
            ticks.pass(works ? 75 : 0, works ? 25 : 100);
            each += std::string(name) + ticks.text() + "\n";
            ++count;
        } else {
            rest += std::string(*line) + "\n";
        }
    }
    all->pass(75, count * 100 - 75);
    write("proc/stat", "cpu " + all->text() + "\n" + each + rest);
}

} // namespace sentrel
