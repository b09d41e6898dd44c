// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/DarwinTest.h"

#include <SentrelKit/platform/macos/processes/MacProcessService.h>
#include <SentrelKit/platform/macos/volumes/MacVolumeService.h>

using namespace darwin;
using namespace sentrel::platform;
using sentrel::Icon;
using testing::ElementsAre;

namespace {

class MacIcons : public DarwinTest {};

TEST_F(MacIcons, OfVolumesAreTheWorkspacesForTheMountPoint) {
    machine().pictures["/Volumes/Backup"] = {'M', 'M', 0, 42};
    const std::optional<Icon> icon = MacVolumeService().iconForPath("/Volumes/Backup");
    ASSERT_TRUE(icon);
    EXPECT_EQ(icon->kind(), Icon::Kind::tiff);
    EXPECT_THAT(icon->bytes(), ElementsAre('M', 'M', 0, 42));
    EXPECT_FALSE(MacVolumeService().iconForPath("/Volumes/Other"));
}

TEST_F(MacIcons, OfApplicationsComeWithThemAndAreReadOnlyWhenTheyAreAskedFor) {
    int reads = 0;
    machine().running = {{.processIdentifier = 7, .icon = Icon::tiff([&reads] {
                                                      ++reads;
                                                      return Icon::Bytes{'M', 'M', 0, 42};
                                                  })}};
    const RunningApplications applications = MacProcessService().runningApplications();
    ASSERT_EQ(applications.size(), 1U);
    EXPECT_EQ(reads, 0);
    EXPECT_THAT(applications[0]->icon->bytes(), ElementsAre('M', 'M', 0, 42));
    EXPECT_EQ(reads, 1);
}

} // namespace
