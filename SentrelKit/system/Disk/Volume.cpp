// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/Time.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/probes/detail/FailureReports.h>
#include <SentrelKit/system/Disk/Disk.h>
#include <SentrelKit/system/Disk/detail/UsagePercent.h>
#include <SentrelKit/system/detail/PerSecond.h>

#include <cerrno>
#include <utility>

namespace sentrel {

int Disk::Volume::usagePercent() const noexcept {
    return truncatedPercent(used(), total());
}

bool Disk::Volume::eject() const {
    if (isRootFS_)
        fatalError("Cannot unmount/eject the root filesystem");
    // A share or a data set lies on no disk of its own, also where its last part is the name of one.
    const bool isOnDevice = source_.starts_with("/dev/");
    const std::shared_ptr<probes::SystemManager> session = session_.lock();
    return session && probes::_ejectDisk(isOnDevice ? device_.c_str() : source_.c_str(), *session) != 0;
}

std::optional<Disk::Volume::SmartStatus> Disk::Volume::smartStatus() const {
    const std::shared_ptr<probes::SystemManager> session = session_.lock();
    if (!smart_ || !session)
        return std::nullopt;
    const probes::SamplingReports reports(*session); // hosts ask again and again
    probes::SMARTData data = *smart_;
    if (probes::_getSMARTData(device_.c_str(), &data, *session) == 0)
        return std::nullopt;
    return SmartStatus{data.healthy != 0, data.temperature};
}

Availability Disk::Volume::smartDetails(probes::SmartDetails& details) const {
    const std::shared_ptr<probes::SystemManager> session = session_.lock();
    return session ? probes::readSmartDetails(device_.c_str(), details, *session) : Availability::failed;
}

bool Disk::Volume::sample(probes::SystemManager& session) {
    const std::int64_t now = Time_milli(session.platform().clock());
    const std::shared_ptr<const Label> label = label_.value();
    probes::DiskData data{};
    data.bytesWritten = wbytes(); // a counter that is not found stays as it was
    data.bytesRead = rbytes();
    if (probes::_getDiskActivity(device_.c_str(), label->path.c_str(), &data, session) <= 0) {
        access_ = errno == EACCES || errno == EPERM ? Availability::denied : Availability::failed;
        return false;
    }
    const bool isWritten = data.bytesWritten != wbytes();
    const std::int64_t gap = now - timestamp();
    if (gap > 0)
        setRates(data, gap);
    setActivity(data, now);
    return isWritten;
}

void Disk::Volume::relist(probes::DiskData data, std::int64_t time) {
    // A listing gives 0 for what it does not know: that is no news.
    if (data.bytesWritten == 0)
        data.bytesWritten = wbytes();
    if (data.bytesRead == 0)
        data.bytesRead = rbytes();
    if (data.total == 0) {
        data.free = free();
        data.used = used();
        data.inodes = inodes_;
        data.freeInodes = freeInodes_;
    }
    const std::int64_t gap = time - timestamp();
    if (gap >= 1)
        setRates(data, gap);
    setActivity(data, time);
}

int Disk::Volume::measureUsage(probes::SystemManager& session) {
    const std::shared_ptr<const Label> label = label_.value();
    const probes::SamplingReports reports(session);
    probes::DiskData data{};
    if (probes::_getDiskDataFor(label->path.c_str(), &data, session) <= 0)
        return 0;
    setTotal(data.total);
    used_ = data.used;
    return truncatedPercent(data.used, total());
}

void Disk::Volume::setRates(const probes::DiskData& data, std::int64_t gap) noexcept {
    wbytesps_ = perSecond(data.bytesWritten, wbytes(), gap);
    rbytesps_ = perSecond(data.bytesRead, rbytes(), gap);
}

void Disk::Volume::setActivity(const probes::DiskData& data, std::int64_t now) noexcept {
    setTotal(data.total);
    wbytes_ = data.bytesWritten;
    rbytes_ = data.bytesRead;
    free_ = data.free;
    used_ = data.used;
    inodes_ = data.inodes;
    freeInodes_ = data.freeInodes;
    timestamp_ = now;
    if (data.answers != 0) {
        access_ = Availability::available;
        lastAnswer_ = now;
    } else if (answers()) {
        access_ = Availability::failed;
    }
}

// The first one that is known, which may come after the volume.
void Disk::Volume::setTotal(std::int64_t total) noexcept {
    total_.replace(0, total);
}

void Disk::Volume::setLabel(std::string name, std::string path) {
    label_.setValue(std::make_shared<const Label>(Label{std::move(name), std::move(path)}));
}

} // namespace sentrel
