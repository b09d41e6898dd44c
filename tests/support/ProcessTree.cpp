#include "ProcessTree.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace sentrel {

namespace {

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? std::string() : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

} // namespace

std::vector<TreeProcess> readProcessTree(std::string_view name) {
    std::ifstream file(std::string(SENTREL_FIXTURES) + "/processes/" + std::string(name) + ".tree");
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
        process.command = next();
        process.program = next();
        process.group = next();
        text.clear();
        process.arguments = next();
        process.isKernelThread = process.program == "kernel";
        if (process.isKernelThread || process.program == "-")
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
    std::string arguments = process.arguments;
    if (!arguments.empty())
        arguments += ' ';
    std::replace(arguments.begin(), arguments.end(), ' ', '\0');
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
