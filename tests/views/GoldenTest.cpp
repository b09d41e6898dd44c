// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"
#include "tests/views/Specimens.h"
#include "tests/views/TextRendererSuppressions.h"

#include "tests/support/Fixtures.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/views/support/PictureTolerance.h"

namespace sentrel {

namespace {

class Golden : public LineDefaults {};

// The pictures were looked at before they were committed; views_specimens makes them anew.
TEST_F(Golden, EveryComponentLooksAsItDid) {
    const TemporaryFolder folder;
    Specimens specimens;
    for (Specimen& specimen : specimens.all()) {
        for (const int scale : {1, 2}) {
            const std::string name = specimen.name + "@" + std::to_string(scale) + "x.png";
            SCOPED_TRACE(name);
            ASSERT_TRUE(render(specimen, folder.path(name), scale));
            EXPECT_TRUE(
                looksLike(Image(folder.path(name)), Image(fixturePath("golden/") + name), scale, goldenTolerance));
        }
    }
}

} // namespace

} // namespace sentrel
