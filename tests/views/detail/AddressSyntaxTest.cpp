// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/detail/AddressSyntax.h>

#include <gtest/gtest.h>

namespace sentrel {

namespace {

TEST(AddressSyntax, AcceptsAbsoluteAddresses) {
    for (const char* text :
         {"https://example.org", "http://example.org:8080/a/b?c=d&e=%20f#g", "mailto:someone@example.org",
          "file:///etc/hosts", "x-custom+scheme.1:anything", "http://[::1]/", "HTTP://EXAMPLE.ORG"})
        EXPECT_TRUE(isAddress(text)) << text;
}

TEST(AddressSyntax, RefusesWhatIsNoAbsoluteAddress) {
    for (const char* text : {"",
                             ":",
                             "http:",
                             "://example.org",
                             "example.org",
                             "/etc/hosts",
                             "1http://a",
                             "ht tp://a",
                             "http://a b",
                             "http://a\"b",
                             "http://a\nb",
                             "http://%",
                             "http://%2",
                             "http://%2g",
                             "http://a#b#c",
                             "http://\xC3\xA9",
                             "http://a\\b",
                             "-e:x",
                             "http://`id`",
                             "http://a|b"})
        EXPECT_FALSE(isAddress(text)) << text;
    EXPECT_FALSE(isAddress(std::string_view("http://a\0b", 10)));
}

} // namespace

} // namespace sentrel
