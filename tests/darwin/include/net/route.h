// SPDX-License-Identifier: Apache-2.0
#pragma once

// The kind of list is declared with the question itself, sys/sysctl.h.
#include <sys/sysctl.h>
