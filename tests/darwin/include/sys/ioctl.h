// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The control of a device. Under another name: the process has an `ioctl` of its own.

#define ioctl ioctlDouble

extern "C" int ioctl(int, unsigned long, ...);
