// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/PropertyListNode.h>

#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>

#include <gtest/gtest.h>
#include <string>

namespace sentrel::platform {
namespace {

using List = PropertyList::List;
using Dictionary = PropertyList::Dictionary;

TEST(PropertyListNode, RefusesWhatAPropertyListCannotHold) {
    EXPECT_FALSE(encodePropertyList(PropertyList()));
    EXPECT_FALSE(encodePropertyList(List{1, PropertyList()}));
    EXPECT_FALSE(encodePropertyList(std::string("half\0text", 9)));
    EXPECT_FALSE(encodePropertyList("bad \xC3"));
    EXPECT_FALSE(encodePropertyList(Dictionary{{"bad \xFF", 1}}));
    EXPECT_FALSE(encodePropertyList(PropertyList::Address{"http://example.com"}));
}

} // namespace
} // namespace sentrel::platform
