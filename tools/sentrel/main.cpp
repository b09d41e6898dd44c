// SPDX-License-Identifier: Apache-2.0
// The command: what the library measures, on a terminal and for other programs.
#include "tools/sentrel/Output.h"
#include "tools/sentrel/Show.h"

#include <SentrelKit/Version.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int badUsage = 2;

// Not CLI::Range, which takes "nan" for a number between any two.
std::string checkInterval(const std::string& text) {
    double seconds = 0.0;
    const bool isInRange = CLI::detail::lexical_cast(text, seconds) && seconds >= 0.1 && seconds <= 86400.0;
    return isInRange ? std::string() : "--watch takes a number of seconds from 0.1 to 86400, not '" + text + "'";
}

} // namespace

int main(int count, char** arguments) {
    CLI::App app("Measures this machine.", "sentrel");
    app.set_version_flag("--version", std::to_string(SENTREL_VERSION_MAJOR) + '.' +
                                          std::to_string(SENTREL_VERSION_MINOR) + '.' +
                                          std::to_string(SENTREL_VERSION_PATCH));
    app.require_subcommand(1);

    CLI::App& show = *app.add_subcommand("show", "Print the figures, once or again and again.");
    std::vector<std::string> resources;
    std::vector<std::string> fields;
    tool::ShowOptions options;
    double interval = 0.0;
    show.add_option("RESOURCE", resources, "cpu, mem, disk, net, battery, gpu or apps; all without any");
    show.add_flag("--json", options.json, "A JSON object a line");
    CLI::Option& watch = *show.add_option("--watch", interval, "Again every so many seconds, until it is ended")
                              ->type_name("SECONDS")
                              ->check(checkInterval);
    show.add_option("--fields", fields, "Only these figures, such as cpu.usage_ratio,disk.volumes.free_bytes")
        ->type_name("FIELD[,FIELD...]")
        ->delimiter(',');
    bool isSchemaWanted = false;
    show.add_flag("--schema", isSchemaWanted, "Print the JSON schema of the lines of --json");
    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error); // help and version
        std::fprintf(stderr, "sentrel: %s (try --help)\n", error.what());
        return badUsage;
    }
    if (isSchemaWanted)
        return std::fputs(tool::schema().c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? 1 : 0;
    std::string unknown;
    const std::optional<tool::Selection> selection = tool::Selection::of(resources, fields, unknown);
    if (!selection) {
        std::fprintf(stderr, "sentrel: there is no figure or resource '%s' (try --help)\n", unknown.c_str());
        return badUsage;
    }
    options.selection = *selection;
    if (watch.count() > 0)
        options.watch = std::chrono::duration<double>(interval);
    return tool::show(options);
}
