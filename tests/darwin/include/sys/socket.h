// SPDX-License-Identifier: Apache-2.0
#pragma once
#include_next <sys/socket.h>

#undef PF_ROUTE
#define PF_ROUTE 17
