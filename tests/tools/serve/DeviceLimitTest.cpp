// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/DeviceLimit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const FigureInfo figure{"bytes", Kind::gauge, "Bytes."};

class DeviceLimitTest : public testing::Test {
protected:
    static Table interfaces(const std::vector<std::string>& names) {
        Table table{"net", "interfaces"};
        for (const std::string& name : names)
            table.items.push_back({{{"interface", name}}, {{&figure, 1.0}}});
        return table;
    }

    // The names that are told of the first table.
    std::vector<std::string> tell(std::vector<Table> tables, std::string_view resource = "net") {
        limit.apply(resource, tables);
        std::vector<std::string> names;
        for (const Item& item : tables.front().items)
            names.push_back(item.labels.empty() ? "" : item.labels.front().second);
        const Table& last = tables.back();
        EXPECT_EQ(last.items.at(0).figures.at(0).value, Value(static_cast<std::int64_t>(limit.leftOut())));
        return names;
    }

    DeviceLimit limit{2};
};

TEST_F(DeviceLimitTest, UpToTheLimitAllAreTold) {
    EXPECT_THAT(tell({interfaces({"a", "b"})}), ElementsAre("a", "b"));
    EXPECT_EQ(limit.leftOut(), 0U);
}

TEST_F(DeviceLimitTest, BeyondItThoseThatWereToldStay) {
    EXPECT_THAT(tell({interfaces({"b", "c", "d", "e"})}), ElementsAre("b", "c"));
    EXPECT_EQ(limit.leftOut(), 2U);
    EXPECT_THAT(tell({interfaces({"a", "b", "c", "d"})}), ElementsAre("b", "c"));
    EXPECT_THAT(tell({interfaces({"a", "c", "d"})}), ElementsAre("a", "c")) << "there is room for another one";
    EXPECT_EQ(limit.leftOut(), 1U);
    EXPECT_THAT(tell({interfaces({"c", "d"})}), ElementsAre("c", "d"));
    EXPECT_EQ(limit.leftOut(), 0U);
}

TEST_F(DeviceLimitTest, TablesOfOneKindTellTheSameDevicesFirstThoseOfTheKernelsOrder) {
    std::vector<Table> tables{interfaces({"c", "d", "eth0"}), interfaces({"lo", "eth0", "b", "c"})};
    limit.apply("net", tables);
    ASSERT_EQ(tables[0].items.size(), 1U);
    EXPECT_EQ(tables[0].items[0].labels[0].second, "eth0");
    ASSERT_EQ(tables[1].items.size(), 2U);
    EXPECT_EQ(tables[1].items[0].labels[0].second, "lo");
    EXPECT_EQ(limit.leftOut(), 3U);
}

TEST_F(DeviceLimitTest, TheRootIsToldThoughItsDeviceComesLast) {
    Table volumes{"disk", "volumes"};
    for (const auto& [device, path] :
         std::vector<std::pair<std::string, std::string>>{{"loop1", "/snap/b"}, {"loop2", "/snap/a"}, {"vda", "/"}})
        volumes.items.push_back({{{"device", device}, {"mountpoint", path}}, {{&figure, 1.0}}});
    EXPECT_THAT(tell({volumes}, "disk"), ElementsAre("loop2", "vda"));
}

TEST_F(DeviceLimitTest, KindsDoNotCountTogetherNorWhatIsNoDevice) {
    Table volumes{"disk", "volumes"};
    Table disks{"disk", ""};
    for (const char* const name : {"a", "b", "c"}) {
        volumes.items.push_back({{{"device", name}, {"mountpoint", "/"}}, {{&figure, 1.0}}});
        disks.items.push_back({{{"device", std::string(name) + "1"}}, {{&figure, 1.0}}});
    }
    disks.items.push_back({{}, {{&figure, 1.0}}});
    std::vector<Table> tables{volumes, disks};
    limit.apply("disk", tables);
    EXPECT_EQ(tables[0].items.size(), 2U);
    EXPECT_EQ(tables[1].items.size(), 3U);
    EXPECT_EQ(limit.leftOut(), 2U);
}

TEST_F(DeviceLimitTest, OfOtherResourcesNothingIsBounded) {
    std::vector<Table> tables{{"cpu", "", {}}};
    for (int i = 0; i < 10; ++i)
        tables[0].items.push_back({{{"cpu", std::to_string(i)}}, {{&figure, 1.0}}});
    limit.apply("cpu", tables);
    ASSERT_EQ(tables.size(), 1U);
    EXPECT_EQ(tables[0].items.size(), 10U);
    EXPECT_THAT(tell({interfaces({})}), IsEmpty());
}

} // namespace
} // namespace tool
