// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/darwin/doubles/Machine.h"

#include <cstdint>

namespace darwin {

/// Puts one of everything on the machine in force: processors and memory, two graphics processors with the main display
/// on the discrete one, a drive that is capable of SMART with the root volume in a container on it, a spare disk, a
/// battery on its adapter, a loopback, a wireless and a wired interface, the configuration of a network, this process
/// and an application, a user who is logged in.
void furnish();

/// Sets what the drive of the root volume has counted, in bytes, that were moved by 100, each time in 2 milliseconds
/// when read and in 3 when written.
void count(std::int64_t read, std::int64_t written);

} // namespace darwin
