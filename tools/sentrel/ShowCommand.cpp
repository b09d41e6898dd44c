// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/ShowCommand.h"

#include "tools/sentrel/Output.h"
#include "tools/sentrel/Show.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace tool {

namespace {

// What the options are read into.
struct ShowWords {
    std::vector<std::string> resources;
    std::vector<std::string> fields;
    double interval = 0.0; // 0: once
    bool isJson = false;
    bool isAll = false;
    bool isSchema = false;
    bool isList = false;
};

// Not CLI::Range, which takes "nan" for a number between any two.
std::string checkInterval(const std::string& text) {
    double seconds = 0.0;
    const bool isInRange = CLI::detail::lexical_cast(text, seconds) && seconds >= 0.1 && seconds <= 86400.0;
    return isInRange ? std::string() : "--watch takes a number of seconds from 0.1 to 86400, not '" + text + "'";
}

int run(const ShowWords& words) {
    if (words.isSchema)
        return print(schema());
    if (words.isList)
        return print(fieldList());
    std::string unknown;
    const std::optional<Selection> selection = Selection::of(words.resources, words.fields, words.isAll, unknown);
    if (!selection) {
        std::fprintf(stderr, "sentrel: there is no figure or resource '%s' (try --help)\n", unknown.c_str());
        return badUsage;
    }
    ShowOptions options{*selection, words.isJson};
    if (words.interval > 0.0)
        options.watch = std::chrono::duration<double>(words.interval);
    return show(options);
}

} // namespace

Command addShow(CLI::App& program) {
    CLI::App& show = *program.add_subcommand("show", "Print the figures, once or again and again.");
    const auto words = std::make_shared<ShowWords>();
    show.add_option("RESOURCE", words->resources,
                    "cpu, mem, disk, net, battery, gpu or apps, all without any; sensors or host");
    show.add_flag("--all", words->isAll, "The figures too that are sampled only on request");
    show.add_flag("--json", words->isJson, "A JSON object a line");
    show.add_option("--watch", words->interval, "Again every so many seconds, until it is ended")
        ->type_name("SECONDS")
        ->check(checkInterval);
    show.add_option("--fields", words->fields, "Only these figures, such as cpu.usage_ratio,disk.volumes.free_bytes")
        ->type_name("FIELD[,FIELD...]")
        ->delimiter(',');
    show.add_flag("--list-fields", words->isList, "Print the names of all figures, and what they are");
    show.add_flag("--schema", words->isSchema, "Print the JSON schema of the lines of --json");
    return {&show, [words] { return run(*words); }};
}

} // namespace tool
