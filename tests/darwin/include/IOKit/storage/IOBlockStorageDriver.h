// SPDX-License-Identifier: Apache-2.0
#pragma once

#define kIOBlockStorageDriverStatisticsKey "Statistics"
#define kIOBlockStorageDriverStatisticsBytesReadKey "Bytes (Read)"
#define kIOBlockStorageDriverStatisticsBytesWrittenKey "Bytes (Write)"
#define kIOBlockStorageDriverStatisticsReadsKey "Operations (Read)"
#define kIOBlockStorageDriverStatisticsWritesKey "Operations (Write)"
#define kIOBlockStorageDriverStatisticsTotalReadTimeKey "Total Time (Read)"
#define kIOBlockStorageDriverStatisticsTotalWriteTimeKey "Total Time (Write)"
