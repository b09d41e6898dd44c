// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/views/DrawnCalls.h"

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/views/View.h>

#include <string>
#include <vector>

namespace sentrel {

/// The three small controls, on a scripted machine.
class FlatControls : public LineDefaults {
protected:
    void advance(double seconds) { machine.advance(seconds); }
    [[nodiscard]] std::vector<std::string> opened() { return machine.desktop().opened(); }

    platform::ScriptedPlatform machine;
    platform::Override scope{machine};
    MouseEvent event;
};

} // namespace sentrel
