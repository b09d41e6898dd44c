// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Dispatch.h>

namespace sentrel::platform {

/// The system's own queues. After a fork they serve the parent alone.
class MacDispatch final : public Dispatch {
public:
    MacDispatch();

    std::shared_ptr<DispatchQueue> mainQueue() override { return main_; }
    std::shared_ptr<DispatchQueue> backgroundQueue() override { return background_; }
    std::shared_ptr<DispatchQueue> serialQueue(const std::string& name) override;

    /// Only the process's first thread can serve the main queue here: elsewhere this prints one error line and returns.
    void runMain(double seconds) override;

private:
    std::shared_ptr<DispatchQueue> main_;
    std::shared_ptr<DispatchQueue> background_;
};

} // namespace sentrel::platform
