// SPDX-License-Identifier: Apache-2.0
// The formatting engine writing lines to a descriptor, beside dprintf (which formats and writes each line) and libfmt
// (which formats into a buffer that is written when it is full, as the stream's is). Formatting alone is measured too.
// links: fmt

#include <SentrelKit/base/io/OutputStream.h>

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <iterator>
#include <unistd.h>

using namespace sentrel;

namespace {

constexpr std::size_t bufferSize = 1500;

int sink() {
    static const int descriptor = open("/dev/null", O_WRONLY | O_CLOEXEC);
    return descriptor;
}

const char* const device = "disk0s2";
const std::int64_t bytes = 250685575168;
const int percent = 42;

void printByStream(benchmark::State& state) {
    OutputStream* stream = OutputStream_new(sink());
    for (auto _ : state)
        OutputStream_print(stream, "%-10s %12ld bytes %3d%% used\n", device, bytes, percent);
    OutputStream_free(&stream);
}
BENCHMARK(printByStream);

void printByDprintf(benchmark::State& state) {
    for (auto _ : state)
        dprintf(sink(), "%-10s %12ld bytes %3d%% used\n", device, bytes, percent);
}
BENCHMARK(printByDprintf);

void printByFmt(benchmark::State& state) {
    fmt::memory_buffer buffer;
    for (auto _ : state) {
        fmt::format_to(std::back_inserter(buffer), "{:<10} {:12} bytes {:3}% used\n", device, bytes, percent);
        if (buffer.size() >= bufferSize) {
            if (write(sink(), buffer.data(), buffer.size()) < 0)
                state.SkipWithError("write");
            buffer.clear();
        }
    }
}
BENCHMARK(printByFmt);

void formatByStream(benchmark::State& state) {
    OutputStream* stream = OutputStream_new(-1);
    for (auto _ : state) {
        OutputStream_print(stream, "%-10s %12ld bytes %3d%% used\n", device, bytes, percent);
        OutputStream_clear(stream);
    }
    OutputStream_free(&stream);
}
BENCHMARK(formatByStream);

void formatBySnprintf(benchmark::State& state) {
    char buffer[bufferSize];
    for (auto _ : state) {
        std::snprintf(buffer, sizeof buffer, "%-10s %12ld bytes %3d%% used\n", device, bytes, percent);
        benchmark::DoNotOptimize(buffer);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(formatBySnprintf);

void formatByFmt(benchmark::State& state) {
    char buffer[bufferSize];
    for (auto _ : state) {
        fmt::format_to_n(buffer, sizeof buffer, "{:<10} {:12} bytes {:3}% used\n", device, bytes, percent);
        benchmark::DoNotOptimize(buffer);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(formatByFmt);

} // namespace
