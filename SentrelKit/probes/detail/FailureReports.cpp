// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/FailureReports.h>

#include <SentrelKit/base/system/System.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/probes/SystemManager.h>

#include <atomic>
#include <cerrno>

namespace sentrel::probes {

namespace {

constexpr std::int64_t minute = 60'000'000'000; // ns
constexpr std::int64_t forgotten = 10 * minute; // what is sampled is heard of far more often

thread_local SamplingReports* reports = nullptr;

// Of all sessions. There is seldom one, and then a success need not look for what it ends.
std::atomic<std::size_t> standing{0};

} // namespace

StandingFailures::~StandingFailures() {
    standing -= size();
}

std::size_t StandingFailures::size() const {
    const LockScope scope(lock_);
    std::size_t size = 0;
    for (const auto& [name, subjects] : failures_)
        size += subjects.size();
    return size;
}

bool StandingFailures::begins(const Operation& operation, std::string_view subject, std::int64_t now) {
    const LockScope scope(lock_);
    Subjects& subjects = failures_[operation.name];
    if (const auto known = subjects.find(subject); known != subjects.end()) {
        const bool hasLasted = now - known->second < minute;
        known->second = now;
        return !hasLasted;
    }
    forgetWhatNobodyAsks(now);
    subjects.emplace(subject, now);
    ++standing;
    return true;
}

bool StandingFailures::ends(const Operation& operation, std::string_view subject, std::int64_t now) {
    const LockScope scope(lock_);
    const auto subjects = failures_.find(operation.name);
    if (subjects == failures_.end())
        return false;
    const auto known = subjects->second.find(subject);
    if (known == subjects->second.end() || now - known->second < minute)
        return false;
    subjects->second.erase(known);
    --standing;
    return true;
}

// Such as a volume that never answered and is mounted no longer.
void StandingFailures::forgetWhatNobodyAsks(std::int64_t now) {
    for (auto& [name, subjects] : failures_)
        standing -= std::erase_if(subjects, [now](const auto& entry) { return now - entry.second >= forgotten; });
}

SamplingReports::SamplingReports(SystemManager& session) noexcept : session_(session), outer_(reports) {
    reports = this;
}

SamplingReports::~SamplingReports() {
    reports = outer_;
}

bool SamplingReports::areUnderWay() noexcept {
    return reports != nullptr;
}

StandingFailures& SamplingReports::failures() const {
    return session_.shared<StandingFailures>();
}

std::int64_t SamplingReports::now() const {
    return session_.platform().clock().monotonicNanoseconds();
}

bool isToBeTold(const Operation& operation, std::string_view subject) {
    if (!reports)
        return true;
    const int error = errno;
    const bool isNew = reports->failures().begins(operation, subject, reports->now());
    errno = error;
    return isNew;
}

void succeeded(const Operation& operation, std::string_view subject) {
    if (!reports || standing.load(std::memory_order_relaxed) == 0 ||
        !reports->failures().ends(operation, subject, reports->now()))
        return;
    const char* const begin = operation.endsItsLine ? "" : "\n";
    const std::string name(operation.name);
    if (subject.empty())
        System_error("%s%s works again\n", begin, name.c_str());
    else
        System_error("%s%s works again for '%s'\n", begin, name.c_str(), std::string(subject).c_str());
}

} // namespace sentrel::probes
