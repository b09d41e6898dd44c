#pragma once

#include <SentrelKit/platform/GraphicsService.h>
#include <SentrelKit/platform/linux/SystemRoot.h>

#include <utility>

namespace sentrel::platform {

/// The PCI devices of /sys/bus/pci/devices; those of the display class (03) are named "display". "device-id" is the
/// device number as four bytes, lowest first; "model" comes from the hardware database. The main display hangs on the
/// boot display if that has a connected connector (or nothing has), else on the first card that has one.
class LinuxGraphicsService final : public GraphicsService {
public:
    explicit LinuxGraphicsService(SystemRoot root = SystemRoot()) : root_(std::move(root)) {}

    std::optional<std::vector<PropertyList::Dictionary>> pciDevices() override;
    std::optional<PropertyList::Bytes> activeDeviceID() override;

private:
    const SystemRoot root_;
};

} // namespace sentrel::platform
