// SPDX-License-Identifier: Apache-2.0
// Several processes write different keys of one preference suite at once, are killed with SIGKILL at random moments and
// started again where they stopped. Meanwhile this process reads: every acknowledged key must be there at the next
// read, and the file must be a whole property list at every moment.
//
//     preference_soak [writers [keys of each [seed]]]

#include "tests/support/ConfigurationFolder.h"

#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>
#include <SentrelKit/settings/UserDefaults.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <random>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace sentrel;

namespace {

constexpr const char* suiteName = "soak";

std::string keyName(int writer, int number) {
    return std::to_string(writer) + "/" + std::to_string(number);
}

/// A writer's whole life: acknowledges each kept key by one byte.
int write(int writer, int first, int keys) {
    const UserDefaults defaults(suiteName);
    for (int number = first; number < keys; ++number) {
        if (!defaults.set(keyName(writer, number), number))
            return EXIT_FAILURE;
        const char acknowledged = 'k';
        if (::write(STDOUT_FILENO, &acknowledged, 1) != 1)
            return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

struct Writer {
    int index = 0;
    pid_t process = -1;
    int acknowledgements = -1; ///< read end of the pipe
    int acknowledged = 0;      ///< keys from 0 on
};

void start(Writer& writer, const char* program, int keys) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        std::exit(EXIT_FAILURE);
    writer.process = fork();
    if (writer.process == 0) {
        dup2(ends[1], STDOUT_FILENO);
        execl(program, program, "--write", std::to_string(writer.index).c_str(),
              std::to_string(writer.acknowledged).c_str(), std::to_string(keys).c_str(), nullptr);
        _exit(EXIT_FAILURE);
    }
    close(ends[1]);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    writer.acknowledgements = ends[0];
}

void takeAcknowledgements(Writer& writer) {
    char bytes[4096];
    for (ssize_t got = 0; (got = read(writer.acknowledgements, bytes, sizeof bytes)) > 0;)
        writer.acknowledged += static_cast<int>(got);
}

/// Waits for a writer's end. True unless it failed by itself.
bool reap(Writer& writer) {
    int status = 0;
    waitpid(writer.process, &status, 0);
    takeAcknowledgements(writer);
    close(writer.acknowledgements);
    writer.process = -1;
    return WIFSIGNALED(status) ? WTERMSIG(status) == SIGKILL : WEXITSTATUS(status) == EXIT_SUCCESS;
}

bool fileIsWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return true; // nobody has written yet
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    return platform::decodePropertyList(bytes).has_value() && !bytes.empty();
}

/// Whether everything acknowledged so far can be read.
bool everythingIsThere(const UserDefaults& defaults, const std::vector<Writer>& writers) {
    for (const Writer& writer : writers) {
        for (int number = 0; number < writer.acknowledged; ++number) {
            if (defaults[keyName(writer.index, number)].object() == PropertyList(number))
                continue;
            std::printf("lost: %s\n", keyName(writer.index, number).c_str());
            return false;
        }
    }
    return true;
}

bool soak(const char* program, std::vector<Writer>& writers, int keys, unsigned seed) {
    const ConfigurationFolder folder;
    const std::string path = folder->path(std::string(suiteName) + ".plist");
    const UserDefaults defaults(suiteName);
    std::mt19937 random(seed);
    for (std::size_t i = 0; i < writers.size(); ++i) {
        writers[i].index = static_cast<int>(i);
        start(writers[i], program, keys);
    }
    int kills = 0;
    int reads = 0;
    const auto began = std::chrono::steady_clock::now();
    for (std::size_t running = writers.size(); running > 0;) {
        poll(nullptr, 0, std::uniform_int_distribution<int>(1, 120)(random));
        for (Writer& writer : writers)
            if (writer.process > 0)
                takeAcknowledgements(writer);
        ++reads;
        if (!fileIsWhole(path) || !everythingIsThere(defaults, writers))
            return false;
        Writer& victim = writers[std::uniform_int_distribution<std::size_t>(0, writers.size() - 1)(random)];
        if (victim.process > 0 && victim.acknowledged < keys) {
            kill(victim.process, SIGKILL);
            ++kills;
            if (!reap(victim))
                return false;
            if (victim.acknowledged < keys)
                start(victim, program, keys);
        }
        for (Writer& writer : writers) {
            if (writer.process > 0 && writer.acknowledged == keys && !reap(writer))
                return false;
        }
        running = 0;
        for (const Writer& writer : writers)
            running += writer.process > 0 ? 1 : 0;
    }
    for (const Writer& writer : writers) {
        if (writer.acknowledged == keys)
            continue;
        std::printf("writer %d stopped after %d keys\n", writer.index, writer.acknowledged);
        return false;
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    std::printf("%zu writers kept %d keys each in %.1f s, through %d kills; %d checks while they ran (seed %u)\n",
                writers.size(), keys, took.count(), kills, reads, seed);
    return everythingIsThere(UserDefaults(suiteName), writers);
}

} // namespace

int main(int argc, char** argv) {
    const auto argument = [&](int index, int fallback) { return argc > index ? std::atoi(argv[index]) : fallback; };
    if (argc == 5 && std::strcmp(argv[1], "--write") == 0)
        return write(argument(2, 0), argument(3, 0), argument(4, 0));
    std::vector<Writer> writers(static_cast<std::size_t>(argument(1, 8)));
    const auto seed = static_cast<unsigned>(argument(3, static_cast<int>(std::random_device{}() & 0x7FFFFFFF)));
    const bool good = soak("/proc/self/exe", writers, argument(2, 1000), seed);
    for (const Writer& writer : writers)
        if (writer.process > 0)
            kill(writer.process, SIGKILL);
    std::puts(good ? "good" : "FAILED");
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
