// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/SmartInterface.h>

#include <IOKit/IOCFPlugIn.h>
#include <IOKit/IOKitLib.h>

#include <memory>

namespace sentrel::platform {

/// The user client of an ATA drive's SMART.
class AtaSmartPlugIn final : public SmartPlugIn {
public:
    /// The plug-in for a service that is capable of SMART; null if the system makes none.
    [[nodiscard]] static std::unique_ptr<AtaSmartPlugIn> create(io_service_t service);

    explicit AtaSmartPlugIn(IOCFPlugInInterface** plugIn) noexcept : plugIn_(plugIn) {}
    ~AtaSmartPlugIn() override;
    AtaSmartPlugIn(const AtaSmartPlugIn&) = delete;
    AtaSmartPlugIn& operator=(const AtaSmartPlugIn&) = delete;

    std::unique_ptr<SmartInterface> queryInterface() override;

private:
    IOCFPlugInInterface** const plugIn_;
};

} // namespace sentrel::platform
