// SPDX-License-Identifier: Apache-2.0
// links: fmt
// One byte size, one rate and one plain number as text, beside the C library, {fmt} and std::to_chars doing the same:
// the same unit is chosen by the same walk, and each ends in a std::string.

#include <SentrelKit/system/Formatting.h>

#include <array>
#include <benchmark/benchmark.h>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::array<const char*, 8> units{"B", "KB", "MB", "GB", "TB", "PB", "EB", "ZB"};

/// Sizes from bytes to petabytes, evenly over the magnitudes.
const std::vector<double>& sizes() {
    static const std::vector<double> values = [] {
        std::mt19937_64 random(7);
        std::uniform_real_distribution<double> exponent(0, 50);
        std::vector<double> list(1024);
        for (double& value : list)
            value = std::floor(std::exp2(exponent(random)));
        return list;
    }();
    return values;
}

struct Chosen {
    double value;
    const char* unit;
    bool whole;
};

Chosen chooseSize(double value) {
    std::size_t unit = 0;
    for (; value > 1024; ++unit)
        value /= 1024;
    return {value, units[unit], unit == 0 || value - std::trunc(value) < 0.005};
}

Chosen chooseRate(double value) {
    std::size_t unit = 1;
    for (value /= 1024; value >= 1024; ++unit)
        value /= 1024;
    return {value, units[unit], false};
}

std::string appendToChars(double value, int decimals, const char* unit, const char* suffix) {
    std::array<char, 64> text;
    char* end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals).ptr;
    for (const char* part : {unit, suffix})
        end = static_cast<char*>(std::memcpy(end, part, std::strlen(part))) + std::strlen(part);
    return {text.data(), end};
}

struct SentrelKit {
    static std::string size(double value) { return sentrel::byteStr(value); }
    static std::string rate(double value) { return sentrel::bpsStr(value); }
    static std::string number(double value) { return sentrel::toStr(value); }
};

struct Snprintf {
    template <class... Arguments>
    static std::string text(const char* format, Arguments... arguments) {
        std::array<char, 64> buffer;
        const int length = std::snprintf(buffer.data(), buffer.size(), format, arguments...);
        return {buffer.data(), static_cast<std::size_t>(length)};
    }
    static std::string size(double value) {
        const Chosen chosen = chooseSize(value);
        return text(chosen.whole ? "%.0f %s" : "%.2f %s", chosen.value, chosen.unit);
    }
    static std::string rate(double value) {
        const Chosen chosen = chooseRate(value);
        return text("%.1f %s/s", chosen.value, chosen.unit);
    }
    static std::string number(double value) { return text("%.2f", value); }
};

struct Fmt {
    static std::string size(double value) {
        const Chosen chosen = chooseSize(value);
        return chosen.whole ? fmt::format("{:.0f} {}", chosen.value, chosen.unit)
                            : fmt::format("{:.2f} {}", chosen.value, chosen.unit);
    }
    static std::string rate(double value) {
        const Chosen chosen = chooseRate(value);
        return fmt::format("{:.1f} {}/s", chosen.value, chosen.unit);
    }
    static std::string number(double value) { return fmt::format("{:.2f}", value); }
};

struct ToChars {
    static std::string size(double value) {
        const Chosen chosen = chooseSize(value);
        return appendToChars(chosen.value, chosen.whole ? 0 : 2, " ", chosen.unit);
    }
    static std::string rate(double value) {
        const Chosen chosen = chooseRate(value);
        return appendToChars(chosen.value, 1, " ", chosen.unit) + "/s";
    }
    static std::string number(double value) { return appendToChars(value, 2, "", ""); }
};

template <std::string (*Format)(double)>
void run(benchmark::State& state) {
    const std::vector<double>& values = sizes();
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Format(values[next]));
        next = (next + 1) % values.size();
    }
}

BENCHMARK(run<SentrelKit::size>)->Name("size/SentrelKit");
BENCHMARK(run<Snprintf::size>)->Name("size/snprintf");
BENCHMARK(run<Fmt::size>)->Name("size/fmt");
BENCHMARK(run<ToChars::size>)->Name("size/to_chars");
BENCHMARK(run<SentrelKit::rate>)->Name("rate/SentrelKit");
BENCHMARK(run<Snprintf::rate>)->Name("rate/snprintf");
BENCHMARK(run<Fmt::rate>)->Name("rate/fmt");
BENCHMARK(run<ToChars::rate>)->Name("rate/to_chars");
BENCHMARK(run<SentrelKit::number>)->Name("number/SentrelKit");
BENCHMARK(run<Snprintf::number>)->Name("number/snprintf");
BENCHMARK(run<Fmt::number>)->Name("number/fmt");
BENCHMARK(run<ToChars::number>)->Name("number/to_chars");

} // namespace
