// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The mounted volumes: their space, the activity of their disks, and their drives' health.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/DiskFacts.h>
#include <SentrelKit/platform/Icon.h>
#include <SentrelKit/platform/Pressure.h>
#include <SentrelKit/platform/VolumeNotification.h>
#include <SentrelKit/probes/DiskProbes.h>
#include <SentrelKit/probes/DiskRates.h>
#include <SentrelKit/probes/SmartDetails.h>
#include <SentrelKit/system/MeasureSet.h>
#include <SentrelKit/system/Mutex/Atomic.h>
#include <SentrelKit/system/Signal.h>
#include <SentrelKit/system/SystemResource.h>
#include <SentrelKit/system/detail/Measuring.h>
#include <SentrelKit/system/detail/PressureAlarm.h>

#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sentrel {

/// Keeps one `Volume` a mounted volume, from the first listing in its constructor on; mounts and unmounts bring a new
/// listing on the background queue, whether or not the model is sampled. Samples refresh space and rates. Nothing is
/// announced: views read when they redraw, and no reader waits for a sample. Source: the platform's VolumeService; on
/// Linux the mount table, sysfs and the drives themselves.
class SENTREL_API Disk final : public SystemResource {
public:
    class Volume;
    /// The volumes by their keys; a set that nobody changes any more.
    using Volumes = std::map<std::string, std::shared_ptr<Volume>>;

    /// Lists the volumes and asks their drives for their health, so it can take seconds while a drive is in trouble;
    /// then asks for notices.
    explicit Disk(std::shared_ptr<probes::SystemManager> session = probes::session());
    ~Disk() override;
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    [[nodiscard]] SystemResourceType type() const noexcept override { return SystemResourceType::disk; }

    /// Refreshes each volume's space, counters and rates; a volume whose space cannot be had stays as it is, but for
    /// telling so (`Volume::answers`), and a counter that cannot be had stays, too. Looks for a new label, on systems
    /// that tell nobody of one, where something was written. Waits for no file system that does not answer.
    void update() override;

    /// The volumes by device name, each with all its facts. Of several that would have one name (shares or data sets
    /// whose last part is the same), the one that was there first has it; another one is known by the whole of what is
    /// mounted, such as "server:/export". A volume keeps its name for as long as it is mounted. What is mounted twice
    /// is one volume, at the later place. Never waits for a sample or a listing. Any thread.
    [[nodiscard]] Volumes volumes() const;

    /// The root volume with all its facts, from when it was first seen; null before. Never waits. Any thread.
    [[nodiscard]] std::shared_ptr<Volume> HD() const;

    /// The root volume's used space, measured anew, in percent: truncated, then kept in 8 bits (0 to 255) without a
    /// range check: meant so. 0 without a root volume or if it cannot be measured. Any thread.
    [[nodiscard]] int usage() const;

    /// Schedules a new listing on the background queue. Any thread.
    void handleMountNotifications(const platform::VolumeNotification& notification);

    /// Gives every volume that has the old name the new name and path; a notice that lacks one of the three changes
    /// nothing. Waits neither for a sample nor for a listing, which does not bring the old name back. Any thread.
    void handleRenameNotification(const platform::VolumeNotification& notification);

    /// Groups of further facts, each sampled only while it is wanted.
    enum class Measure : std::uint8_t {
        activity, ///< `activity`
        devices,  ///< `devices` and `device`
        inodes,   ///< `inodes`
        pressure, ///< `pressure`
    };

    /// From the next sample on these groups are sampled too, and no others. A group that is not wanted costs nothing.
    /// Any thread.
    void setMeasures(MeasureSet<Measure> wanted) noexcept { measuring_.setWanted(wanted); }

    /// The groups that are wanted; none at first. Any thread.
    [[nodiscard]] MeasureSet<Measure> measures() const noexcept { return measuring_.wanted(); }

