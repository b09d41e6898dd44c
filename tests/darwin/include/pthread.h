// SPDX-License-Identifier: Apache-2.0
#pragma once
#include_next <pthread.h>

/// 1 on the first thread of the process, 0 elsewhere.
extern "C" int pthread_main_np(void);
