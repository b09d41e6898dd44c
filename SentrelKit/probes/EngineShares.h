// SPDX-License-Identifier: Apache-2.0
#pragma once

/// How much the engines of graphics processors work, out of what their clients had them do.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/GraphicsService.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::probes {

/// One kind of engine of a graphics processor and how much it worked for all clients together.
struct EngineShare {
    std::string name{};          ///< as the driver calls the kind, such as "render" or "video"
    std::uint32_t count = 1;     ///< how many engines of the kind there are
    std::optional<double> use{}; ///< share of their time since the sample before, 0 to 100 percent; absent at the first

    /// Whether everything is the same.
    friend bool operator==(const EngineShare&, const EngineShare&) = default;
};

/// What the clients of a graphics processor have it do.
struct GraphicsWork {
    std::string processor{};               ///< its identifier; of one not on a PCI bus the driver's name
    std::uint64_t clients = 0;             ///< how many there are, 1 or more
    std::optional<std::uint64_t> memory{}; ///< bytes in place for them; what they share counts with each
    std::vector<EngineShare> engines{};    ///< in the order of their names

    /// Whether everything is the same.
    friend bool operator==(const GraphicsWork&, const GraphicsWork&) = default;
};

/// The clients of the sample before. One thread at a time.
class SENTREL_API EngineShares {
public:
    /// Takes a sample, whose list it keeps and gives the one before back for the memory in it, and fills in the work of
    /// each processor that has clients, in the order of their identifiers. A client counts from its second sample on,
    /// since nobody knows over which time it did what it did before; one whose counter went back, from the next. The
    /// time is that of a clock that never steps back, in nanoseconds. Takes no memory while clients and engines stay
    /// the same.
    void take(std::vector<platform::GraphicsClient>& clients, std::int64_t now, std::vector<GraphicsWork>& work);

    /// Forgets the sample before.
    void forget() noexcept { at_.reset(); }

private:
    [[nodiscard]] const platform::GraphicsClient* before(const platform::GraphicsClient& client) const noexcept;
    void addEngines(const platform::GraphicsClient& client, std::int64_t elapsed, GraphicsWork& work) const;

    std::vector<platform::GraphicsClient> before_; // sorted
    std::optional<std::int64_t> at_;               // when they were read; absent before the first sample
};

} // namespace sentrel::probes
