// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Options.h"

#include "examples/dashboard/TerminalText.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace dashboard {

namespace {

constexpr double longest = 86400;

std::optional<double> parseSeconds(const char* text) {
    char* end = nullptr;
    const double seconds = std::strtod(text, &end);
    if (end == text || *end != '\0' || !std::isfinite(seconds) || seconds <= 0 || seconds > longest)
        return std::nullopt;
    return seconds;
}

} // namespace

const char* const usage = "usage: dashboard [--seconds N] [--output FILE]\n"
                          "\n"
                          "Measures this machine, prints the figures and draws them.\n"
                          "\n"
                          "  --seconds N    sample for N seconds (default 4, at most 86400)\n"
                          "  --output FILE  write the picture, a PNG, to FILE (default dashboard.png)\n"
                          "  --help         print this text\n";

std::optional<Options> parseOptions(int count, char** arguments) {
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        const char* const value = i + 1 < count ? arguments[i + 1] : nullptr;
        if (argument == "--help" || argument == "-h") {
            options.help = true;
            continue;
        }
        if (argument != "--seconds" && argument != "--output") {
            std::fprintf(stderr, "dashboard: unknown argument '%s' (try --help)\n", terminalText(argument).c_str());
            return std::nullopt;
        }
        if (!value || *value == '\0') {
            std::fprintf(stderr, "dashboard: %s needs a value (try --help)\n", arguments[i]);
            return std::nullopt;
        }
        ++i;
        if (argument == "--output") {
            options.output = value;
        } else if (const auto seconds = parseSeconds(value)) {
            options.seconds = *seconds;
        } else {
            std::fprintf(stderr, "dashboard: --seconds takes a number above 0 and up to %.0f, not '%s'\n", longest,
                         terminalText(value).c_str());
            return std::nullopt;
        }
    }
    return options;
}

} // namespace dashboard
