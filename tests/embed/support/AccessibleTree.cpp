// SPDX-License-Identifier: Apache-2.0
#include "tests/embed/support/AccessibleTree.h"

#include "tests/embed/support/DesktopSession.h"
#include "tests/support/ChildProgram.h"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace sentrel {

namespace {

// What the reader prints, while this process goes on answering it. Empty unless it came to its end.
std::vector<std::string> ask(std::vector<std::string> arguments, const ServeUntil& serveUntil) {
    arguments.insert(arguments.begin(), {embedSupportPath("accessible_tree.py"), std::to_string(::getpid())});
    ChildProgram reader(arguments);
    std::vector<std::string> lines;
    std::atomic<bool> ended = false;
    std::thread listener([&] {
        while (std::optional<std::string> line = reader.readLine())
            lines.push_back(std::move(*line));
        ended = true;
    });
    const bool isServed = serveUntil([&] { return ended.load(); });
    listener.join();
    if (!isServed || lines.empty() || lines.back() != "done") {
        ADD_FAILURE() << "assistive technology: " << (lines.empty() ? "no answer" : lines.back());
        return {};
    }
    return lines;
}

} // namespace

bool AccessibleObject::is(const std::string& state) const {
    return (" " + states + " ").find(" " + state + " ") != std::string::npos;
}

std::vector<AccessibleObject> readAccessibleTree(const ServeUntil& serveUntil) {
    std::vector<std::string> lines = ask({}, serveUntil);
    if (!lines.empty())
        lines.pop_back();
    std::vector<AccessibleObject> objects;
    for (const std::string& line : lines) {
        std::istringstream fields(line);
        AccessibleObject object;
        std::string depth;
        std::getline(fields, depth, '\t');
        object.depth = std::stoi(depth);
        for (std::string* field : {&object.role, &object.name, &object.description, &object.value, &object.text,
                                   &object.states, &object.place})
            std::getline(fields, *field, '\t');
        objects.push_back(std::move(object));
    }
    return objects;
}

bool doAccessibleAction(const std::string& name, const ServeUntil& serveUntil) {
    return !ask({"do", name}, serveUntil).empty();
}

bool focusAccessible(const std::string& name, const ServeUntil& serveUntil) {
    return !ask({"focus", name}, serveUntil).empty();
}

} // namespace sentrel
