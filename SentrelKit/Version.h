// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The version that a host is compiled against. It is told here alone: the build and the package read it from this
/// file. Until 1.0 each minor version may break what was built against the one before, so the library's file name on
/// Linux carries both numbers; from 1.0 on only a major version may.

#include <SentrelKit/Export.h>

#include <string_view>

/// Counts releases that break hosts; 0 until the interfaces are settled.
#define SENTREL_VERSION_MAJOR 0
/// Counts releases that add to the interfaces; before 1.0 also those that break hosts.
#define SENTREL_VERSION_MINOR 1
/// Counts releases that only mend.
#define SENTREL_VERSION_PATCH 0

/// One number to compare in `#if`: 10000 a major version, 100 a minor one, 1 a patch. 0.1.0 is 100.
#define SENTREL_VERSION (SENTREL_VERSION_MAJOR * 10000 + SENTREL_VERSION_MINOR * 100 + SENTREL_VERSION_PATCH)

namespace sentrel {

/// The same version as a text to show: major, minor and patch with dots between them.
inline constexpr std::string_view version = "0.1.0";

} // namespace sentrel
