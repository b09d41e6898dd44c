// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/EngineShares.h>

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace sentrel::probes {

namespace {

using platform::GraphicsClient;
using platform::GraphicsEngine;

bool comesBefore(const GraphicsClient& a, const GraphicsClient& b) noexcept {
    return std::tie(a.processor, a.identifier) < std::tie(b.processor, b.identifier);
}

// The share of its kind's time that an engine worked between two samples.
std::optional<double> share(const GraphicsEngine& before, const GraphicsEngine& now, std::int64_t elapsed) noexcept {
    const bool countsCycles = now.total != 0;
    if (now.busy < before.busy || (countsCycles && now.total <= before.total))
        return std::nullopt;
    const double whole = countsCycles ? static_cast<double>(now.total - before.total) : static_cast<double>(elapsed);
    return static_cast<double>(now.busy - before.busy) * 100 / whole / now.count;
}

} // namespace

const GraphicsClient* EngineShares::before(const GraphicsClient& client) const noexcept {
    const auto found = std::lower_bound(before_.begin(), before_.end(), client, comesBefore);
    return found != before_.end() && !comesBefore(client, *found) ? &*found : nullptr;
}

void EngineShares::addEngines(const GraphicsClient& client, std::int64_t elapsed, GraphicsWork& work) const {
    const GraphicsClient* const previous = elapsed > 0 ? before(client) : nullptr;
    for (const GraphicsEngine& engine : client.engines) {
        auto known = std::find_if(work.engines.begin(), work.engines.end(),
                                  [&](const EngineShare& other) { return other.name == engine.name; });
        if (known == work.engines.end())
            known = work.engines.insert(known, EngineShare{.name = engine.name, .count = 0});
        if (known->count == 0) { // no other client of this sample named it
            known->count = engine.count;
            known->use = elapsed > 0 ? std::optional(0.0) : std::nullopt;
        }
        known->count = std::max(known->count, engine.count);
        if (!previous)
            continue;
        const auto same = std::find_if(previous->engines.begin(), previous->engines.end(),
                                       [&](const GraphicsEngine& other) { return other.name == engine.name; });
        if (same == previous->engines.end())
            continue;
        if (const std::optional<double> worked = share(*same, engine, elapsed))
            known->use = std::min(known->use.value_or(0) + *worked, 100.0); // the clocks are not read at one moment
    }
}

void EngineShares::take(std::vector<GraphicsClient>& clients, std::int64_t now, std::vector<GraphicsWork>& work) {
    const std::int64_t elapsed = at_ ? now - *at_ : 0;
    std::sort(clients.begin(), clients.end(), comesBefore);
    std::size_t count = 0;
    for (auto client = clients.begin(); client != clients.end(); ++count) {
        if (count == work.size())
            work.emplace_back();
        GraphicsWork& processor = work[count];
        processor.processor = client->processor;
        processor.clients = 0;
        processor.memory.reset();
        for (EngineShare& engine : processor.engines)
            engine.count = 0;
        for (; client != clients.end() && client->processor == processor.processor; ++client) {
            ++processor.clients;
            if (client->memory)
                processor.memory = processor.memory.value_or(0) + *client->memory;
            addEngines(*client, elapsed, processor);
        }
        std::erase_if(processor.engines, [](const EngineShare& engine) { return engine.count == 0; });
        std::sort(processor.engines.begin(), processor.engines.end(),
                  [](const EngineShare& a, const EngineShare& b) { return a.name < b.name; });
    }
    work.resize(count);
    before_.swap(clients);
    at_ = now;
}

} // namespace sentrel::probes
