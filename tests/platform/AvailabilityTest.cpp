// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/Availability.h>

#include <gtest/gtest.h>

#include <cerrno>

namespace sentrel::platform {
namespace {

TEST(AvailabilityTest, AReadingThatThePermissionsForbidIsDenied) {
    EXPECT_EQ(availabilityOf(EACCES), Availability::denied);
    EXPECT_EQ(availabilityOf(EPERM), Availability::denied);
}

TEST(AvailabilityTest, AReadingOfWhatIsNotThereIsUnsupported) {
    for (const int error : {ENOENT, ENODEV, ENXIO, ENOSYS, ENOTSUP, EOPNOTSUPP})
        EXPECT_EQ(availabilityOf(error), Availability::unsupported) << error;
}

TEST(AvailabilityTest, EveryOtherErrorIsAFailure) {
    for (const int error : {EIO, EINVAL, ENOMEM, EMFILE, 0})
        EXPECT_EQ(availabilityOf(error), Availability::failed) << error;
}

} // namespace
} // namespace sentrel::platform
