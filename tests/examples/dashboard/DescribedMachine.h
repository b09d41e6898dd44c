// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <string>

namespace dashboard {

/// A scripted machine that has something of everything: four cores, swap, a system disk and a stick, a cable, a
/// battery, a graphics processor and applications, one of which has an odd name.
class DescribedMachine {
public:
    static constexpr const char* stick = "disk2s1";

    DescribedMachine();

    sentrel::platform::ScriptedPlatform* operator->() { return &*machine_; }
    sentrel::platform::ScriptedPlatform& operator*() { return *machine_; }

    /// What one second does: it moves the processor's ticks and the counters on, so that charts have something to show.
    void live(double seconds = 1);

    /// Lets go of what the machine was asked so far, which it would keep as long as it is there.
    void forgetCalls();

private:
    sentrel::ScriptedMachine machine_;
};

} // namespace dashboard
