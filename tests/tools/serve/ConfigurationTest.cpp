// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/Configuration.h"

#include "tests/support/TemporaryFolder.h"

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace tool {
namespace {

class ConfigurationTest : public testing::Test {
protected:
    std::string write(const std::string& text, mode_t mode = 0600, const std::string& name = "sentrel.conf") const {
        const std::string path = folder_.path(name);
        folder_.write(name, text);
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        return path;
    }

    Configuration read(const std::string& text) const {
        auto result = readConfiguration(write(text));
        if (const auto* const refusal = std::get_if<Refusal>(&result)) {
            ADD_FAILURE() << refusal->message;
            return {};
        }
        return std::get<Configuration>(std::move(result));
    }

    std::string refusal(const std::string& text, mode_t mode = 0600) const {
        const auto result = readConfiguration(write(text, mode));
        const auto* const refusal = std::get_if<Refusal>(&result);
        if (refusal == nullptr)
            return "taken";
        return refusal->message.substr(refusal->message.find("sentrel.conf"));
    }

    const sentrel::TemporaryFolder folder_;
};

TEST_F(ConfigurationTest, WithoutAWordIsLoopbackWithoutApplications) {
    const Configuration configuration = read("");
    EXPECT_EQ(configuration.listen.address, "127.0.0.1");
    EXPECT_EQ(configuration.listen.port, 9866);
    EXPECT_FALSE(configuration.credentials);
    EXPECT_FALSE(configuration.certificate);
    EXPECT_FALSE(configuration.applications);
    EXPECT_EQ(configuration.deviceLimit, 1000U);
    EXPECT_FALSE(configuration.pace);
}

TEST_F(ConfigurationTest, TakesEveryKey) {
    const std::string certificate = write("CHAIN", 0644, "chain.pem");
    const std::string key = write("KEY", 0600, "key.pem");
    const Configuration configuration =
        read("# a comment\n[server]\nlisten = [::1]:9000\n"
             "[authentication]\nuser=me\npassword=a b\\c\"=;#\n"
             "[tls]\ncertificate=" +
             certificate + "\nkey=" + key +
             "\n[applications]\nenabled=true\ntop=3\nnames=20\n[devices]\nlimit=5000\n[sampling]\nseconds=15\n");
    EXPECT_EQ(configuration.listen.address, "::1");
    EXPECT_EQ(configuration.listen.port, 9000);
    ASSERT_TRUE(configuration.credentials);
    EXPECT_EQ(configuration.credentials->user, "me");
    EXPECT_EQ(configuration.credentials->password, "a b\\c\"=;#");
    ASSERT_TRUE(configuration.certificate);
    EXPECT_EQ(configuration.certificate->chain, "CHAIN");
    EXPECT_EQ(configuration.certificate->key, "KEY");
    ASSERT_TRUE(configuration.applications);
    EXPECT_EQ(configuration.applications->top, 3U);
    EXPECT_EQ(configuration.applications->names, 20U);
    EXPECT_EQ(configuration.deviceLimit, 5000U);
    EXPECT_EQ(configuration.pace, std::chrono::seconds(15));
}

TEST_F(ConfigurationTest, ApplicationsThatAreNotAskedForStayOff) {
    EXPECT_FALSE(read("[applications]\nenabled=false\ntop=3\n").applications);
    EXPECT_FALSE(read("[applications]\ntop=3\n").applications);
}

TEST_F(ConfigurationTest, WhatItDoesNotKnowIsRefusedWithItsLine) {
    EXPECT_EQ(refusal("[server]\n\nlisen=127.0.0.1:1\n"), "sentrel.conf:3: [server] has no 'lisen'");
    EXPECT_EQ(refusal("[server]\n[tsl]\n"), "sentrel.conf:2: there is no section 'tsl'");
    EXPECT_EQ(refusal("[server]\nlisten=127.0.0.1\n"),
              "sentrel.conf:2: 'listen' takes an address and a port, not '127.0.0.1'");
    EXPECT_EQ(refusal("[applications]\ntop=0\n"), "sentrel.conf:2: 'top' takes a number from 1 to 1000, not '0'");
    EXPECT_EQ(refusal("[devices]\nlimit=0\n"), "sentrel.conf:2: 'limit' takes a number from 1 to 100000, not '0'");
    EXPECT_EQ(refusal("[sampling]\nseconds=1\n"), "sentrel.conf:2: 'seconds' takes a number from 2 to 3600, not '1'");
    EXPECT_EQ(refusal("[applications]\nenabled=yes\n"), "sentrel.conf:2: 'enabled' takes true or false, not 'yes'");
    EXPECT_EQ(refusal("[authentication]\nuser=a:b\n"),
              "sentrel.conf:2: 'user' takes a name without a colon, not 'a:b'");
}

TEST_F(ConfigurationTest, WhatIsNoConfigurationIsRefusedInOneLine) {
    for (const char* const text : {"listen=1\n", "[server\n", "\xFF\xFE\n", "[server]\nlisten\n", "[]\na=b\n"}) {
        const std::string message = refusal(text);
        EXPECT_NE(message, "taken") << text;
        EXPECT_EQ(message.find('\n'), std::string::npos) << message;
    }
}

TEST_F(ConfigurationTest, WhatBelongsTogetherIsThereTogether) {
    EXPECT_EQ(refusal("[authentication]\nuser=me\n"),
              "sentrel.conf:1: [authentication] takes both 'user' and 'password'");
    EXPECT_EQ(refusal("[tls]\nkey=/k\n"), "sentrel.conf:1: [tls] takes both 'certificate' and 'key'");
}

TEST_F(ConfigurationTest, SecretsThatEverybodyCanReadAreRefused) {
    EXPECT_EQ(refusal("[authentication]\nuser=me\npassword=it\n", 0644),
              "sentrel.conf:3: everybody can read the password (chmod o-r)");
    const std::string key = write("KEY", 0644, "key.pem");
    EXPECT_THAT(refusal("[tls]\ncertificate=/c\nkey=" + key + "\n"), testing::HasSubstr("everybody can read"));
}

TEST_F(ConfigurationTest, AFileThatIsNotThereIsTold) {
    for (const std::string& path : {folder_.path() + "/none", folder_.path()}) {
        const auto result = readConfiguration(path);
        ASSERT_TRUE(std::holds_alternative<Refusal>(result)) << path;
        EXPECT_THAT(std::get<Refusal>(result).message, testing::StartsWith("cannot read '" + path + "': "));
    }
    EXPECT_THAT(refusal("[tls]\ncertificate=/no/such\nkey=/no/such\n"),
                testing::StartsWith("sentrel.conf:2: cannot read '/no/such': No such file"));
}

TEST(EndpointTest, IsAnAddressInNumbersAndAPort) {
    const std::pair<const char*, const char*> good[] = {{"127.0.0.1:9866", "127.0.0.1"},
                                                        {"0.0.0.0:1", "0.0.0.0"},
                                                        {"[::1]:65535", "::1"},
                                                        {"[fe80::1]:0", "fe80::1"},
                                                        {":80", "::"},
                                                        {"localhost:80", "127.0.0.1"}};
    for (const auto& [text, address] : good) {
        ASSERT_TRUE(parseEndpoint(text)) << text;
        EXPECT_EQ(parseEndpoint(text)->address, address) << text;
    }
    for (const char* const bad :
         {"", ":", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:+1", "127.0.0.1: 1",
          "127.0.0.1:1x", "::1:80", "[127.0.0.1]:80", "[::1]", "example.org:80", "256.0.0.1:80", "[:80", "]:80"})
        EXPECT_FALSE(parseEndpoint(bad)) << bad;
}

} // namespace
} // namespace tool
