// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/System.h>

#include <SentrelKit/base/system/detail/FirstUse.h>
#include <SentrelKit/system/detail/Task.h>

#include <utility>

namespace sentrel {

Task::Task(double interval, DispatchQueue& queue, std::shared_ptr<SystemResource> resource, System::Group group,
           bool delayed)
    : SamplingTimer(interval, queue, [resource] { resource->update(); }), interval_(interval), delayed_(delayed),
      resource_(std::move(resource)), group_(group) {}

System& System::shared() {
    // Never destroyed: samples may run until the process is gone.
    static FirstUse<System>& registry = *new FirstUse<System>;
    return registry.get([] { return new System; });
}

// The intervals are staggered on purpose, so that samples seldom fall together.
System::System(std::shared_ptr<probes::SystemManager> session)
    : session_(std::move(session)), cpu_(std::make_shared<CPU>(session_)), gpu_(std::make_shared<GPU>(session_)),
      disk_(std::make_shared<Disk>(session_)), mem_(std::make_shared<Memory>(session_)),
      net_(std::make_shared<Network>(session_)), battery_(std::make_shared<Battery>(session_)),
      apps_(std::make_shared<Applications>(session_)), sensors_(std::make_shared<Sensors>(session_)),
      host_(std::make_unique<Host>(session_)) {
    add(1.1, cpu_, Group::system, false);
    add(2.0, mem_, Group::system, false);
    add(1.1, net_, Group::network, false);
    add(1.1, disk_, Group::system, true);
    add(1.3, apps_, Group::system, true);
    if (gpu_->hasBoth())
        add(1.1, gpu_, Group::system, true);
    else
        gpuTimer_ = std::make_unique<SamplingTimer>(1.1, *session_->backgroundQueue, [gpu = gpu_] { gpu->update(); });
    // Chips keep a measurement for one to two seconds (the kernel's drivers do not ask them more often).
    sensorsTimer_ =
        std::make_unique<SamplingTimer>(2.3, *session_->backgroundQueue, [sensors = sensors_] { sensors->update(); });
}

System::System(platform::Platform& platform) : System(std::make_shared<probes::SystemManager>(platform)) {}

System::~System() = default;

void System::start(Group group) {
    for (const auto& task : tasks_)
        if ((group == Group::all || task->group() == group) && !task->delayed())
            task->start();
}

void System::stop() {
    for (const auto& task : tasks_)
        task->suspend();
    sensorsTimer_->suspend();
    if (gpuTimer_)
        gpuTimer_->suspend();
}

void System::start(const SystemResource& resource) {
    forEachOfKind(resource, [](Task& task) { task.start(); });
    if (gpuTimer_ && resource.type() == SystemResourceType::gpu && gpu_->measures() != MeasureSet<GPU::Measure>{})
        gpuTimer_->start();
}

void System::stop(const SystemResource& resource) {
    forEachOfKind(resource, [](Task& task) { task.suspend(); });
    if (gpuTimer_ && resource.type() == SystemResourceType::gpu)
        gpuTimer_->suspend();
}

void System::start(const Sensors& /*sensors*/) {
    sensorsTimer_->start();
}

void System::stop(const Sensors& /*sensors*/) {
    sensorsTimer_->suspend();
}

Observation System::observeSamples(const SystemResource& resource, std::function<void()> observer) {
    for (const auto& task : tasks_)
        if (task->resource().type() == resource.type())
            return task->observeSamples(std::move(observer));
    if (gpuTimer_ && resource.type() == SystemResourceType::gpu)
        return gpuTimer_->observeSamples(std::move(observer));
    return {};
}

Observation System::observeSamples(const Sensors& /*sensors*/, std::function<void()> observer) {
    return sensorsTimer_->observeSamples(std::move(observer));
}

std::vector<System::TaskInfo> System::tasks() const {
    std::vector<TaskInfo> infos;
    for (const auto& task : tasks_)
        infos.push_back({task->resource().type(), task->interval(), task->group(), task->delayed(), task->status()});
    return infos;
}

void System::add(double interval, std::shared_ptr<SystemResource> resource, Group group, bool delayed) {
    tasks_.push_back(std::make_unique<Task>(interval, *session_->backgroundQueue, std::move(resource), group, delayed));
}

void System::forEachOfKind(const SystemResource& resource, const std::function<void(Task&)>& action) {
    for (const auto& task : tasks_)
        if (task->resource().type() == resource.type())
            action(*task);
}

} // namespace sentrel
