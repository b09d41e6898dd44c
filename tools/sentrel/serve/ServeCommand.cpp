// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/ServeCommand.h"

#include "tools/sentrel/serve/Metrics.h"
#include "tools/sentrel/serve/Serve.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <string>

namespace tool {

namespace {

// What the options are read into.
struct ServeWords {
    std::string listen;
    std::string configuration;
    bool isList = false;
};

std::string checkEndpoint(const std::string& text) {
    return parseEndpoint(text) ? std::string() : "--listen takes an address and a port, not '" + text + "'";
}

int list() {
    std::string text;
    for (const Metric& metric : metrics()) {
        text.append(metric.name).append(metric.kind == Kind::counter ? "\tcounter\t" : "\tgauge\t");
        for (const std::string_view label : metric.labels)
            text.append(label).append(label == metric.labels.back() ? "" : ",");
        text.append("\t").append(metric.help).append("\n");
    }
    return std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? 1 : 0;
}

int run(const ServeWords& words) {
    if (words.isList)
        return list();
    Configuration configuration;
    if (!words.configuration.empty()) {
        std::variant<Configuration, Refusal> read = readConfiguration(words.configuration);
        if (const auto* const refusal = std::get_if<Refusal>(&read)) {
            std::fprintf(stderr, "sentrel: %s\n", refusal->message.c_str());
            return badUsage;
        }
        configuration = std::get<Configuration>(std::move(read));
    }
    if (!words.listen.empty())
        configuration.listen = parseEndpoint(words.listen).value_or(configuration.listen);
    return serve(configuration);
}

} // namespace

Command addServe(CLI::App& program) {
    CLI::App& serve = *program.add_subcommand("serve", "Tell the figures to Prometheus and what speaks its format.");
    const auto words = std::make_shared<ServeWords>();
    serve.add_option("--listen", words->listen, "Where to listen; 127.0.0.1:9866 without it")
        ->type_name("ADDRESS:PORT")
        ->check(checkEndpoint);
    serve.add_option("--config", words->configuration, "A configuration file")->type_name("FILE");
    serve.add_flag("--list", words->isList, "Print name, type, labels and meaning of every metric");
    return {&serve, [words] { return run(*words); }};
}

} // namespace tool