    /// What the last sample said of a group; absent while the group is not wanted or was not sampled since. The facts
    /// of a group are absent unless it is available. Any thread.
    [[nodiscard]] std::optional<Availability> availability(Measure measure) const noexcept {
        return measuring_.availability(measure);
    }

    // Any thread, under a short lock. The form that fills a list lets a reader use its memory again.

    /// What each disk, and each part of one, did since the sample before, whether or not a volume lies on it; empty
    /// unless available. Linux: /proc/diskstats (fields 1, 4, 5, 8 to 11), readable for everybody. macOS: "Statistics"
    /// of the IOBlockStorageDriver services (operations and total time each way), readable for everybody: of whole
    /// disks alone, without busy share and queue; that of a container is that of the disk below it.
    [[nodiscard]] std::vector<probes::DiskActivity> activity() const;
    /// The same into a list.
    void activity(std::vector<probes::DiskActivity>& list) const;
    /// That of the whole disk that a volume lies on, or of the device that is stacked on several; absent for a share
    /// and unless available.
    [[nodiscard]] std::optional<probes::DiskActivity> activity(const Volume& volume) const;

    /// Each disk, and each part of one; empty unless available. Read anew when a device with counters came or went, or
    /// something was mounted. Linux: sysfs (dm/name, device/model, size, removable, ro, queue/rotational) and udev's
    /// word on the model, readable for everybody; macOS: the IOMedia services and the device characteristics above
    /// them, readable for everybody.
    [[nodiscard]] std::vector<DiskDevice> devices() const;
    /// The same into a list.
    void devices(std::vector<DiskDevice>& list) const;
    /// The one that a volume lies on; absent for a share and unless available.
    [[nodiscard]] std::optional<DiskDevice> device(const Volume& volume) const;

    /// How many files a volume has room for.
    struct Inodes {
        std::int64_t used = 0;  ///< files that there are, folders included
        std::int64_t free = 0;  ///< that there can be beside them
        std::int64_t total = 0; ///< both
        /// Whether all three are the same.
        friend bool operator==(const Inodes&, const Inodes&) = default;
    };

    /// Those of a volume, as of the last sample; absent where the file system does not count them (btrfs, exfat, many
    /// shares) and unless wanted. Comes with the volume's space, and waits as little: statfs, f_files and f_ffree. The
    /// group is unsupported while no volume has them.
    [[nodiscard]] std::optional<Inodes> inodes(const Volume& volume) const;

    /// How much threads wait for disks. Linux 4.20: /proc/pressure/io, readable for everybody. macOS: unsupported, it
    /// averages no waiting.
    [[nodiscard]] std::optional<Pressure> pressure() const;

    /// From now on `onPressure` fires when threads waited for disks as the threshold says; absent: no longer. The
    /// system itself counts, whether this model is sampled or not. The answer is why it does not: on Linux it depends
    /// on the kernel's version and on privilege which thresholds it takes (Linux 6.5: from everybody those with windows
    /// of 2, 4, 6, 8 or 10 s; else CAP_SYS_RESOURCE); macOS has none. On the main thread.
    Availability setPressureThreshold(const std::optional<PressureThreshold>& threshold) {
        return alarm_.set(threshold);
    }

    /// Fires on the main queue, at most once a window. Carries no value.
    [[nodiscard]] Signal<void>& onPressure() noexcept { return alarm_.crossed(); }

private:
    class VolumeSet;

    void sampleMeasures();
    void sampleDisks() SENTREL_REQUIRES(sampling_);
    [[nodiscard]] Availability sampleDevices() SENTREL_REQUIRES(sampling_);
    [[nodiscard]] std::optional<DiskDevice> find(const Volume& volume) const;

