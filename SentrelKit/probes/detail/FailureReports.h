// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Which failures the probes tell of on the standard error stream. A probe that a host calls by itself tells of each
/// one. What a model asks at each sample would fill a log: of a failure that lasts it is told when it begins, and when
/// it has been over for a minute. One that comes and goes more often than that counts as one.

#include <SentrelKit/base/system/detail/ThreadSafety.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace sentrel::probes {

class SystemManager;

/// What can fail.
struct Operation {
    std::string_view name; ///< as the line on its failure has it
    bool endsItsLine;      ///< whether that line has an end
};

/// The failures that samples met and that are not over yet: one object a session, any thread.
class StandingFailures {
public:
    StandingFailures() = default;
    ~StandingFailures();
    StandingFailures(const StandingFailures&) = delete;
    StandingFailures& operator=(const StandingFailures&) = delete;

    /// Takes note of a failure of an operation on something, at a moment in nanoseconds of the session's clock. True if
    /// it is a new one. Allocates nothing for one that lasts.
    [[nodiscard]] bool begins(const Operation& operation, std::string_view subject, std::int64_t now);

    /// Takes note of a success. True, once, if a failure is over with it.
    [[nodiscard]] bool ends(const Operation& operation, std::string_view subject, std::int64_t now);

    /// How many failures are not over.
    [[nodiscard]] std::size_t size() const;

private:
    using Subjects = std::map<std::string, std::int64_t, std::less<>>; // with the moment of the last failure

    void forgetWhatNobodyAsks(std::int64_t now) SENTREL_REQUIRES(lock_);

    mutable Lock lock_;
    std::map<std::string_view, Subjects> failures_ SENTREL_GUARDED_BY(lock_); // by the operation's name
};

/// While one lives, what the calling thread asks the probes is part of sampling.
class SamplingReports {
public:
    explicit SamplingReports(SystemManager& session) noexcept;
    ~SamplingReports();
    SamplingReports(const SamplingReports&) = delete;
    SamplingReports& operator=(const SamplingReports&) = delete;

    /// Whether there is one on the calling thread.
    [[nodiscard]] static bool areUnderWay() noexcept;

private:
    friend bool isToBeTold(const Operation& operation, std::string_view subject);
    friend void succeeded(const Operation& operation, std::string_view subject);

    [[nodiscard]] StandingFailures& failures() const;
    [[nodiscard]] std::int64_t now() const;

    SystemManager& session_;
    SamplingReports* const outer_;
};

/// Whether a probe is to write the line on this failure. `errno` stays as it was.
[[nodiscard]] bool isToBeTold(const Operation& operation, std::string_view subject = {});

/// Tells, in a line of its own, that a failure which was told is over.
void succeeded(const Operation& operation, std::string_view subject = {});

} // namespace sentrel::probes
