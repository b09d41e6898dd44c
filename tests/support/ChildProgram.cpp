// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ChildProgram.h"

#include "tests/support/Sockets.h"

#include <array>
#include <cstdlib>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace sentrel {

namespace {

constexpr int patienceMilliseconds = 30'000;

} // namespace

ChildProgram::ChildProgram(const std::vector<std::string>& command) {
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) != 0)
        throw std::runtime_error("no pipe");
    for (const int end : pipe)
        closedOnExec(end);
    output_ = pipe[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    const int error = ::posix_spawnp(&id_, arguments.front(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipe[1]);
    if (error != 0)
        id_ = -1;
}

ChildProgram::~ChildProgram() {
    end();
    ::close(output_);
}

void ChildProgram::end(int signal) {
    if (id_ < 0)
        return;
    ::kill(id_, signal);
    ::waitpid(id_, nullptr, 0);
    id_ = -1;
}

std::optional<std::string> ChildProgram::readLine() {
    for (;;) {
        if (const std::size_t end = read_.find('\n'); end != std::string::npos) {
            std::string line = read_.substr(0, end);
            read_.erase(0, end + 1);
            return line;
        }
        pollfd wait{output_, POLLIN, 0};
        std::array<char, 4096> bytes{};
        if (::poll(&wait, 1, patienceMilliseconds) <= 0)
            return std::nullopt;
        const ssize_t size = ::read(output_, bytes.data(), bytes.size());
        if (size <= 0)
            return std::nullopt;
        read_.append(bytes.data(), static_cast<std::size_t>(size));
    }
}

} // namespace sentrel
