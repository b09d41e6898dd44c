// SPDX-License-Identifier: Apache-2.0
// links: libplist-2.0
// Reading and writing preferences. A read of an unchanged suite is one stat and a look-up; the floor is measured beside
// it, and what parsing the same file with libplist costs.

#include <SentrelKit/settings/UserDefaults.h>

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <plist/plist.h>
#include <string>
#include <sys/stat.h>
#include <vector>

using namespace sentrel;

namespace {

/// A suite of so many keys in a folder of its own.
class Suite {
public:
    explicit Suite(std::int64_t keys) {
        std::string pattern = std::filesystem::temp_directory_path() / "sentrel-bench-XXXXXX";
        folder_ = mkdtemp(pattern.data());
        setenv("XDG_CONFIG_HOME", folder_.c_str(), 1);
        PropertyList::Dictionary entries;
        for (std::int64_t key = 0; key < keys; ++key)
            entries.emplace("key " + std::to_string(key), key);
        plist_t list = plist_new_dict();
        for (const auto& [key, value] : entries)
            plist_dict_set_item(list, key.c_str(),
                                plist_new_uint(static_cast<std::uint64_t>(*value.as<std::int64_t>())));
        char* bytes = nullptr;
        std::uint32_t size = 0;
        plist_to_bin(list, &bytes, &size);
        std::ofstream(path(), std::ios::binary).write(bytes, size);
        plist_to_bin_free(bytes);
        plist_free(list);
    }
    ~Suite() { std::filesystem::remove_all(folder_); }
    Suite(const Suite&) = delete;
    Suite& operator=(const Suite&) = delete;

    [[nodiscard]] std::string path() const { return folder_ + "/bench.plist"; }

private:
    std::string folder_;
};

void readUnchanged(benchmark::State& state) {
    const Suite suite(state.range(0));
    const UserDefaults defaults("bench");
    const DefaultsKey<std::int64_t> key("key 5");
    for (auto _ : state)
        benchmark::DoNotOptimize(defaults.get(key));
}

void statFloor(benchmark::State& state) {
    const Suite suite(state.range(0));
    const std::string path = suite.path();
    for (auto _ : state) {
        struct stat status {};
        benchmark::DoNotOptimize(stat(path.c_str(), &status));
    }
}

void parseWithLibplist(benchmark::State& state) {
    const Suite suite(state.range(0));
    for (auto _ : state) {
        std::ifstream file(suite.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        plist_t list = nullptr;
        plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &list);
        benchmark::DoNotOptimize(plist_dict_get_item(list, "key 5"));
        plist_free(list);
    }
}

void readAfterAnotherProcessWrote(benchmark::State& state) {
    const Suite suite(state.range(0));
    const UserDefaults defaults("bench");
    const DefaultsKey<std::int64_t> key("key 5");
    std::int64_t second = 0;
    for (auto _ : state) {
        // A new time stamp makes it a new version.
        state.PauseTiming();
        const timespec times[2]{{++second, 0}, {second, 0}};
        utimensat(AT_FDCWD, suite.path().c_str(), times, 0);
        state.ResumeTiming();
        benchmark::DoNotOptimize(defaults.get(key));
    }
}

void write(benchmark::State& state) {
    const Suite suite(state.range(0));
    const UserDefaults defaults("bench");
    std::int64_t value = 1'000'000;
    for (auto _ : state)
        if (!defaults.set("key 5", ++value))
            state.SkipWithError("the suite refuses changes");
}

void keyCounts(benchmark::internal::Benchmark* run) {
    run->Arg(10)->Arg(1000);
}

BENCHMARK(readUnchanged)->Apply(keyCounts);
BENCHMARK(statFloor)->Apply(keyCounts);
BENCHMARK(parseWithLibplist)->Apply(keyCounts);
BENCHMARK(readAfterAnotherProcessWrote)->Apply(keyCounts);
BENCHMARK(write)->Apply(keyCounts)->UseRealTime()->Unit(benchmark::kMicrosecond);

} // namespace
