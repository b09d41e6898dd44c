// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/serve/ApplicationTable.h"
#include "tools/sentrel/serve/DeviceLimit.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

namespace tool {

/// Where to listen.
struct Endpoint {
    std::string address;    ///< in numbers
    std::uint16_t port = 0; ///< 0: one that is free
};

/// Who may ask (HTTP's basic authentication).
struct Credentials {
    std::string user;     ///< not empty, without a colon
    std::string password; ///< not empty
};

/// What the connection is encrypted with, each in PEM.
struct Certificate {
    std::string chain; ///< the server's certificate and those that lead to an authority
    std::string key;   ///< its private key
};

/// How the exporter is set up (docs/serve.md).
struct Configuration {
    Endpoint listen{"127.0.0.1", 9866};
    std::optional<Credentials> credentials{};        ///< anybody without them
    std::optional<Certificate> certificate{};        ///< no encryption without one
    std::optional<ApplicationLimits> applications{}; ///< not told without them
    std::optional<std::chrono::seconds> pace{};      ///< of the samples; the library's own without it
    std::size_t deviceLimit = usualDeviceLimit;      ///< of one kind
};

/// What is wrong, in one line.
struct Refusal {
    std::string message; ///< with the file and the line where there is one
};

/// "127.0.0.1:9866", "[::1]:9866", ":9866" (every address) or "localhost:9866".
[[nodiscard]] std::optional<Endpoint> parseEndpoint(const std::string& text);

/// The configuration in a file of sections and keys. What it does not know it refuses, and so it does a password or a
/// private key in a file that everybody can read.
[[nodiscard]] std::variant<Configuration, Refusal> readConfiguration(const std::string& path);

} // namespace tool
