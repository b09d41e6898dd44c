// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/GPU.h>

#include <SentrelKit/base/system/detail/ForkGate.h>
#include <SentrelKit/base/util/Str.h>
#include <SentrelKit/platform/GraphicsService.h>
#include <SentrelKit/probes/HostProbes.h>

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

GPU::GPU(std::shared_ptr<probes::SystemManager> session) : session_(std::move(session)) {
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
