// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/system/System.h>

namespace dashboard {

/// Prints what the models hold, a line a figure.
void printReport(const sentrel::System& system);

} // namespace dashboard
