// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/DiskCounters.h>

#include <SentrelKit/platform/linux/common/MonotonicTime.h>

#include <array>
#include <string_view>

namespace sentrel::platform {

namespace {

constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t longestWait = 10 * millisecond; // and one step of the coarse clock

void add(std::optional<std::int64_t>& sum, const std::optional<std::int64_t>& part) {
    if (part)
        sum = sum.value_or(0) + *part;
}

std::optional<DiskStatistics> readCounters(KeptFile& file) {
    std::array<char, 512> text;
    const std::optional<std::string_view> content = file.read(text);
    return content ? std::optional(parseBlockStatistics(*content)) : std::nullopt;
}

} // namespace

std::int64_t CounterGroup::coarseClock() noexcept {
    return clockNanoseconds(CLOCK_MONOTONIC_COARSE).value_or(0);
}

void CounterGroup::readTogether(std::int64_t now) {
    for (Member& member : members_) {
        if (!member.wasGiven)
            continue;
        member.reading = member.read();
        member.readAt = now;
        member.wasGiven = false;
    }
}

// A stacked device or an NVMe namespace whose own counters stand at zero is summed up over what carries it, as older
// kernels count only there.
std::optional<DiskStatistics> CounterGroup::Member::read() {
    const std::optional<DiskStatistics> whole = readCounters(own);
    const bool counted = whole && (whole->bytesRead.value_or(0) != 0 || whole->bytesWritten.value_or(0) != 0);
    if (counted || below.empty())
        return whole;
    DiskStatistics sum;
    for (KeptFile& file : below) {
        const std::optional<DiskStatistics> part = readCounters(file);
        if (!part)
            return whole;
        add(sum.bytesRead, part->bytesRead);
        add(sum.bytesWritten, part->bytesWritten);
    }
    return sum;
}

DiskCounters::DiskCounters(CounterGroup& group, const BlockDevices& devices, const std::string& kernelName)
    : group_(group) {
    const auto file = [&devices](const std::string& device, std::string_view name) {
        return KeptFile(devices.root(), BlockDevices::folder(device, name));
    };
    CounterGroup::Member member{.own = file(kernelName, "stat")};
    for (const std::string& component : devices.components(kernelName))
        member.below.push_back(file(component, "stat"));
    for (const std::string& path : devices.nvmePaths(kernelName))
        member.below.push_back(file(kernelName, "device/" + path + "/stat"));
    const LockScope scope(group_.lock_);
    member_ = group_.members_.insert(group_.members_.end(), std::move(member));
}

DiskCounters::~DiskCounters() {
    const LockScope scope(group_.lock_);
    group_.members_.erase(member_);
}

std::optional<DiskStatistics> DiskCounters::statistics() {
    const LockScope scope(group_.lock_);
    const std::int64_t now = group_.clock_();
    if (member_->wasGiven || now - member_->readAt > longestWait) {
        member_->wasGiven = true;
        group_.readTogether(now);
    }
    member_->wasGiven = true;
    return member_->reading;
}

} // namespace sentrel::platform
