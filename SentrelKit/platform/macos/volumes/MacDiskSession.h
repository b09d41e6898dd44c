// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/DiskSession.h>

#include <memory>

namespace sentrel::platform {

/// A session with disk arbitration.
class MacDiskSession final : public DiskSession {
public:
    /// Null if there is none.
    [[nodiscard]] static std::unique_ptr<MacDiskSession> open();
    ~MacDiskSession() override;
    MacDiskSession(const MacDiskSession&) = delete;
    MacDiskSession& operator=(const MacDiskSession&) = delete;

    std::shared_ptr<StorageDevice> disk(std::string_view deviceName) override;
    void setQueue(std::shared_ptr<DispatchQueue> queue) override;

private:
    class Arbitration;
    class Device;

    explicit MacDiskSession(std::shared_ptr<Arbitration> arbitration);

    const std::shared_ptr<Arbitration> arbitration_; // its devices keep it too
};

} // namespace sentrel::platform
