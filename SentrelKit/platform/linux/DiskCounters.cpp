#include <SentrelKit/platform/linux/DiskCounters.h>

#include <array>
#include <ctime>
#include <unistd.h>

namespace sentrel::platform {

namespace {

constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t longestWait = 10 * millisecond; // and one step of the coarse clock

void add(std::optional<std::int64_t>& sum, const std::optional<std::int64_t>& part) {
    if (part)
        sum = sum.value_or(0) + *part;
}

} // namespace

std::optional<DiskStatistics> CounterFile::read() {
    std::optional<DiskStatistics> statistics = readOpen();
    if (!statistics) {
        file_ = root_.open(path_); // at first, and when another device took the name
        statistics = readOpen();
    }
    return statistics;
}

std::optional<DiskStatistics> CounterFile::readOpen() {
    // The kernel gives the file whole to one read.
    std::array<char, 512> text;
    const ssize_t count = file_ ? ::pread(file_.get(), text.data(), text.size(), 0) : -1;
    if (count <= 0)
        return std::nullopt;
    return parseBlockStatistics({text.data(), static_cast<std::size_t>(count)});
}

std::int64_t CounterGroup::coarseClock() noexcept {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::int64_t{now.tv_sec} * 1'000 * millisecond + now.tv_nsec;
}

DiskCounters::DiskCounters(CounterGroup& group, const BlockDevices& devices, const std::string& kernelName)
    : group_(group), own_(devices.root(), BlockDevices::folder(kernelName, "stat")) {
    for (const std::string& component : devices.components(kernelName))
        below_.emplace_back(devices.root(), BlockDevices::folder(component, "stat"));
    for (const std::string& path : devices.nvmePaths(kernelName))
        below_.emplace_back(devices.root(), BlockDevices::folder(kernelName, "device/" + path + "/stat"));
    const LockScope scope(group_.lock_);
    group_.members_.push_back(this);
}

DiskCounters::~DiskCounters() {
    const LockScope scope(group_.lock_);
    std::erase(group_.members_, this);
}

std::optional<DiskStatistics> DiskCounters::statistics() {
    const LockScope scope(group_.lock_);
    const std::int64_t now = group_.clock_();
    if (wasGiven_ || now - readAt_ > longestWait)
        readTogether(now);
    wasGiven_ = true;
    return reading_;
}

void DiskCounters::readTogether(std::int64_t now) {
    wasGiven_ = true;
    for (DiskCounters* member : group_.members_) {
        if (!member->wasGiven_)
            continue;
        member->reading_ = member->read();
        member->readAt_ = now;
        member->wasGiven_ = false;
    }
}

// A stacked device or an NVMe namespace whose own counters stand at zero is summed up over what carries it, as older
// kernels count only there.
std::optional<DiskStatistics> DiskCounters::read() {
    const std::optional<DiskStatistics> own = own_.read();
    const bool counted = own && (own->bytesRead.value_or(0) != 0 || own->bytesWritten.value_or(0) != 0);
    if (counted || below_.empty())
        return own;
    DiskStatistics sum;
    for (CounterFile& file : below_) {
        const std::optional<DiskStatistics> part = file.read();
        if (!part)
            return own;
        add(sum.bytesRead, part->bytesRead);
        add(sum.bytesWritten, part->bytesWritten);
    }
    return sum;
}

} // namespace sentrel::platform
