// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/NvidiaLibrary.h>

#include <SentrelKit/platform/linux/common/Owner.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <dlfcn.h>

namespace sentrel::platform {

namespace {

// The public C interface of the library, as its reference manual describes it.
enum Result : int { success = 0, notSupported = 3, noPermission = 4, functionNotFound = 13 };

struct Utilization {
    unsigned core = 0; // percent
    unsigned memory = 0;
};

struct MemoryInfo {
    unsigned long long total = 0; // bytes
    unsigned long long free = 0;
    unsigned long long used = 0;
};

struct FanSpeed {
    unsigned version = sizeof(FanSpeed) | 1U << 24; // of this record: its size, and its number in the highest byte
    unsigned fan = 0;
    unsigned speed = 0; // revolutions a minute
};

constexpr unsigned graphicsClock = 0;
constexpr unsigned coreSensor = 0;

Availability availabilityOfResult(int result) noexcept {
    switch (result) {
    case success:
        return Availability::available;
    case notSupported:
    case functionNotFound:
        return Availability::unsupported;
    case noPermission:
        return Availability::denied;
    default:
        return Availability::failed;
    }
}

// What several questions about one processor came to: a figure is one, and a reason is more than none.
class Outcome {
public:
    // Whether the answer holds a figure.
    bool add(int result) noexcept {
        const Availability answer = availabilityOfResult(result);
        const bool isFigure = answer == Availability::available;
        if (isFigure || whole_ == Availability::unsupported)
            whole_ = answer;
        return isFigure;
    }
    [[nodiscard]] Availability whole() const noexcept { return whole_; }

private:
    Availability whole_ = Availability::unsupported;
};

// A function of the library, which may lack it.
template <class... Arguments>
class Function {
public:
    void find(void* library, const char* name) noexcept {
        function_ = reinterpret_cast<int (*)(Arguments...)>(::dlsym(library, name));
    }
    int operator()(Arguments... arguments) const noexcept {
        return function_ ? function_(arguments...) : functionNotFound;
    }

private:
    int (*function_)(Arguments...) = nullptr;
};

} // namespace

struct NvidiaLibrary::Functions {
    explicit Functions(const std::string& file) : library(::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (!library)
            return;
        start.find(library.get(), "nvmlInit_v2");
        stop.find(library.get(), "nvmlShutdown");
        deviceAt.find(library.get(), "nvmlDeviceGetHandleByPciBusId_v2");
        name.find(library.get(), "nvmlDeviceGetName");
        utilization.find(library.get(), "nvmlDeviceGetUtilizationRates");
        memory.find(library.get(), "nvmlDeviceGetMemoryInfo");
        clock.find(library.get(), "nvmlDeviceGetClockInfo");
        temperature.find(library.get(), "nvmlDeviceGetTemperature");
        power.find(library.get(), "nvmlDeviceGetPowerUsage");
        fanShare.find(library.get(), "nvmlDeviceGetFanSpeed");
        fan.find(library.get(), "nvmlDeviceGetFanSpeedRPM");
        // One that cannot be started at all is not what its name says.
        const int result = start();
        state = result == functionNotFound ? Availability::failed : availabilityOfResult(result);
    }

    Owner<void, ::dlclose> library;
    Function<> start;
    Function<> stop;
    Function<const char*, void**> deviceAt;
    Function<void*, char*, unsigned> name;
    Function<void*, void*> utilization;               // into a record
    Function<void*, void*> memory;                    // likewise
    Function<void*, unsigned, unsigned*> clock;       // megahertz
    Function<void*, unsigned, unsigned*> temperature; // degrees Celsius
    Function<void*, unsigned*> power;                 // thousandths of a watt
    Function<void*, unsigned*> fanShare;              // percent
    Function<void*, void*> fan;                       // into a record
    Availability state = Availability::unsupported;
};

NvidiaLibrary::NvidiaLibrary(const std::string& file) : functions_(std::make_unique<Functions>(file)) {}

NvidiaLibrary::~NvidiaLibrary() {
    if (functions_->state == Availability::available)
        functions_->stop();
}

NvidiaLibrary::Device NvidiaLibrary::find(const std::string& address) noexcept {
    Device device{.answer = functions_->state};
    if (device.answer == Availability::available)
        device.answer = availabilityOfResult(functions_->deviceAt(address.c_str(), &device.handle));
    return device;
}

Availability NvidiaLibrary::read(const Device& device, GraphicsProcessor& processor) const noexcept {
    if (device.answer != Availability::available)
        return device.answer;
    const Functions& ask = *functions_;
    Outcome outcome;
    if (std::array<char, 96> name{}; // as long as any name is
        processor.name == "Unknown" && ask.name(device.handle, name.data(), name.size()) == success)
        processor.name = name.data();
    if (Utilization share; outcome.add(ask.utilization(device.handle, &share)))
        processor.use = std::min(share.core, 100U);
    if (MemoryInfo memory; outcome.add(ask.memory(device.handle, &memory))) {
        processor.memoryUsed = memory.used;
        processor.memoryTotal = memory.total;
    }
    unsigned figure = 0;
    if (outcome.add(ask.clock(device.handle, graphicsClock, &figure)))
        processor.clock = figure * 1e6;
    if (outcome.add(ask.temperature(device.handle, coreSensor, &figure)))
        processor.temperature = figure;
    if (outcome.add(ask.power(device.handle, &figure)))
        processor.power = figure * 1e-3;
    if (outcome.add(ask.fanShare(device.handle, &figure)))
        processor.fanShare = figure;
    if (FanSpeed fan; outcome.add(ask.fan(device.handle, &fan)))
        processor.fan = fan.speed;
    return outcome.whole();
}

} // namespace sentrel::platform
