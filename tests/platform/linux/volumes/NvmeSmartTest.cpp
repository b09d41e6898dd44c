// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/NvmeSmart.h>

#include <SentrelKit/platform/linux/volumes/AtaSmart.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/nvme_ioctl.h>
#include <string>
#include <sys/ioctl.h>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

// An NVMe drive behind its admin command.
class ScriptedNvmeDrive final : public DeviceControl {
public:
    NvmeHealthLog log{};
    int status = 0; ///< what the command returns
    int error = 0;
    int openError = 0;

    UniqueFd open(const std::string& /*node*/) noexcept override {
        errno = openError;
        return openError != 0 ? UniqueFd() : UniqueFd(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
    int control(int /*fd*/, unsigned long request, void* argument) noexcept override {
        const auto& command = *static_cast<nvme_admin_cmd*>(argument);
        const bool isHealthLog = request == NVME_IOCTL_ADMIN_CMD && command.opcode == 0x02 &&
                                 command.nsid == 0xFFFFFFFF && command.cdw10 == (0x02U | 127U << 16) &&
                                 command.data_len == 512 && command.timeout_ms > 0 && command.timeout_ms <= 10000;
        if (!isHealthLog || error != 0) {
            errno = isHealthLog ? error : EINVAL;
            return -1;
        }
        if (status == 0)
            std::memcpy(reinterpret_cast<void*>(command.addr), log.data(), log.size());
        return status;
    }

    void setKelvins(unsigned kelvins) {
        log[1] = static_cast<std::uint8_t>(kelvins & 0xFF);
        log[2] = static_cast<std::uint8_t>(kelvins >> 8);
    }
};

TEST(NvmeHealth, ConvertsKelvinsToWholeDegreesWithinAByte) {
    const std::vector<std::pair<unsigned, int>> cases = {
        {273 + 41, 41}, {273, 0}, {250, 0}, {273 + 255, 255}, {65535, 255}};
    for (const auto& [kelvins, celsius] : cases) {
        ScriptedNvmeDrive drive;
        drive.setKelvins(kelvins);
        const SmartData data = smartDataOfHealthLog(drive.log);
        EXPECT_EQ(data[2], 194) << kelvins;
        EXPECT_EQ(data[7], celsius) << kelvins;
        EXPECT_TRUE(isSoundSmartData(data)) << kelvins;
    }
}

TEST(NvmeHealth, HasNoTemperatureAttributeWhereTheDriveTellsNone) {
    const SmartData data = smartDataOfHealthLog(NvmeHealthLog{});
    EXPECT_EQ(data[2], 0);
    EXPECT_TRUE(isSoundSmartData(data));
}

TEST(NvmeHealth, IsFailingWithAnyCriticalWarning) {
    NvmeHealthLog log{};
    EXPECT_FALSE(hasCriticalWarning(log));
    for (int bit = 0; bit < 8; ++bit) {
        log[0] = static_cast<std::uint8_t>(1 << bit);
        EXPECT_TRUE(hasCriticalWarning(log));
    }
}

TEST(NvmeHealth, ComesAsASmartConversation) {
    ScriptedNvmeDrive drive;
    drive.setKelvins(273 + 50);
    EXPECT_TRUE(isNvmeSmartCapable(drive, "/dev/nvme0n1"));
    const auto plugIn = openNvmeSmart(drive, "/dev/nvme0n1");
    ASSERT_TRUE(plugIn);
    const auto interface = plugIn->queryInterface();
    SmartData data{};
    EXPECT_TRUE(interface->enableOperations(true));
    EXPECT_TRUE(interface->enableAutosave(true));
    EXPECT_EQ(interface->returnStatus(), false);
    EXPECT_TRUE(interface->executeOffLineImmediate(false));
    EXPECT_TRUE(interface->readData(data));
    EXPECT_TRUE(interface->validateData(data));
    EXPECT_EQ(data[7], 50);

    drive.log[0] = 4;
    EXPECT_EQ(interface->returnStatus(), true);
    drive.status = 0x2002; // the drive's own error code
    EXPECT_FALSE(interface->returnStatus());
    EXPECT_FALSE(interface->readData(data));
}

TEST(NvmeHealth, IsReadAsTheDriveGivesItAndHasNoThresholds) {
    ScriptedNvmeDrive drive;
    drive.log[5] = 77;
    const auto plugIn = openNvmeSmart(drive, "/dev/nvme0n1");
    const auto interface = plugIn->queryInterface();
    SmartData log{};
    EXPECT_TRUE(interface->readHealthLog(log));
    EXPECT_EQ(log, drive.log);
    EXPECT_FALSE(interface->readThresholds(log));
    EXPECT_EQ(errno, ENOTSUP);
    drive.error = EPERM;
    EXPECT_FALSE(interface->readHealthLog(log));
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(log[5], 77) << "as it was";
}

TEST(NvmeHealth, SaysThatThePermissionIsLacking) {
    ScriptedNvmeDrive drive;
    drive.openError = EACCES;
    errno = 0;
    EXPECT_FALSE(isNvmeSmartCapable(drive, "/dev/nvme0n1"));
    EXPECT_EQ(errno, EACCES);
}

TEST(NvmeHealth, IsNotToBeHadWithoutPermission) {
    ScriptedNvmeDrive drive;
    drive.error = EACCES;
    EXPECT_FALSE(isNvmeSmartCapable(drive, "/dev/nvme0n1"));
    drive.openError = EACCES;
    EXPECT_FALSE(isNvmeSmartCapable(drive, "/dev/nvme0n1"));
    EXPECT_EQ(openNvmeSmart(drive, "/dev/nvme0n1"), nullptr);
}

} // namespace
} // namespace sentrel::platform
