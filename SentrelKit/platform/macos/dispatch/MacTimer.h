// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/macos/common/DispatchOwner.h>

#include <memory>

namespace sentrel::platform {

/// A timer source behind a gate. The source may have a tick on its way whenever it is suspended, cancelled or released,
/// and it ends the process when it is resumed twice, or released while suspended: the gate knows its state.
class MacTimer final : public RepeatingTimer {
public:
    /// Runs `tick` every `interval` nanoseconds, at least 1, on the queue, while it is resumed.
    MacTimer(dispatch_queue_t queue, std::int64_t interval, std::function<void()> tick);
    ~MacTimer() override;

    void resume() override;
    void suspend() override;
    void cancel() override;

private:
    struct Gate;
    enum class Source : std::uint8_t { suspended, resumed, cancelled };

    const std::uint64_t interval_;
    const std::shared_ptr<Gate> gate_; // shared with a tick that runs
    const DispatchOwner<dispatch_source_t> source_;
    Source state_ = Source::suspended; // as dispatch creates it
};

} // namespace sentrel::platform
