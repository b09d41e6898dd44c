// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/CompositePlatform.h>

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <gtest/gtest.h>
#include <vector>

namespace sentrel::platform {
namespace {

// The services of a machine, in the order in which a platform tells them.
std::vector<const void*> servicesOf(Platform& machine) {
    return {&machine.clock(),   &machine.dispatch(), &machine.host(),      &machine.graphics(), &machine.volumes(),
            &machine.network(), &machine.power(),    &machine.processes(), &machine.desktop(),  &machine.preferences()};
}

TEST(CompositePlatform, HasTheServicesOfTheMachineBehindIt) {
    ScriptedPlatform machine;
    CompositePlatform composite(machine);
    EXPECT_EQ(servicesOf(composite), servicesOf(machine));
}

TEST(CompositePlatform, HasEachServiceThatIsReplacedAndNoOther) {
    ScriptedPlatform machine;
    ScriptedPlatform other;
    const std::vector<ReplacedServices> replaced = {
        {.clock = &other.clock()},     {.dispatch = &other.dispatch()},
        {.host = &other.host()},       {.graphics = &other.graphics()},
        {.volumes = &other.volumes()}, {.network = &other.network()},
        {.power = &other.power()},     {.processes = &other.processes()},
        {.desktop = &other.desktop()}, {.preferences = &other.preferences()}};
    ASSERT_EQ(replaced.size(), servicesOf(machine).size());
    for (std::size_t which = 0; which < replaced.size(); ++which) {
        std::vector<const void*> expected = servicesOf(machine);
        expected[which] = servicesOf(other)[which];
        CompositePlatform composite(machine, replaced[which]);
        EXPECT_EQ(servicesOf(composite), expected) << which;
    }
}

} // namespace
} // namespace sentrel::platform
