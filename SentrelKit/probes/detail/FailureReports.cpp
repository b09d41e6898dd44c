// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/FailureReports.h>

#include <SentrelKit/base/system/System.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/probes/SystemManager.h>

#include <cerrno>

namespace sentrel::probes {

namespace {

constexpr std::int64_t minute = 60'000'000'000; // ns
constexpr std::int64_t forgotten = 10 * minute; // what is sampled is heard of far more often

thread_local SamplingReports* reports = nullptr;

} // namespace

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
    ++count_;
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
    --count_;
    return true;
}

// Such as a volume that never answered and is mounted no longer.
void StandingFailures::forgetWhatNobodyAsks(std::int64_t now) {
    for (auto& [name, subjects] : failures_)
        count_ -= std::erase_if(subjects, [now](const auto& entry) { return now - entry.second >= forgotten; });
}

SamplingReports::SamplingReports(SystemManager& session)
    : session_(session), failures_(session.shared<StandingFailures>()), outer_(reports) {
    reports = this;
}

SamplingReports::~SamplingReports() {
    reports = outer_;
}

bool SamplingReports::areUnderWay() noexcept {
    return reports != nullptr;
}

bool isToBeTold(const Operation& operation, std::string_view subject) {
    if (!reports)
        return true;
    const int error = errno;
    const bool isNew =
        reports->failures_.begins(operation, subject, reports->session_.platform().clock().monotonicNanoseconds());
    errno = error;
    return isNew;
}

void succeeded(const Operation& operation, std::string_view subject) {
    if (!reports || !reports->failures_.areAny() ||
        !reports->failures_.ends(operation, subject, reports->session_.platform().clock().monotonicNanoseconds()))
        return;
    const char* const begin = operation.endsItsLine ? "" : "\n";
    const std::string name(operation.name);
    if (subject.empty())
        System_error("%s%s works again\n", begin, name.c_str());
    else
        System_error("%s%s works again for '%s'\n", begin, name.c_str(), std::string(subject).c_str());
}

} // namespace sentrel::probes