    std::shared_ptr<VolumeSet> set_;
    Measuring<Measure> measuring_;
    Mutex sampling_; // of further facts; held by one sample at a time, and not by readers
    probes::DiskRates rates_ SENTREL_GUARDED_BY(sampling_);
    std::vector<DiskOperations> operations_ SENTREL_GUARDED_BY(sampling_);
    std::vector<probes::DiskActivity> nextActivity_ SENTREL_GUARDED_BY(sampling_);
    std::shared_ptr<const Volumes> devicesOf_ SENTREL_GUARDED_BY(sampling_); // the volumes when devices were read
    std::vector<std::string> devicesBeside_ SENTREL_GUARDED_BY(sampling_);   // the names that had counters then
    Availability devicesAnswer_ SENTREL_GUARDED_BY(sampling_) = Availability::failed;
    Relaxed<bool> isMeasured_;
    Atomic<std::vector<probes::DiskActivity>> activity_;
    Atomic<std::vector<DiskDevice>> devices_;
    Atomic<Pressure> pressure_;
    PressureAlarm alarm_;
    Observation observation_;
};

/// One mounted volume. A reader that holds one sees later updates; after its unmount it keeps its last figures. Getters
/// answer from any thread and may mix two samples. A volume does not keep its machine's session: once that is gone, it
/// cannot be ejected or asked for its health.
class SENTREL_API Disk::Volume {
public:
    /// For the model: a volume without figures yet.
    explicit Volume(std::weak_ptr<probes::SystemManager> session = {}) : session_(std::move(session)) {}
    Volume(const Volume&) = delete;
    Volume& operator=(const Volume&) = delete;

    /// A fresh answer of the drive.
    struct SmartStatus {
        bool status = false; ///< healthy
        double temp = 0.0;   ///< degrees Celsius; 0 if the drive does not tell
    };

    [[nodiscard]] std::string name() const { return label_.value()->name; } ///< as shown to the user
    [[nodiscard]] std::string path() const { return label_.value()->path; } ///< mount point

    // These keep their first values for as long as the volume stays mounted: meant so.
    /// The device name: the key in `volumes`. What follows the last "/" of what is mounted, if that is unique.
    [[nodiscard]] const std::string& device() const noexcept { return device_; }
    [[nodiscard]] const std::string& fstype() const noexcept { return fstype_; } ///< such as "apfs" or "ext4"
    [[nodiscard]] const std::string& model() const noexcept { return model_; }   ///< of the device, or "unknown"
    /// Bytes; 0 until the file system answered for the first time, which a network share may do late.
    [[nodiscard]] std::int64_t total() const noexcept { return total_; }
    [[nodiscard]] bool isRootFS() const noexcept { return isRootFS_; } ///< mounted at "/"
    /// The icon for the mount point; absent if there is none that fits. On Linux one of freedesktop's icon names.
    [[nodiscard]] const std::optional<Icon>& icon() const noexcept { return icon_; }
    /// The drive's health when the volume was first seen; absent if it could not be asked.
    [[nodiscard]] const std::optional<probes::SMARTData>& smart() const noexcept { return smart_; }

    [[nodiscard]] std::int64_t free() const noexcept { return free_; }     ///< bytes
    [[nodiscard]] std::int64_t used() const noexcept { return used_; }     ///< bytes
    [[nodiscard]] std::int64_t wbytes() const noexcept { return wbytes_; } ///< written since boot
    [[nodiscard]] std::int64_t rbytes() const noexcept { return rbytes_; } ///< read since boot
    /// Written bytes per second over the last gap between samples: (counter now - counter before) * 1000 / milliseconds
    /// between, only over a positive gap; neither smoothed nor clamped: a counter that went back gives a negative rate:
    /// meant so. 0.0 at first.
    [[nodiscard]] double wbytesps() const noexcept { return wbytesps_; }
    [[nodiscard]] double rbytesps() const noexcept { return rbytesps_; } ///< the same for reading
    /// When the counters were taken: milliseconds since the epoch.
    [[nodiscard]] std::int64_t timestamp() const noexcept { return timestamp_; }

