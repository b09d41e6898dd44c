// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace sentrel {

/// What a stand-in for the management library of NVIDIA's driver answers, and what it was asked.
struct NvidiaScript {
    int start = 0;                        ///< result of its start
    int device = 0;                       ///< result of looking for a processor
    int figures = 0;                      ///< result of every question about one
    int fan = 0;                          ///< result of the questions about its fan, unless `figures` says otherwise
    const char* address = "0000:01:00.0"; ///< of the one processor that it has
    const char* name = "Example 4000";
    unsigned use = 37;
    unsigned long long memoryTotal = 8ULL << 30;
    unsigned long long memoryUsed = 3ULL << 30;
    unsigned clock = 1785;     ///< megahertz
    unsigned temperature = 61; ///< degrees Celsius
    unsigned power = 85'250;   ///< thousandths of a watt
    unsigned fanShare = 42;    ///< percent
    unsigned fanSpeed = 1530;  ///< revolutions a minute
    unsigned fanRecord = 0;    ///< the version of the record that was asked with

    int started = 0;   ///< how often it was started
    int stopped = 0;   ///< how often it was stopped
    int looked = 0;    ///< how often a processor was looked for
    int questions = 0; ///< about a processor
};

} // namespace sentrel
