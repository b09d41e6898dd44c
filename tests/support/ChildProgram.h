// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace sentrel {

/// A program that a test starts and whose standard output it reads; it is ended with the object.
class ChildProgram {
public:
    explicit ChildProgram(const std::vector<std::string>& command);
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    [[nodiscard]] pid_t id() const noexcept { return id_; }

    /// The next line without its end; absent at the end of the output, or if none comes for as long as a test may take.
    [[nodiscard]] std::optional<std::string> readLine();

    /// Ends the program with a signal and waits until it is gone.
    void end(int signal = SIGKILL);

private:
    pid_t id_ = -1;
    int output_ = -1;
    std::string read_;
};

} // namespace sentrel
