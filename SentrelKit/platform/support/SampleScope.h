// SPDX-License-Identifier: Apache-2.0
#pragma once

/// One sample of a model, as a service sees it: the questions that belong together.

#include <cstdint>

namespace sentrel::platform {

/// What a thread asks a machine for during this scope belongs to one sample: a service may answer several of its
/// questions from one reading of a table, so that their figures are of one moment and the kernel writes the table once.
/// No answer is older than the scope. A scope within another is part of it. Of the thread that makes it.
class SampleScope {
public:
    SampleScope() noexcept;
    ~SampleScope();
    SampleScope(const SampleScope&) = delete;
    SampleScope& operator=(const SampleScope&) = delete;

    /// The number of the calling thread's sample, which no other one of the process has; 0 outside of a scope.
    [[nodiscard]] static std::uint64_t current() noexcept;

private:
    const bool isOutermost_;
};

/// Of which sample something was read. Its owner guards it.
class SampleMark {
public:
    /// Whether it was read in the calling thread's sample.
    [[nodiscard]] bool isOfThisSample() const noexcept { return sample_ != 0 && sample_ == SampleScope::current(); }

    /// It is read now.
    void set() noexcept { sample_ = SampleScope::current(); }

    /// There is nothing any more.
    void clear() noexcept { sample_ = 0; }

private:
    std::uint64_t sample_ = 0;
};

} // namespace sentrel::platform
