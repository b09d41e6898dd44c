// SPDX-License-Identifier: Apache-2.0
#include "tests/support/linux/ProcessTree.h"

#include "tests/support/Fixtures.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace sentrel {

namespace {

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? std::string() : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

// Undoes percent-encoding.
std::string decoded(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEncoded = text[i] == '%';
        plain += isEncoded ? static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16)) : text[i];
        i += isEncoded ? 2 : 0;
    }
    return plain;
}

} // namespace

std::vector<TreeProcess> readProcessTree(std::string_view name) {
    std::ifstream file(fixturePath("processes/") + std::string(name) + ".tree");
    std::vector<TreeProcess> tree;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.front() == '#')
            continue;
        std::istringstream fields(line);
        TreeProcess process;
        fields >> process.id >> process.parent >> process.session >> process.terminal >> process.start;
        std::string text;
        std::getline(fields, text, '|');
        const auto next = [&] {
            std::getline(fields, text, '|');
            return trimmed(text);
        };
        process.command = decoded(next());
        process.program = decoded(next());
        process.group = decoded(next());
        text.clear();
        std::istringstream arguments(next());
        for (std::string argument; arguments >> argument;)
            process.arguments.push_back(decoded(argument));
        process.isKernelThread = process.program == "kernel";
        if (process.program == "zombie")
            process.state = 'Z';
        if (process.isKernelThread || process.state == 'Z' || process.program == "-")
            process.program.clear();
        tree.push_back(process);
    }
    if (tree.empty())
        throw std::runtime_error("no process tree " + std::string(name));
    return tree;
}

ProcessTree::ProcessTree(std::string_view fixture) : ProcessTree() {
    for (const TreeProcess& process : readProcessTree(fixture))
        put(process);
}

void ProcessTree::put(const TreeProcess& process) const {
    const std::string folder = "proc/" + std::to_string(process.id) + "/";
    std::ostringstream stat;
    stat << process.id << " (" << process.command << ") " << process.state << ' ' << process.parent << ' ' << process.id
         << ' ' << process.session << ' ' << process.terminal << " -1 "
         << (process.isKernelThread ? 0x00208040U : 0x00400000U) << " 120 0 0 0 " << process.userTicks << ' '
         << process.systemTicks << " 0 0 20 0 " << process.threads << " 0 " << process.start << " 1000000 "
         << process.residentPages << " 18446744073709551615 1 1 0 0 0 0 0 0 0 0 0 0 17 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n";
    folder_.write(folder + "stat", stat.str());
    folder_.write(folder + "statm", "2000 " + std::to_string(process.residentPages) + " 300 1 0 200 0\n");
    folder_.write(folder + "cgroup", "0::" + process.group + "\n");
    std::string arguments;
    for (const std::string& argument : process.arguments)
        arguments += argument + '\0';
    folder_.write(folder + "cmdline", arguments);
    folder_.remove(folder + "exe");
    if (!process.program.empty())
        folder_.link(folder + "exe", process.program);
}

void ProcessTree::remove(std::int32_t id) const {
    folder_.remove("proc/" + std::to_string(id));
}

void ProcessTree::setLastId(std::int32_t id) const {
    folder_.write("proc/loadavg", "0.10 0.20 0.30 1/100 " + std::to_string(id) + "\n");
}

} // namespace sentrel
