// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <string>
#include <sys/types.h>

namespace sentrel {

/// A process of its own program that does as it is told: a copy of the test program in a folder of its own, so that it
/// is nobody's helper. A test program that uses it starts every copy in its part before its own main function.
class Actor {
public:
    struct Part {
        int threads = 1;               ///< of the process itself; all but the first only wait
        bool spins = false;            ///< the first thread computes for ever
        int helpers = 0;               ///< processes that it forks
        int spinningHelpers = 0;       ///< how many of them compute for ever
        bool losesFirstThread = false; ///< the first thread ends once the others run
    };

    /// Starts the process and waits until it plays its part. Where that is allowed it gets the processor before all
    /// others, so that a busy machine does not spoil the measure.
    explicit Actor(const Part& part, const std::string& name = "actor");
    ~Actor();
    Actor(const Actor&) = delete;
    Actor& operator=(const Actor&) = delete;

    [[nodiscard]] pid_t id() const noexcept { return id_; }

    /// Ends the process and its helpers. It stays a zombie until `collect` or the end of the scope.
    void end();
    void collect();

private:
    TemporaryFolder folder_;
    pid_t id_ = -1;
    bool isCollected_ = false;
};

} // namespace sentrel
