// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What stands between this process and the machine, with the kinds and names that systemd-detect-virt(1) has. A
/// hypervisor is told by the processor (x86), the firmware's names (/sys/class/dmi/id), /sys/hypervisor, the device
/// tree and the flags of /proc/cpuinfo; a container by what its manager leaves in /run and in the root folder.

#include <SentrelKit/platform/HostFacts.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <string_view>

namespace sentrel::platform {

/// The kind of a hypervisor by the twelve letters that it has in place of the processor's maker; empty if not known.
[[nodiscard]] std::string_view machineOfSignature(std::string_view signature) noexcept;

/// The kind of a hypervisor by a name of the firmware (maker, product, board); empty if it is none's.
[[nodiscard]] std::string_view machineOfFirmware(std::string_view name) noexcept;

/// The kind of a container by the name that its manager gives; "container-other" if not known.
[[nodiscard]] std::string_view containerOfManager(std::string_view name) noexcept;

/// Both, as far as they are seen. Not to be fooled is not its aim: who starts a container may hide it.
[[nodiscard]] Virtualization detectVirtualization(const SystemRoot& root);

} // namespace sentrel::platform
