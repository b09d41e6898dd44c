// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/GraphicsClients.h>

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include "tests/support/Allocations.h"
#include "tests/support/Fixtures.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/Nobody.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace sentrel::platform {
namespace {

using Clients = std::vector<GraphicsClient>;
constexpr auto available = Availability::available;

std::string fixture(const std::string& name) {
    return SystemRoot().read(fixturePath("graphics/" + name)).value();
}

const GraphicsClient ofIntel{.processor = "0000:00:02.0",
                             .identifier = 24,
                             .engines = {{.name = "render", .busy = 9288864723},
                                         {.name = "copy", .busy = 2035071108},
                                         {.name = "video", .busy = 0, .count = 2},
                                         {.name = "video-enhance", .busy = 0}},
                             .memory = 131072000 + 65536};

TEST(GraphicsClients, AreParsedAsEachDriverWritesThem) {
    GraphicsClient client;
    ASSERT_TRUE(parseGraphicsClient(fixture("i915"), client));
    EXPECT_EQ(client, ofIntel);
    ASSERT_TRUE(parseGraphicsClient(fixture("xe"), client));
    EXPECT_EQ(client, (GraphicsClient{.processor = "0000:03:00.0",
                                      .identifier = 31,
                                      .engines = {{.name = "rcs", .busy = 28257900, .total = 7655183225},
                                                  {.name = "bcs", .busy = 0, .total = 7655183225},
                                                  {.name = "vcs", .busy = 1200, .total = 7655183225, .count = 2}},
                                      .memory = 196 << 20}));
    ASSERT_TRUE(parseGraphicsClient(fixture("amdgpu"), client));
    EXPECT_EQ(client, (GraphicsClient{.processor = "0000:0a:00.0",
                                      .identifier = 112,
                                      .engines = {{.name = "gfx", .busy = 55123456789}, {.name = "enc", .busy = 77}},
                                      .memory = (412312ULL + 20480) << 10}));
    ASSERT_TRUE(parseGraphicsClient(fixture("v3d"), client));
    EXPECT_EQ(client, (GraphicsClient{.processor = "v3d",
                                      .identifier = 5,
                                      .engines = {{.name = "bin", .busy = 801}, {.name = "render", .busy = 90210}}}))
        << "not on a PCI bus";
}

TEST(GraphicsClients, AreNotMadeOfOtherTexts) {
    GraphicsClient client;
    for (const char* const text : {"", "\n", "pos:\t0\nflags:\t02\n", "drm-driver:\ti915\n", "drm-client-id:\t7\n",
                                   "drm-driver:\ti915\ndrm-client-id:\t-7\n", "drm-driver:\n drm-client-id: 7",
                                   "drm-driver:\ti915\ndrm-client-id:\t"})
        EXPECT_FALSE(parseGraphicsClient(text, client)) << text;
    const std::string head = "drm-driver: d\ndrm-client-id: 1\n";
    ASSERT_TRUE(parseGraphicsClient(head + "drm-engine-: 5 ns\ndrm-engine-a\ndrm-engine-b: x\ndrm-engine-b: 3 ns\n"
                                           "drm-engine-capacity-b: 0\ndrm-memory-x: 5 TiB\ndrm-memory-y: -1 KiB\n"
                                           "drm-memory-z: 18446744073709551615 KiB\ndrm-engine-capacity-c: 3",
                                    client));
    EXPECT_EQ(client,
              (GraphicsClient{.processor = "d",
                              .identifier = 1,
                              .engines = {{.name = "a"}, {.name = "b", .busy = 3}, {.name = "c", .count = 3}}}));
    std::string many = head;
    for (int i = 0; i < 1000; ++i)
        many += "drm-engine-" + std::to_string(i) + ": 1 ns\n";
    ASSERT_TRUE(parseGraphicsClient(many, client));
    EXPECT_EQ(client.engines.size(), 32U);
}

// A machine with a card on which processes run.
class GraphicsClientsTest : public testing::Test {
protected:
    GraphicsClientsTest() {
        machine_.makeFolder("proc/1");
        machine_.makeFolder("sys/class/drm/card0");
    }

    void open(const std::string& process, const std::string& file, const std::string& device,
              const std::string& text) const {
        machine_.link("proc/" + process + "/fd/" + file, device);
        machine_.write("proc/" + process + "/fdinfo/" + file, text);
    }

