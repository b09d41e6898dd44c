// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/NvmeSmart.h>

#include <SentrelKit/platform/linux/volumes/AtaSmart.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <linux/nvme_ioctl.h>
#include <numeric>
#include <optional>
#include <sys/ioctl.h>
#include <utility>

namespace sentrel::platform {

namespace {

// NVM Express base standard: Get Log Page, log identifier 02h, for the whole controller.
constexpr std::uint8_t opcodeGetLogPage = 0x02;
constexpr std::uint32_t healthLogPage = 0x02;
constexpr std::uint32_t allNamespaces = 0xFFFFFFFF;
constexpr std::uint32_t timeoutMilliseconds = 5000;
constexpr int zeroCelsius = 273; // in whole kelvins, as the drives themselves convert

// ATA "Device SMART data structure": the attribute table begins after the revision, an attribute's raw value after its
// id, flags and two values; the last byte makes the sum of all bytes zero.
constexpr std::size_t firstAttribute = 2;
constexpr std::size_t rawValue = 5;
constexpr std::uint8_t temperatureAttribute = 194;

std::optional<NvmeHealthLog> readHealthLogOf(DeviceControl& control, int device) {
    NvmeHealthLog log{};
    nvme_admin_cmd command{};
    command.opcode = opcodeGetLogPage;
    command.nsid = allNamespaces;
    command.addr = reinterpret_cast<std::uintptr_t>(log.data());
    command.data_len = static_cast<std::uint32_t>(log.size());
    command.cdw10 = healthLogPage | static_cast<std::uint32_t>(log.size() / 4 - 1) << 16;
    command.timeout_ms = timeoutMilliseconds;
    const int status = control.control(device, NVME_IOCTL_ADMIN_CMD, &command);
    if (status == 0)
        return log;
    if (status > 0)
        errno = EIO; // the drive's own status code
    return std::nullopt;
}

// Health reporting has no switches here: turning it on or off always succeeds.
class NvmeSmartInterface final : public SmartInterface {
public:
    NvmeSmartInterface(DeviceControl& control, int device) : control_(control), device_(device) {}

    bool enableOperations(bool /*enable*/) override { return true; }
    bool enableAutosave(bool /*enable*/) override { return true; }
    std::optional<bool> returnStatus() override {
        const std::optional<NvmeHealthLog> log = readHealthLogOf(control_, device_);
        if (!log)
            return std::nullopt;
        return hasCriticalWarning(*log);
    }
    bool executeOffLineImmediate(bool /*extendedTest*/) override { return true; }
    bool readData(SmartData& data) override {
        const std::optional<NvmeHealthLog> log = readHealthLogOf(control_, device_);
        if (!log)
            return false;
        data = smartDataOfHealthLog(*log);
        return true;
    }
    bool readThresholds(SmartData& /*thresholds*/) override {
        errno = ENOTSUP;
        return false;
    }
    bool readHealthLog(SmartData& log) override {
        const std::optional<NvmeHealthLog> read = readHealthLogOf(control_, device_);
        if (!read)
            return false;
        log = *read;
        return true;
    }
    bool validateData(const SmartData& data) override {
        errno = EILSEQ;
        return isSoundSmartData(data);
    }

private:
    DeviceControl& control_;
    int device_;
};

class NvmeSmartPlugIn final : public SmartPlugIn {
public:
    NvmeSmartPlugIn(DeviceControl& control, UniqueFd device) : control_(control), device_(std::move(device)) {}
    std::unique_ptr<SmartInterface> queryInterface() override {
        return std::make_unique<NvmeSmartInterface>(control_, device_.get());
    }

private:
    DeviceControl& control_;
    UniqueFd device_;
};

} // namespace

bool hasCriticalWarning(const NvmeHealthLog& log) noexcept {
    return log[0] != 0;
}

SmartData smartDataOfHealthLog(const NvmeHealthLog& log) noexcept {
    SmartData data{};
    const int kelvins = log[1] | log[2] << 8;
    if (kelvins != 0) {
        data[firstAttribute] = temperatureAttribute;
        data[firstAttribute + rawValue] = static_cast<std::uint8_t>(std::clamp(kelvins - zeroCelsius, 0, 255));
    }
    data.back() = static_cast<std::uint8_t>(-std::accumulate(data.begin(), data.end(), 0));
    return data;
}

bool isNvmeSmartCapable(DeviceControl& control, const std::string& node) {
    const UniqueFd device = control.open(node);
    return device && readHealthLogOf(control, device.get()).has_value();
}

std::unique_ptr<SmartPlugIn> openNvmeSmart(DeviceControl& control, const std::string& node) {
    UniqueFd device = control.open(node);
    if (!device)
        return nullptr;
    return std::make_unique<NvmeSmartPlugIn>(control, std::move(device));
}

} // namespace sentrel::platform
