// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/GraphicsService.h>
#include <SentrelKit/platform/linux/common/DeviceEvents.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>
#include <SentrelKit/platform/linux/graphics/GraphicsClients.h>
#include <SentrelKit/platform/linux/graphics/GraphicsDevices.h>

#include <cstdint>
#include <optional>
#include <string>

namespace sentrel::platform {

/// The PCI devices of /sys/bus/pci/devices; those of the display class (03) are named "display". "device-id" is the
/// device number as four bytes, lowest first; "model" comes from the hardware database. The main display hangs on the
/// boot display if that has a connected connector (or nothing has), else on the first card that has one; it is looked
/// for anew once the kernel told of a device, as it does when something is plugged into a connector. What the
/// processors do stands in GraphicsDevices.h, who has them do it in GraphicsClients.h.
class LinuxGraphicsService final : public GraphicsService {
public:
    explicit LinuxGraphicsService(SystemRoot root = SystemRoot());

    std::optional<std::vector<PropertyList::Dictionary>> pciDevices() override;
    bool activeDeviceID(PropertyList::Bytes& deviceID) override;
    Availability processors(std::vector<GraphicsProcessor>& processors) override;
    Availability clients(std::vector<GraphicsClient>& clients) override;

private:
    [[nodiscard]] std::optional<std::uint16_t> activeDevice();

    const SystemRoot root_;
    const std::string cardsFolder_;
    const std::string devicesFolder_;
    Lock activeLock_;
    DeviceEvents events_ SENTREL_GUARDED_BY(activeLock_);
    std::optional<std::uint16_t> activeDevice_ SENTREL_GUARDED_BY(activeLock_);
    Lock lock_;
    GraphicsDevices devices_ SENTREL_GUARDED_BY(lock_);
    Lock clientsLock_;
    GraphicsClients clients_ SENTREL_GUARDED_BY(clientsLock_);
};

} // namespace sentrel::platform