    TemporaryFolder machine_;
    GraphicsClients reader_{SystemRoot(machine_.path())};
    Clients clients_;
};

TEST_F(GraphicsClientsTest, AreFoundAmongTheOpenFilesOfAllProcessesEachOnce) {
    open("300", "0", "/dev/null", "pos:\t0\n");
    open("300", "7", "/dev/dri/card0", fixture("i915"));
    open("300", "12", "/dev/dri/renderD128", fixture("i915"));
    open("301", "3", "/dev/dri/renderD128", fixture("i915")); // handed on to another process
    open("301", "4", "/dev/dri/renderD129", fixture("amdgpu"));
    open("302", "5", "/home/dri/text", fixture("v3d"));
    open("self", "7", "/dev/dri/renderD128", fixture("v3d"));
    ASSERT_EQ(reader_.read(clients_), available);
    ASSERT_EQ(clients_.size(), 2U);
    std::sort(clients_.begin(), clients_.end(),
              [](const GraphicsClient& a, const GraphicsClient& b) { return a.identifier < b.identifier; });
    EXPECT_EQ(clients_[0], ofIntel);
    EXPECT_EQ(clients_[1].processor, "0000:0a:00.0");
    machine_.remove("proc/301");
    ASSERT_EQ(reader_.read(clients_), available);
    EXPECT_EQ(clients_, Clients{ofIntel});
    machine_.remove("proc/300");
    ASSERT_EQ(reader_.read(clients_), available);
    EXPECT_TRUE(clients_.empty()) << "nobody uses it";
}

TEST_F(GraphicsClientsTest, AreUnsupportedWithoutACard) {
    open("300", "7", "/dev/dri/card0", fixture("i915"));
    machine_.remove("sys/class/drm/card0");
    machine_.write("sys/class/drm/version", "drm 1.1.0 20060810\n");
    clients_ = {ofIntel, ofIntel};
    EXPECT_EQ(reader_.read(clients_), Availability::unsupported);
    EXPECT_EQ(clients_.size(), 2U);
    machine_.makeFolder("sys/class/drm/renderD128");
    EXPECT_EQ(reader_.read(clients_), available);
    EXPECT_EQ(clients_, Clients{ofIntel});
}

TEST_F(GraphicsClientsTest, SkipWhatIsCutOrEmpty) {
    open("300", "7", "/dev/dri/card0", "");
    open("300", "8", "/dev/dri/card0", fixture("i915").substr(0, 40));
    machine_.link("proc/300/fd/9", "/dev/dri/card0"); // closed meanwhile
    ASSERT_EQ(reader_.read(clients_), available);
    EXPECT_TRUE(clients_.empty());
}

TEST_F(GraphicsClientsTest, AreDeniedWhereOnlyProcessesOfOthersCanHaveAny) {
    open("300", "7", "/dev/dri/card0", fixture("i915"));
    open("301", "4", "/dev/dri/renderD129", fixture("amdgpu"));
    ASSERT_EQ(::chmod(machine_.path().c_str(), 0755), 0);
    const std::string mine = machine_.path("proc/300/fd");
    for (const std::string& files : {mine, machine_.path("proc/301/fd")})
        ASSERT_EQ(::chmod(files.c_str(), 0500), 0);
    clients_ = {ofIntel, ofIntel};
    asNobody([this] {
        EXPECT_EQ(reader_.read(clients_), Availability::denied);
        EXPECT_EQ(clients_.size(), 2U) << "as it was";
    });
    ASSERT_EQ(::chmod(mine.c_str(), 0755), 0);
    asNobody([this] {
        EXPECT_EQ(reader_.read(clients_), available);
        EXPECT_EQ(clients_, Clients{ofIntel}) << "of the processes that may be seen";
    });
    ASSERT_EQ(reader_.read(clients_), available);
    EXPECT_EQ(clients_.size(), 2U) << "the superuser sees all";
}

TEST_F(GraphicsClientsTest, TakeNoMemoryOnceWarm) {
    open("300", "7", "/dev/dri/card0", fixture("i915"));
    open("300", "8", "/dev/dri/card0", fixture("i915"));
    open("301", "4", "/dev/dri/renderD129", fixture("amdgpu"));
    open("302", "4", "/dev/dri/renderD130", fixture("xe"));
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(reader_.read(clients_), available);
    const std::size_t before = allocations();
    for (int i = 0; i < 16; ++i)
        ASSERT_EQ(reader_.read(clients_), available);
    if (countsAllocations) {
        EXPECT_EQ(allocations(), before);
    }
    EXPECT_EQ(clients_.size(), 3U);
}

} // namespace
} // namespace sentrel::platform
