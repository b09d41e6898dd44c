// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/Metrics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace tool {
namespace {

const Metric* find(const std::string& name) {
    const auto found = std::ranges::find(metrics(), name, &Metric::name);
    return found == metrics().end() ? nullptr : &*found;
}

bool isName(std::string_view text) {
    return !text.empty() && text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_") == std::string_view::npos &&
           text.find_first_of("0123456789") != 0;
}

TEST(MetricsTest, NamesAreUniqueAndOfTheFormThatEnginesTake) {
    std::set<std::string> seen;
    for (const Metric& metric : metrics()) {
        EXPECT_TRUE(seen.insert(metric.name).second) << metric.name << " is there twice";
        EXPECT_TRUE(isName(metric.name)) << metric.name;
        EXPECT_TRUE(metric.name.starts_with("sentrel_")) << metric.name;
        for (const std::string_view label : metric.labels)
            EXPECT_TRUE(isName(label)) << metric.name << ": " << label;
    }
}

TEST(MetricsTest, CountersAndOnlyTheyEndInTotal) {
    for (const Metric& metric : metrics())
        EXPECT_EQ(metric.name.ends_with("_total"), metric.kind == Kind::counter) << metric.name;
}

TEST(MetricsTest, EachIsExplainedByASentence) {
    for (const Metric& metric : metrics())
        EXPECT_TRUE(metric.help.ends_with('.')) << metric.name << ": " << metric.help;
}

TEST(MetricsTest, ThingsAreNamedByThemselvesAndToldApartByTheirLabels) {
    ASSERT_NE(find("sentrel_volume_up"), nullptr);
    EXPECT_THAT(find("sentrel_volume_up")->labels, testing::ElementsAre("device", "mountpoint"));
    ASSERT_NE(find("sentrel_interface_received_bytes_total"), nullptr);
    EXPECT_THAT(find("sentrel_interface_received_bytes_total")->labels, testing::ElementsAre("interface"));
    ASSERT_NE(find("sentrel_cpu_seconds_total"), nullptr);
    EXPECT_THAT(find("sentrel_cpu_seconds_total")->labels, testing::ElementsAre("cpu", "mode"));
    ASSERT_NE(find("sentrel_cpu_usage_ratio"), nullptr);
    EXPECT_TRUE(find("sentrel_cpu_usage_ratio")->labels.empty());
}

TEST(MetricsTest, AnApplicationIsNoSeriesAProcess) {
    ASSERT_NE(find("sentrel_application_cpu_ratio"), nullptr);
    EXPECT_THAT(find("sentrel_application_cpu_ratio")->labels, testing::ElementsAre("application"));
}

TEST(MetricsTest, RatesAndTextsAreLeftOut) {
    EXPECT_EQ(find("sentrel_volume_read_bytes_per_second"), nullptr);
    EXPECT_NE(find("sentrel_volume_read_bytes_total"), nullptr);
    EXPECT_EQ(find("sentrel_cpu_brand"), nullptr);
    EXPECT_NE(find("sentrel_interface_speed_bits_per_second"), nullptr) << "no rate, the link's";
}

TEST(MetricsTest, EachResourceThatTellsSomethingTellsWhenItWasSampled) {
    for (const Metric& metric : metrics())
        EXPECT_TRUE(metric.resource.empty() || find(lastSampleName(metric.resource)) != nullptr) << metric.name;
    EXPECT_EQ(find(lastSampleName("host")), nullptr) << "never sampled";
}

} // namespace
} // namespace tool
