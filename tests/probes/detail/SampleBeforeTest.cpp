// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/SampleBefore.h>

#include "tests/support/Allocations.h"

#include <SentrelKit/probes/DiskRates.h>
#include <SentrelKit/probes/TrafficRates.h>

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace sentrel::probes {
namespace {

constexpr std::int64_t second = 1'000'000'000;

struct OfDisks {
    using Rates = DiskRates;
    using Counters = DiskOperations;
    using Record = DiskActivity;
    static constexpr auto counter = &DiskOperations::reads;
    static std::vector<std::optional<double>> figures(const DiskActivity& record) {
        return {record.readsRate,   record.writesRate,   record.busy,
                record.readLatency, record.writeLatency, record.queueLength};
    }
};

struct OfInterfaces {
    using Rates = TrafficRates;
    using Counters = InterfaceCounters;
    using Record = InterfaceTraffic;
    static constexpr auto counter = &InterfaceCounters::packetsIn;
    static std::vector<std::optional<double>> figures(const InterfaceTraffic& record) {
        return {record.packetsInRate, record.packetsOutRate, record.errorsInRate,
                record.errorsOutRate, record.dropsInRate,    record.dropsOutRate};
    }
};

/// What holds for the rates of everything that is counted by device.
template <class Kind>
class SampleBeforeOf : public testing::Test {
protected:
    using Counters = typename Kind::Counters;

    static Counters named(const std::string& name) {
        Counters counters{};
        counters.name = name;
        counters.*Kind::counter = 1000;
        if constexpr (std::is_same_v<Counters, InterfaceCounters>)
            counters.dropsOut = 2;
        return counters;
    }

    const std::vector<typename Kind::Record>& take(const std::vector<Counters>& counters, std::int64_t time) {
        rates_.take(counters, time, records_);
        return records_;
    }

    [[nodiscard]] bool hasFigures(std::size_t place) const {
        for (const std::optional<double>& figure : Kind::figures(records_.at(place)))
            if (figure)
                return true;
        return false;
    }

    [[nodiscard]] std::optional<double> rate(std::size_t place) const { return Kind::figures(records_.at(place))[0]; }

    Counters device_ = named("first");
    typename Kind::Rates rates_;
    std::vector<typename Kind::Record> records_;
};

using Kinds = testing::Types<OfDisks, OfInterfaces>;
TYPED_TEST_SUITE(SampleBeforeOf, Kinds);

TYPED_TEST(SampleBeforeOf, NoDeviceHasFiguresAtItsFirstSample) {
    EXPECT_EQ(this->take({this->device_}, 5 * second).size(), 1U);
    EXPECT_EQ(this->records_[0].counters.name, "first");
    EXPECT_EQ(this->records_[0].counters.*TypeParam::counter, 1000);
    EXPECT_FALSE(this->hasFigures(0));
}

TYPED_TEST(SampleBeforeOf, WithoutTimeBetweenTwoSamplesThereAreNone) {
    this->take({this->device_}, 5 * second);
    this->device_.*TypeParam::counter += 5;
    this->take({this->device_}, 5 * second);
    EXPECT_EQ(this->rate(0), std::nullopt);
    this->take({this->device_}, 4 * second);
    EXPECT_EQ(this->rate(0), std::nullopt);
}

TYPED_TEST(SampleBeforeOf, ADeviceThatIsNewBeginsAndTheOthersGoOnWhereverTheyStand) {
    this->take({this->device_}, 5 * second);
    this->device_.*TypeParam::counter += 7;
    this->take({this->named("second"), this->device_}, 6 * second);
    EXPECT_FALSE(this->hasFigures(0));
    EXPECT_EQ(this->rate(1), 7);
    this->take({this->device_}, 7 * second);
    EXPECT_EQ(this->rate(0), 0) << "the one before it has gone";
}

TYPED_TEST(SampleBeforeOf, ACounterThatWentBackHasNoneForThatSample) {
    this->take({this->device_}, 5 * second);
    this->device_.*TypeParam::counter = 1;
    this->take({this->device_}, 6 * second);
    EXPECT_EQ(this->rate(0), std::nullopt);
    this->device_.*TypeParam::counter = 3;
    this->take({this->device_}, 7 * second);
    EXPECT_EQ(this->rate(0), 2);
}

TYPED_TEST(SampleBeforeOf, BeginsAnewOnceForgotten) {
    this->take({this->device_}, 5 * second);
    this->rates_.forget();
    this->take({this->device_}, 6 * second);
    EXPECT_FALSE(this->hasFigures(0));
}

TYPED_TEST(SampleBeforeOf, AllocatesNothingOnceWarm) {
    const std::vector<typename TypeParam::Counters> counters = {this->device_, this->named("a name of15char")};
    this->take(counters, second);
    this->take(counters, 2 * second);
    const std::size_t before = allocations();
    for (int sample = 3; sample < 20; ++sample)
        this->take(counters, sample * second);
    if (countsAllocations) {
        EXPECT_EQ(allocations(), before);
    }
}

} // namespace
} // namespace sentrel::probes
