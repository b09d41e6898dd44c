// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The one registry of everything the library measures: a model for each resource and, for those that are sampled
/// periodically, a task on the background queue.

#include <SentrelKit/Export.h>
#include <SentrelKit/X11Names.h>
#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/Applications.h>
#include <SentrelKit/system/Battery.h>
#include <SentrelKit/system/CPU.h>
#include <SentrelKit/system/Disk/Disk.h>
#include <SentrelKit/system/GPU.h>
#include <SentrelKit/system/Host.h>
#include <SentrelKit/system/Memory.h>
#include <SentrelKit/system/Network.h>
#include <SentrelKit/system/Sensors.h>
#include <SentrelKit/system/SystemResource.h>
#include <SentrelKit/system/Timer.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <vector>

namespace sentrel {

class SamplingTimer;
class Task;

/// A host takes `shared()`, reads the models and starts or stops sampling. A new registry samples nothing. `start` and
/// `stop` belong to one thread, normally the main one; the models are read from any thread.
class SENTREL_API System {
public:
    /// Which tasks a start by group means. No task is itself in `all`.
    enum class Group : std::uint8_t {
        all,     ///< of every group
        system,  ///< the machine itself: cpu, mem, disk, apps, gpu
        network, ///< net
    };

    /// The process's registry, made on first use, on any thread; it lives as long as the process.
    static System& shared();

    /// A registry of its own, for tests and demos on a scripted machine; hosts use `shared()`. Everything in it stays
    /// with the session's machine, whatever comes in force later, so that registries on several machines work side by
    /// side. What a host starts itself without naming a queue (a timer, a delayed subscription) runs on the queues of
    /// the machine in force.
    explicit System(std::shared_ptr<probes::SystemManager> session = probes::session());

    /// The same on a machine that need not be in force, with a session of its own. The platform outlives the registry.
    explicit System(platform::Platform& platform);

    ~System();
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    [[nodiscard]] CPU& cpu() const noexcept { return *cpu_; }     ///< the processor; lives as long as the registry
    [[nodiscard]] GPU& gpu() const noexcept { return *gpu_; }     ///< the graphics processors
    [[nodiscard]] Disk& disk() const noexcept { return *disk_; }  ///< the volumes
    [[nodiscard]] Memory& mem() const noexcept { return *mem_; }  ///< the memory
    [[nodiscard]] Network& net() const noexcept { return *net_; } ///< the network
    [[nodiscard]] Battery& battery() const noexcept { return *battery_; } ///< the battery
    [[nodiscard]] Applications& apps() const noexcept { return *apps_; }  ///< the running applications
    [[nodiscard]] Host& host() const noexcept { return *host_; }          ///< the machine and its system; never sampled

    [[nodiscard]] Sensors& sensors() const noexcept { return *sensors_; } ///< sensors of heat, fans and electricity

    /// Starts or resumes the tasks of a group that are not delayed: cpu (every 1.1 s) and mem (2.0 s) in `system`, net
    /// (1.1 s) in `network`. Their first samples come one interval later.
    void start(Group group = Group::all);

    /// Suspends every started task, of any group, delayed or not, and the sampling of the sensors.
    void stop();

    /// Starts or resumes the task of the resource's kind, delayed or not: the only way to start disk (1.1 s), apps
    /// (1.3 s) and, on machines with two graphics processors, gpu (1.1 s). The battery has no task. On other machines
    /// there is no task of gpu either; further facts of it that are wanted by then (`GPU::setMeasures`) are sampled as
    /// often.
    void start(const SystemResource& resource);

    /// Suspends the task of the resource's kind.
    void stop(const SystemResource& resource);

    /// Starts or resumes the sampling of the registry's sensors, every 2.3 s, the first sample one interval later. Only
    /// this starts it: the sensors are no resource of a kind, in no group and not among the `tasks`.
    void start(const Sensors& sensors);

    /// Suspends the sampling of the registry's sensors.
    void stop(const Sensors& sensors);

    /// Registers an observer that is told after each sample of the resource's kind that its task took, with the new
    /// figures in the model: on the background queue, one call at a time (platform/Observation.h). Feeds histories
    /// and thresholds. An empty observation for a kind without a task, such as the battery, which has an event of its
    /// own. Any thread; the registry may go first.
    [[nodiscard]] Observation observeSamples(const SystemResource& resource, std::function<void()> observer);

    /// The same of the sensors.
    [[nodiscard]] Observation observeSamples(const Sensors& sensors, std::function<void()> observer);

    /// What one task samples and how, for inspection.
    struct TaskInfo {
        SystemResourceType resource; ///< what it samples
        double interval;             ///< seconds
        Group group;                 ///< which start by group means it
        bool delayed;                ///< starts only by its resource
        Timer::Status status;        ///< whether it runs
        /// The interval as a duration.
        [[nodiscard]] std::chrono::duration<double> period() const noexcept {
            return std::chrono::duration<double>(interval);
        }
        /// Whether everything is the same.
        friend bool operator==(const TaskInfo&, const TaskInfo&) = default;
    };

    /// The tasks as they stand now, in the order in which they were made. On the thread that starts and stops them.
    [[nodiscard]] std::vector<TaskInfo> tasks() const;

private:
    void add(double interval, std::shared_ptr<SystemResource> resource, Group group, bool delayed);
    void forEachOfKind(const SystemResource& resource, const std::function<void(Task&)>& action);

    const std::shared_ptr<probes::SystemManager> session_;
    std::shared_ptr<CPU> cpu_;
    std::shared_ptr<GPU> gpu_;
    std::shared_ptr<Disk> disk_;
    std::shared_ptr<Memory> mem_;
    std::shared_ptr<Network> net_;
    std::shared_ptr<Battery> battery_;
    std::shared_ptr<Applications> apps_;
    std::shared_ptr<Sensors> sensors_;
    std::unique_ptr<Host> host_;
    std::vector<std::unique_ptr<Task>> tasks_;
    std::unique_ptr<SamplingTimer> sensorsTimer_;
    std::unique_ptr<SamplingTimer> gpuTimer_; // of its further facts, where it has no task
};

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, System::Group value);

/// Writes it as "{cpu, 1.1 s, system, started}", with "delayed" before the status where it is.
SENTREL_API std::ostream& operator<<(std::ostream& stream, const System::TaskInfo& value);

} // namespace sentrel
