// SPDX-License-Identifier: Apache-2.0
// Two processes share a setting: one watches it, the other changes it.
//
//     shared_setting watch          prints the temperature unit whenever it changes, until interrupted
//     shared_setting celsius        chooses the unit; every watcher prints the new text within a second
//     shared_setting fahrenheit
//     shared_setting                shows both sides: starts a watcher, chooses each unit and stops it again

#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/settings/SharedDefaults.h>
#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/system/Timer.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using namespace sentrel;

namespace {

/// The key that the library itself reads: 0 is Celsius, anything else Fahrenheit.
const DefaultsKey<std::int64_t> temperature("temperature");

int choose(bool fahrenheit) {
    return sharedDefaults().set(temperature, fahrenheit ? 1 : 0) ? EXIT_SUCCESS : EXIT_FAILURE;
}

int watch(double seconds) {
    std::string shown;
    Timer look(0.2, false, [&] {
        const std::string text = degrees(21.5);
        if (text == shown)
            return;
        shown = text;
        std::printf("process %d: the room has %s\n", static_cast<int>(getpid()), text.c_str());
        std::fflush(stdout);
    });
    look.start();
    dispatch::runMain(seconds);
    return EXIT_SUCCESS;
}

int showBothSides(const char* program) {
    const pid_t watcher = fork();
    if (watcher == 0) {
        execl(program, program, "watch", "3", nullptr);
        _exit(EXIT_FAILURE);
    }
    const auto before = sharedDefaults()["temperature"].object();
    bool kept = true;
    for (const bool fahrenheit : {false, true, false}) {
        std::printf("process %d: choosing %s\n", static_cast<int>(getpid()), fahrenheit ? "Fahrenheit" : "Celsius");
        std::fflush(stdout);
        kept = choose(fahrenheit) == EXIT_SUCCESS && kept;
        dispatch::runMain(0.8);
    }
    int status = EXIT_FAILURE;
    waitpid(watcher, &status, 0);
    kept = sharedDefaults().set("temperature", before) && kept;
    return kept && status == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "watch")
        return watch(argc > 2 ? std::atof(argv[2]) : 1e9);
    if (command == "celsius" || command == "fahrenheit")
        return choose(command == "fahrenheit");
    if (!command.empty()) {
        std::fprintf(stderr, "usage: %s [watch [seconds] | celsius | fahrenheit]\n", argv[0]);
        return EXIT_FAILURE;
    }
    return showBothSides(argv[0]);
}
