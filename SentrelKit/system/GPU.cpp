// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/GPU.h>

#include <SentrelKit/base/system/detail/ForkGate.h>
#include <SentrelKit/base/util/Str.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/GraphicsService.h>
#include <SentrelKit/probes/HostProbes.h>
#include <SentrelKit/probes/detail/CounterRates.h>
#include <SentrelKit/system/detail/Measuring.h>

#include <algorithm>
#include <utility>

namespace sentrel {

namespace {

template <class T>
const T* property(const PropertyList::Dictionary& properties, std::string_view key) {
    const auto entry = properties.find(key);
    return entry == properties.end() ? nullptr : entry->second.as<T>();
}

bool isDisplay(const PropertyList::Dictionary& properties) {
    const std::string* name = property<std::string>(properties, "IOName");
    return name && Str_isEqual(name->c_str(), "display");
}

GPU::Processor describe(const PropertyList::Dictionary& properties) {
    GPU::Processor processor;
    if (const auto* deviceID = property<PropertyList::Bytes>(properties, "device-id"))
        processor.deviceID = *deviceID;
    if (const auto* model = property<PropertyList::Bytes>(properties, "model"))
        processor.name.assign(model->begin(), model->end());
    else
        processor.name = "Unknown";
    return processor;
}

} // namespace

struct GPU::Sampling {
    Measuring<Measure> measuring;
    Atomic<std::vector<Activity>> published;
    // Of the sampling thread alone.
    std::vector<Activity> next;
    probes::CounterRates idle;
    Atomic<std::vector<Work>> publishedWork;
    std::vector<platform::GraphicsClient> clients;
    probes::EngineShares shares;
    std::vector<Work> nextWork;

    void takeWork(platform::Platform& machine) {
        const Availability answer = machine.graphics().clients(clients);
        const std::int64_t now = machine.clock().monotonicNanoseconds();
        if (!measuring.availability(Measure::engines)) // wanted anew: nothing of before counts
            shares.forget();
        if (answer == Availability::available) {
            shares.take(clients, now, nextWork);
            publishedWork.withValue([this](std::vector<Work>& list) { list.swap(nextWork); });
        }
        measuring.note(Measure::engines, answer);
    }

    void take(platform::Platform& machine) {
        const Availability answer = machine.graphics().processors(next);
        const std::int64_t now = machine.clock().monotonicNanoseconds();
        if (!measuring.availability(Measure::use)) // wanted anew: nothing of before counts
            idle = {};
        if (answer == Availability::available) {
            for (Activity& processor : next) {
                if (processor.use || !processor.idleSeconds)
                    continue;
                const auto share = idle.perSecond(processor.identifier, *processor.idleSeconds, std::nullopt, now);
                if (share) // the two clocks are not read at the same moment
                    processor.use = std::clamp(100 - 100 * *share, 0.0, 100.0);
            }
            idle.keepOnly(now);
            published.withValue([this](std::vector<Activity>& list) { list.swap(next); });
        }
        measuring.note(Measure::use, answer);
    }
};

GPU::GPU(std::shared_ptr<probes::SystemManager> session)
    : session_(std::move(session)), sampling_(std::make_shared<Sampling>()) {
    find();
    update();
}

void GPU::find() {
    const std::optional<std::vector<PropertyList::Dictionary>> devices = session_->platform().graphics().pciDevices();
    if (!devices)
        return;
    for (const PropertyList::Dictionary& properties : *devices) {
        if (!isDisplay(properties))
            continue;
        Processor processor = describe(properties);
        if (processor.name.find("Intel") != std::string::npos)
            integrated_ = std::move(processor);
        else
            discrete_ = std::move(processor);
    }
}

void GPU::update() {
    const ForkGate::Inside whole; // what the sampling thread keeps has no lock
    isDiscrete_ = probes::_getActiveGPUDeviceID(active_, *session_) && discrete_ && active_ == discrete_->deviceID;
    if (sampling_->measuring.wants(Measure::use))
        sampling_->take(session_->platform());
    if (sampling_->measuring.wants(Measure::engines))
        sampling_->takeWork(session_->platform());
}

void GPU::setMeasures(MeasureSet<Measure> wanted) {
    sampling_->measuring.setWanted(wanted);
}

MeasureSet<GPU::Measure> GPU::measures() const noexcept {
    return sampling_->measuring.wanted();
}

std::optional<Availability> GPU::availability(Measure measure) const noexcept {
    return sampling_->measuring.availability(measure);
}

std::vector<GPU::Activity> GPU::processors() const {
    std::vector<Activity> list;
    processors(list);
    return list;
}

void GPU::processors(std::vector<Activity>& processors) const {
    if (sampling_->measuring.has(Measure::use))
        sampling_->published.withValue([&processors](const std::vector<Activity>& list) { processors = list; });
    else
        processors.clear();
}

std::vector<GPU::Work> GPU::work() const {
    std::vector<Work> list;
    work(list);
    return list;
}

void GPU::work(std::vector<Work>& work) const {
    if (sampling_->measuring.has(Measure::engines))
        sampling_->publishedWork.withValue([&work](const std::vector<Work>& list) { work = list; });
    else
        work.clear();
}

std::string GPU::name() const {
    const std::optional<Processor> processor = current();
    return processor ? processor->name : std::string();
}

bool GPU::isUsingIntegratedGPU() const {
    const std::optional<Processor> processor = current();
    if (!integrated_ || !processor)
        return integrated_.has_value() == processor.has_value();
    return integrated_->deviceID == processor->deviceID;
}

} // namespace sentrel
