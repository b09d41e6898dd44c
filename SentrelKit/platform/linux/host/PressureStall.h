// SPDX-License-Identifier: Apache-2.0
#pragma once

/// /proc/pressure (Documentation/accounting/psi.rst): how long threads waited for a resource, and the kernel's own word
/// when they did for too long.

#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/platform/Pressure.h>
#include <SentrelKit/platform/linux/common/EventSource.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <functional>
#include <optional>
#include <string_view>

namespace sentrel::platform {

/// The resource's file. Kernels before 4.20 have none, nor those that were built without it or started with psi=0.
[[nodiscard]] std::string_view pressurePath(PressureResource resource) noexcept;

/// Reads "some avg10=0.12 avg60=0.05 avg300=0.01 total=4711" and the line "full", which the processor has from Linux
/// 5.13 on. Absent without a whole line "some"; a line "full" that is not whole counts as none.
[[nodiscard]] std::optional<Pressure> parsePressure(std::string_view content) noexcept;

/// Sets a trigger: the kernel tells at most once a window. The kernel refuses a stall that is not within its window and
/// windows shorter than 500 ms or longer than 10 s (EINVAL); to a process without CAP_SYS_RESOURCE any trigger before
/// Linux 6.5 (EPERM), and since then windows that are no multiple of 2 s (EINVAL). Empty, with errno set, then.
[[nodiscard]] Observation observePressureStall(const SystemRoot& root, EventSource& events, PressureResource resource,
                                               const PressureThreshold& threshold, std::function<void()> crossed);

} // namespace sentrel::platform
