// SPDX-License-Identifier: Apache-2.0
// links: sigc++-2.0
// Firing to 1, 10 and 1,000 listeners, and subscriptions that come and go, beside Boost.Signals2 with tracked owners,
// sigc++ (whose slots are not tied to a shared owner's life) and a plain vector of functions each behind a weak-pointer
// lock.

#include <SentrelKit/system/Signal.h>

#include <benchmark/benchmark.h>
#include <boost/signals2.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <sigc++/sigc++.h>
#include <thread>
#include <utility>
#include <vector>

namespace {

// A program that samples has threads. Until the first one starts, the C++ library counts references without atomics.
const bool threaded = (std::thread([] {}).join(), true);

struct Listener : sigc::trackable {
    std::int64_t sum = 0;
    void receive(int value) { sum += value; }
};

using Owner = std::shared_ptr<Listener>;

std::vector<Owner> makeOwners(std::int64_t count) {
    std::vector<Owner> owners(static_cast<std::size_t>(count));
    for (Owner& owner : owners)
        owner = std::make_shared<Listener>();
    return owners;
}

struct SentrelSignal {
    sentrel::Signal<int> signal;

    void connect(const Owner& owner) {
        signal.listen(owner, [plain = owner.get()](int value) { plain->receive(value); });
    }
    void disconnect(const Owner& owner) { signal.dettach(owner); }
    void fire(int value) { signal.fire(value); }
};

struct BoostSignals2 {
    boost::signals2::signal<void(int)> signal;
    boost::signals2::connection last;

    void connect(const Owner& owner) {
        using Slot = boost::signals2::signal<void(int)>::slot_type;
        last = signal.connect(Slot([plain = owner.get()](int value) { plain->receive(value); }).track_foreign(owner));
    }
    void disconnect(const Owner&) { last.disconnect(); }
    void fire(int value) { signal(value); }
};

struct Sigcpp {
    sigc::signal<void, int> signal;
    sigc::connection last;

    void connect(const Owner& owner) { last = signal.connect(sigc::mem_fun(*owner, &Listener::receive)); }
    void disconnect(const Owner&) { last.disconnect(); }
    void fire(int value) { signal.emit(value); }
};

struct PlainVector {
    std::vector<std::pair<std::weak_ptr<Listener>, std::function<void(int)>>> list;

    void connect(const Owner& owner) {
        list.emplace_back(owner, [plain = owner.get()](int value) { plain->receive(value); });
    }
    void disconnect(const Owner& owner) {
        std::erase_if(list, [&](const auto& entry) { return entry.first.lock() == owner; });
    }
    void fire(int value) {
        for (const auto& [owner, callback] : list)
            if (const Owner alive = owner.lock())
                callback(value);
    }
};

template <class Channel>
void fire(benchmark::State& state) {
    const std::vector<Owner> owners = makeOwners(state.range(0));
    Channel channel;
    for (const Owner& owner : owners)
        channel.connect(owner);
    for (auto _ : state)
        channel.fire(1);
    benchmark::DoNotOptimize(owners.front()->sum);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

/// One subscription comes and goes while others stay.
template <class Channel>
void subscribeAndDetach(benchmark::State& state) {
    const std::vector<Owner> others = makeOwners(state.range(0));
    const Owner owner = std::make_shared<Listener>();
    Channel channel;
    for (const Owner& other : others)
        channel.connect(other);
    for (auto _ : state) {
        channel.connect(owner);
        channel.disconnect(owner);
    }
}

/// Owners die and are noticed by the next fire.
template <class Channel>
void subscribeAndPrune(benchmark::State& state) {
    Channel channel;
    for (auto _ : state) {
        std::vector<Owner> owners = makeOwners(state.range(0));
        for (const Owner& owner : owners)
            channel.connect(owner);
        owners.clear();
        channel.fire(1);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void listenerCounts(benchmark::internal::Benchmark* run) {
    run->Arg(1)->Arg(10)->Arg(1000);
}
void otherCounts(benchmark::internal::Benchmark* run) {
    run->Arg(0)->Arg(10)->Arg(100)->Arg(1000);
}

BENCHMARK(fire<SentrelSignal>)->Apply(listenerCounts);
BENCHMARK(fire<BoostSignals2>)->Apply(listenerCounts);
BENCHMARK(fire<Sigcpp>)->Apply(listenerCounts);
BENCHMARK(fire<PlainVector>)->Apply(listenerCounts);
BENCHMARK(subscribeAndDetach<SentrelSignal>)->Apply(otherCounts);
BENCHMARK(subscribeAndDetach<BoostSignals2>)->Apply(otherCounts);
BENCHMARK(subscribeAndDetach<Sigcpp>)->Apply(otherCounts);
BENCHMARK(subscribeAndDetach<PlainVector>)->Apply(otherCounts);
BENCHMARK(subscribeAndPrune<SentrelSignal>)->Apply(listenerCounts);
BENCHMARK(subscribeAndPrune<BoostSignals2>)->Apply(listenerCounts);
BENCHMARK(subscribeAndPrune<Sigcpp>)->Apply(listenerCounts);

} // namespace
