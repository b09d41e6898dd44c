// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/graphics/GraphicsClients.h>

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/Nobody.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace sentrel::platform {
namespace {

// The processes of this machine, as its kernel shows them: none is a client as long as the machine has no card.
TEST(GraphicsClientsLive, AreDeniedByTheKernelToAUserWhoHasNone) {
    const TemporaryFolder machine;
    ASSERT_EQ(::chmod(machine.path().c_str(), 0755), 0);
    machine.link("proc", "/proc");
    machine.makeFolder("sys/class/drm/card0");
    asNobody([&machine, stranger = "/proc/" + std::to_string(::getpid()) + "/fd"] {
        ASSERT_NE(::access(stranger.c_str(), R_OK), 0);
        GraphicsClients reader{SystemRoot(machine.path())};
        std::vector<GraphicsClient> clients;
        EXPECT_EQ(reader.read(clients), Availability::denied);
        EXPECT_TRUE(clients.empty());
    });
}

} // namespace
} // namespace sentrel::platform
