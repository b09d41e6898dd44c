// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/Icon.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace sentrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Icon, IsANameInTheTheme) {
    const Icon icon = Icon::named("drive-harddisk");
    EXPECT_EQ(icon.kind(), Icon::Kind::name);
    EXPECT_EQ(icon.text(), "drive-harddisk");
    EXPECT_THAT(icon.bytes(), IsEmpty());
}

TEST(Icon, IsAnImageFile) {
    const Icon icon = Icon::atPath("/usr/share/pixmaps/notes.png");
    EXPECT_EQ(icon.kind(), Icon::Kind::path);
    EXPECT_EQ(icon.text(), "/usr/share/pixmaps/notes.png");
    EXPECT_THAT(icon.bytes(), IsEmpty());
}

TEST(Icon, IsAPictureWhoseBytesAreReadWhenTheyAreAskedFor) {
    Icon::Bytes bytes;
    int reads = 0;
    const Icon icon = Icon::tiff([&] {
        ++reads;
        return bytes;
    });
    const Icon copy = icon;
    EXPECT_EQ(reads, 0);
    EXPECT_EQ(icon.kind(), Icon::Kind::tiff);
    EXPECT_EQ(icon.text(), "");
    EXPECT_THAT(icon.bytes(), IsEmpty());
    bytes = {'I', 'I', 42, 0};
    EXPECT_THAT(copy.bytes(), ElementsAre('I', 'I', 42, 0));
    EXPECT_EQ(reads, 2);
}

TEST(Icon, EqualsTheSameNameTheSamePathAndItsCopies) {
    EXPECT_EQ(Icon::named("notes"), Icon::named("notes"));
    EXPECT_NE(Icon::named("notes"), Icon::named("player"));
    EXPECT_NE(Icon::named("/notes"), Icon::atPath("/notes"));
    EXPECT_EQ(Icon::atPath("/notes"), Icon::atPath("/notes"));
    const auto none = [] { return Icon::Bytes(); };
    const Icon picture = Icon::tiff(none);
    const Icon copy = picture;
    EXPECT_EQ(copy, picture);
    EXPECT_NE(picture, Icon::tiff(none));
}

} // namespace
} // namespace sentrel
