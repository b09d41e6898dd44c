// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/EventSource.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace sentrel::platform {

class BackgroundPool;
class MainQueue;

/// The main queue on the default GLib main context, the background queue on low-priority threads that start with the
/// first use of a queue: they run at a niceness of 10, or the host's own if that is higher. Ticks of the background
/// queue's timers do not wait for closures, however many of those block.
///
/// Without a thread or a descriptor to be had, the queues say so once on the standard error stream and work again
/// within a second after there are some. If not one thread could be had, it is the main queue that asks again.
class LinuxDispatch final : public EventSource {
public:
    LinuxDispatch();
    ~LinuxDispatch() override;
    LinuxDispatch(const LinuxDispatch&) = delete;
    LinuxDispatch& operator=(const LinuxDispatch&) = delete;

    std::shared_ptr<DispatchQueue> mainQueue() override;
    std::shared_ptr<DispatchQueue> backgroundQueue() override;
    std::shared_ptr<DispatchQueue> serialQueue(const std::string& name) override;
    void runMain(double seconds) override;
    int mainDescriptor() override;
    void serveMain() override;

    [[nodiscard]] Observation watch(int descriptor, std::uint32_t events, std::function<void()> ready) override;

private:
    std::shared_ptr<MainQueue> main_;
    std::shared_ptr<BackgroundPool> pool_;
    std::shared_ptr<DispatchQueue> background_;
};

} // namespace sentrel::platform
