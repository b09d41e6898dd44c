// SPDX-License-Identifier: Apache-2.0
// The command: what the library measures, on a terminal and for other programs.
#include "tools/sentrel/Live.h"
#include "tools/sentrel/ShowCommand.h"
#include "tools/sentrel/serve/ServeCommand.h"

#include <SentrelKit/Version.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <string>

int main(int count, char** arguments) {
    CLI::App program("Measures this machine. Alone, it shows it on the terminal until q is pressed.", "sentrel");
    program.set_version_flag("--version", std::to_string(SENTREL_VERSION_MAJOR) + '.' +
                                              std::to_string(SENTREL_VERSION_MINOR) + '.' +
                                              std::to_string(SENTREL_VERSION_PATCH));
    program.require_subcommand(0, 1);
    const tool::Command commands[] = {tool::addShow(program), tool::addServe(program)};
    try {
        program.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return program.exit(error); // help and version
        std::fprintf(stderr, "sentrel: %s (try --help)\n", error.what());
        return tool::badUsage;
    }
    for (const tool::Command& command : commands)
        if (command.options->parsed())
            return command.run();
    return tool::live();
}
