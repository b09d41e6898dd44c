// SPDX-License-Identifier: Apache-2.0
// Exports what the management library of NVIDIA's driver does, as far as it is asked for, and answers by a script.
// SENTREL_OLD lacks what came later, SENTREL_FOREIGN is something else of that name.

#include "tests/support/linux/NvidiaScript.h"

#include <cstdio>
#include <cstring>

#define EXPORTED extern "C" __attribute__((visibility("default")))

extern "C" {
__attribute__((visibility("default"))) sentrel::NvidiaScript sentrelNvidiaScript;
}

namespace {

constexpr int invalidArgument = 2;
constexpr int notFound = 6;

sentrel::NvidiaScript& script = sentrelNvidiaScript;
int processor; // its address is the handle

// What every question about the processor begins with.
int asked(const void* handle) {
    ++script.questions;
    return handle == &processor ? script.figures : invalidArgument;
}

int answered(int result, unsigned* figure, unsigned value) {
    if (result == 0)
        *figure = value;
    return result;
}

} // namespace

#ifndef SENTREL_FOREIGN
EXPORTED int nvmlInit_v2() {
    ++script.started;
    return script.start;
}
EXPORTED int nvmlShutdown() {
    ++script.stopped;
    return 0;
}
#endif

EXPORTED int nvmlDeviceGetHandleByPciBusId_v2(const char* address, void** handle) {
    ++script.looked;
    if (script.device != 0)
        return script.device;
    if (std::strcmp(address, script.address) != 0)
        return notFound;
    *handle = &processor;
    return 0;
}

EXPORTED int nvmlDeviceGetName(void* handle, char* name, unsigned length) {
    const int result = asked(handle);
    if (result == 0)
        std::snprintf(name, length, "%s", script.name);
    return result;
}

EXPORTED int nvmlDeviceGetUtilizationRates(void* handle, void* record) {
    auto* const rates = static_cast<unsigned*>(record);
    const int result = asked(handle);
    if (result == 0) {
        rates[0] = script.use;
        rates[1] = 3;
    }
    return result;
}

EXPORTED int nvmlDeviceGetMemoryInfo(void* handle, void* record) {
    auto* const memory = static_cast<unsigned long long*>(record);
    const int result = asked(handle);
    if (result == 0) {
        memory[0] = script.memoryTotal;
        memory[1] = script.memoryTotal - script.memoryUsed;
        memory[2] = script.memoryUsed;
    }
    return result;
}

EXPORTED int nvmlDeviceGetTemperature(void* handle, unsigned sensor, unsigned* degrees) {
    return answered(sensor == 0 ? asked(handle) : invalidArgument, degrees, script.temperature);
}

#ifndef SENTREL_OLD
EXPORTED int nvmlDeviceGetClockInfo(void* handle, unsigned type, unsigned* megahertz) {
    return answered(type == 0 ? asked(handle) : invalidArgument, megahertz, script.clock);
}

EXPORTED int nvmlDeviceGetPowerUsage(void* handle, unsigned* milliwatts) {
    return answered(asked(handle), milliwatts, script.power);
}

EXPORTED int nvmlDeviceGetFanSpeed(void* handle, unsigned* percent) {
    const int result = asked(handle);
    return answered(result == 0 ? script.fan : result, percent, script.fanShare);
}

EXPORTED int nvmlDeviceGetFanSpeedRPM(void* handle, void* record) {
    auto* const words = static_cast<unsigned*>(record);
    const int result = asked(handle);
    script.fanRecord = words[0];
    return answered(result == 0 ? script.fan : result, &words[2], script.fanSpeed);
}
#endif