    /// Whether the file system gave its space at the last sample or listing. False for one whose server is gone, whose
    /// drive fails, or that had its time and did not answer yet: space, used and free are then those of `lastAnswer`.
    /// It is true again with the sample that has an answer. One that takes longer than from one sample to the next goes
    /// to and fro. On Linux at most 64 calls that do not return are waited for: beside more dead mounts than that, each
    /// other network and user-space mount counts as one that does not answer. macOS: false if statfs fails. On the
    /// standard error stream there is a line when a volume stops answering, and one when it has answered for a minute.
    [[nodiscard]] bool answers() const noexcept { return access_ == Availability::available; }
    /// Why it did not: `denied` where this process may not ask it, as below a folder that is closed to it; else
    /// `failed`, also from a listing until the sample after it. `available` if it did.
    [[nodiscard]] Availability access() const noexcept { return access_; }
    /// When it last did: milliseconds since the epoch; 0 if it never did.
    [[nodiscard]] std::int64_t lastAnswer() const noexcept { return lastAnswer_; }

    /// Used space in percent: truncated, then kept in 8 bits (0 to 255) without a range check: meant so. 0 if
    /// `total` is 0.
    [[nodiscard]] int usagePercent() const noexcept;

    /// Starts unmounting and ejecting the volume's whole disk; true if it was started. The volume goes with the unmount
    /// notice that follows; under Linux one with open files stays. False, with a line on the standard error stream, for
    /// another volume of a disk that the running system needs; false for a share. Ejecting the root volume stops the
    /// process: "Cannot unmount/eject the root filesystem".
    bool eject() const;

    /// Asks the drive anew, for as long as it takes; the stored `smart` stays. Absent without a stored record or if the
    /// drive cannot be asked now.
    [[nodiscard]] std::optional<SmartStatus> smartStatus() const;

    /// Asks the drive anew for all that it tells of its health, for as long as it takes: seconds if it is in trouble,
    /// so not for the main thread. The details stay as they were unless available; `readSmartDetails` says what each
    /// answer means, and which privilege it takes. `failed` once the machine's session is gone.
    Availability smartDetails(probes::SmartDetails& details) const;

private:
    friend class Disk;

    struct Label {
        std::string name;
        std::string path;
    };

    /// Whether something was written to its disk since the sample before.
    bool sample(probes::SystemManager& session);
    void relist(probes::DiskData data, std::int64_t time);
    [[nodiscard]] int measureUsage(probes::SystemManager& session);
    void setRates(const probes::DiskData& data, std::int64_t gap) noexcept;
    void setActivity(const probes::DiskData& data, std::int64_t now) noexcept;
    void setTotal(std::int64_t total) noexcept;
    void setLabel(std::string name, std::string path);

    const std::weak_ptr<probes::SystemManager> session_; // a reader may keep the volume longer than the model
    // Replaced whole, so that a sample can hold on to the path without copying it.
    Atomic<std::shared_ptr<const Label>> label_{std::make_shared<const Label>()};
    // Set before the volume is published, never changed.
    std::string device_;
    std::string fstype_;
    std::string model_;
    std::string source_; ///< the whole of what is mounted
    std::optional<Icon> icon_;
    bool isRootFS_ = false;
    std::optional<probes::SMARTData> smart_;

    Relaxed<std::int64_t> total_;
    Relaxed<std::int64_t> free_;
    Relaxed<std::int64_t> used_;
    Relaxed<std::int64_t> wbytes_;
    Relaxed<std::int64_t> rbytes_;
    Relaxed<double> wbytesps_;
    Relaxed<double> rbytesps_;
    Relaxed<std::int64_t> timestamp_;
    Relaxed<std::int64_t> inodes_; // 0 where they are not counted
    Relaxed<std::int64_t> freeInodes_;
    Relaxed<Availability> access_{Availability::failed};
    Relaxed<std::int64_t> lastAnswer_;
};

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Disk::Measure value);

} // namespace sentrel
