// SPDX-License-Identifier: Apache-2.0
#pragma once

#define kIOBlockStorageDriverStatisticsKey "Statistics"
#define kIOBlockStorageDriverStatisticsBytesReadKey "Bytes (Read)"
#define kIOBlockStorageDriverStatisticsBytesWrittenKey "Bytes (Write)"
