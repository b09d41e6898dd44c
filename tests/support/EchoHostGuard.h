// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/probes/NetworkProbes.h>

namespace sentrel {

/// An echo host for a scope, and none after it.
class EchoHostGuard {
public:
    explicit EchoHostGuard(const probes::EchoHost& host) { probes::setEchoHost(host); }
    ~EchoHostGuard() { probes::setEchoHost({}); }
    EchoHostGuard(const EchoHostGuard&) = delete;
    EchoHostGuard& operator=(const EchoHostGuard&) = delete;
};

} // namespace sentrel
