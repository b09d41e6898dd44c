// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/AtaSmart.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <numeric>
#include <scsi/sg.h>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr unsigned timeoutMilliseconds = 5000;
constexpr std::size_t sectorSize = 512;

// Commands and SMART subcommands: T13 ATA/ATAPI Command Set (ACS-3), clauses 7 and 7.48.
constexpr std::uint8_t commandCheckPowerMode = 0xE5;
constexpr std::uint8_t commandIdentify = 0xEC;
constexpr std::uint8_t commandSmart = 0xB0;
constexpr std::uint8_t smartReadData = 0xD0;
constexpr std::uint8_t smartReadThresholds = 0xD1;
constexpr std::uint8_t smartAutosave = 0xD2;
constexpr std::uint8_t smartOffLineImmediate = 0xD4;
constexpr std::uint8_t smartEnable = 0xD8;
constexpr std::uint8_t smartDisable = 0xD9;
constexpr std::uint8_t smartReturnStatus = 0xDA;
constexpr std::uint8_t smartLbaMid = 0x4F;
constexpr std::uint8_t smartLbaHigh = 0xC2;
constexpr std::uint8_t exceededLbaMid = 0xF4;
constexpr std::uint8_t exceededLbaHigh = 0x2C;
constexpr std::uint8_t autosaveOn = 0xF1;
constexpr std::uint8_t offLineRoutine = 0x00;
constexpr std::uint8_t extendedSelfTest = 0x02;
constexpr std::uint8_t statusErrorOrFault = 0x01 | 0x20;

// SCSI: T10 SAM-5 status and driver codes as SG_IO gives them, SPC-4 sense data, SAT-3 ATA PASS-THROUGH (16).
constexpr std::uint8_t ataPassThrough16 = 0x85;
constexpr std::uint8_t statusGood = 0x00;
constexpr std::uint8_t statusCheckCondition = 0x02;
constexpr std::uint8_t driverSense = 0x08;
constexpr std::uint8_t ataReturnDescriptor = 0x09;

struct AtaCommand {
    std::uint8_t command = 0;
    std::uint8_t features = 0;
    std::uint8_t count = 0;
    std::uint8_t lbaLow = 0;
    std::uint8_t lbaMid = 0;
    std::uint8_t lbaHigh = 0;
};

constexpr AtaCommand smartCommand(std::uint8_t subcommand, std::uint8_t count = 0, std::uint8_t lbaLow = 0) {
    return {commandSmart, subcommand, count, lbaLow, smartLbaMid, smartLbaHigh};
}

class AtaDrive {
public:
    AtaDrive(DeviceControl& control, UniqueFd device) : control_(control), device_(std::move(device)) {}

    // A command without data: the registers after it; absent, with errno set, if it failed.
    std::optional<AtaRegisters> command(const AtaCommand& command) {
        constexpr std::uint8_t protocolNonData = 3 << 1;
        constexpr std::uint8_t wantRegisters = 1 << 5; // CK_COND
        std::array<std::uint8_t, 64> sense{};
        if (!send(command, protocolNonData, wantRegisters, {}, sense))
            return std::nullopt;
        const std::optional<AtaRegisters> registers = parseAtaSense(sense);
        if (!registers || (registers->status & statusErrorOrFault) != 0) {
            errno = EIO;
            return std::nullopt;
        }
        return registers;
    }

    // A command that reads one sector; false, with errno set, if it failed or the sector did not come whole.
    bool read(const AtaCommand& command, std::span<std::uint8_t> sector) {
        constexpr std::uint8_t protocolPioIn = 4 << 1;
        constexpr std::uint8_t oneBlockIn = 1 << 3 | 1 << 2 | 2; // from the drive, in blocks, the count field tells
        std::array<std::uint8_t, 64> sense{};
        return send(command, protocolPioIn, oneBlockIn, sector, sense);
    }

private:
    bool send(const AtaCommand& command, std::uint8_t protocol, std::uint8_t flags, std::span<std::uint8_t> data,
              std::span<std::uint8_t> sense) {
        std::array<std::uint8_t, 16> block{};
        block[0] = ataPassThrough16;
        block[1] = protocol;
        block[2] = flags;
        block[4] = command.features;
        block[6] = command.count;
        block[8] = command.lbaLow;
        block[10] = command.lbaMid;
        block[12] = command.lbaHigh;
        block[14] = command.command;

        sg_io_hdr_t request{};
        request.interface_id = 'S';
        request.dxfer_direction = data.empty() ? SG_DXFER_NONE : SG_DXFER_FROM_DEV;
        request.dxferp = data.data();
        request.dxfer_len = static_cast<unsigned>(data.size());
        request.cmdp = block.data();
        request.cmd_len = static_cast<unsigned char>(block.size());
        request.sbp = sense.data();
        request.mx_sb_len = static_cast<unsigned char>(sense.size());
        request.timeout = timeoutMilliseconds;
        if (control_.control(device_.get(), SG_IO, &request) < 0)
            return false;
        const bool transported = request.host_status == 0 && (request.driver_status & ~driverSense) == 0;
        const bool wellEnded = data.empty() ? request.status == statusGood || request.status == statusCheckCondition
                                            : request.status == statusGood && request.resid == 0;
        if (transported && wellEnded)
            return true;
        errno = EIO;
        return false;
    }

    DeviceControl& control_;
    UniqueFd device_;
};

std::optional<bool> isAsleep(AtaDrive& drive) {
    const std::optional<AtaRegisters> registers = drive.command({.command = commandCheckPowerMode});
    if (!registers)
        return std::nullopt;
    constexpr std::uint8_t standby = 0x00;
    constexpr std::uint8_t standbyY = 0x01;
    return registers->count == standby || registers->count == standbyY;
}

/// What an ATA drive tells of its SMART in "identify device".
struct SmartFeature {
    bool supported = false;
    bool enabled = false;
};

std::optional<SmartFeature> smartFeature(AtaDrive& drive) {
    std::array<std::uint8_t, sectorSize> identity{};
    if (!drive.read({.command = commandIdentify, .count = 1}, identity))
        return std::nullopt;
    const auto word = [&identity](std::size_t number) {
        return static_cast<unsigned>(identity[2 * number] | identity[2 * number + 1] << 8);
    };
    constexpr unsigned valid = 0x4000;
    constexpr unsigned validMask = 0xC000;
    return SmartFeature{(word(83) & validMask) == valid && (word(82) & 1) != 0,
                        (word(87) & validMask) == valid && (word(85) & 1) != 0};
}

class AtaSmartInterface final : public SmartInterface {
public:
    explicit AtaSmartInterface(AtaDrive& drive) : drive_(drive) {}

    // A drive that sleeps is left asleep: not one of the conversation's commands reaches it.
    bool enableOperations(bool enable) override {
        if (!enable)
            return stopOperations();
        const std::optional<bool> asleep = isAsleep(drive_);
        if (!asleep || *asleep) {
            errno = asleep ? EAGAIN : errno;
            return false;
        }
        const std::optional<SmartFeature> feature = smartFeature(drive_);
        wasOn_ = feature && feature->enabled;
        awake_ = true;
        return drive_.command(smartCommand(smartEnable)).has_value();
    }

    bool enableAutosave(bool enable) override {
        if (!enable && wasOn_)
            return true; // others rely on it: see stopOperations
        return tell(smartCommand(smartAutosave, enable ? autosaveOn : 0));
    }

    std::optional<bool> returnStatus() override {
        const std::optional<AtaRegisters> registers = ask(smartCommand(smartReturnStatus));
        if (!registers)
            return std::nullopt;
        if (registers->lbaMid == exceededLbaMid && registers->lbaHigh == exceededLbaHigh)
            return true;
        if (registers->lbaMid == smartLbaMid && registers->lbaHigh == smartLbaHigh)
            return false;
        errno = EIO;
        return std::nullopt;
    }

    bool executeOffLineImmediate(bool extendedTest) override {
        return tell(smartCommand(smartOffLineImmediate, 0, extendedTest ? extendedSelfTest : offLineRoutine));
    }

    bool readData(SmartData& data) override {
        if (!awake_) {
            errno = EAGAIN;
            return false;
        }
        return drive_.read(smartCommand(smartReadData, 1), data);
    }

    bool readThresholds(SmartData& thresholds) override {
        if (!awake_) {
            errno = EAGAIN;
            return false;
        }
        return drive_.read(smartCommand(smartReadThresholds, 1), thresholds);
    }

    bool readHealthLog(SmartData& /*log*/) override {
        errno = ENOTSUP;
        return false;
    }

    bool validateData(const SmartData& data) override {
        errno = EILSEQ;
        return isSoundSmartData(data);
    }

private:
    // Under Linux, SMART that was on before the conversation belongs to others (a monitoring daemon, the firmware's
    // own choice): ending the conversation leaves it as it was found.
    bool stopOperations() { return wasOn_ || tell(smartCommand(smartDisable)); }

    std::optional<AtaRegisters> ask(const AtaCommand& command) {
        if (awake_)
            return drive_.command(command);
        errno = EAGAIN;
        return std::nullopt;
    }

    bool tell(const AtaCommand& command) { return ask(command).has_value(); }

    AtaDrive& drive_;
    bool awake_ = false;
    bool wasOn_ = false;
};

class AtaSmartPlugIn final : public SmartPlugIn {
public:
    AtaSmartPlugIn(DeviceControl& control, UniqueFd device) : drive_(control, std::move(device)) {}
    std::unique_ptr<SmartInterface> queryInterface() override { return std::make_unique<AtaSmartInterface>(drive_); }

private:
    AtaDrive drive_;
};

} // namespace

std::optional<AtaRegisters> parseAtaSense(std::span<const std::uint8_t> sense) noexcept {
    if (sense.size() < 8)
        return std::nullopt;
    const unsigned format = sense[0] & 0x7FU;
    if (format == 0x72) { // descriptor format
        const std::size_t end = std::min<std::size_t>(sense.size(), 8U + sense[7]);
        for (std::size_t at = 8; at + 2 <= end; at += 2U + sense[at + 1]) {
            if (sense[at] == ataReturnDescriptor && sense[at + 1] >= 12 && at + 14 <= end)
                return AtaRegisters{sense[at + 3], sense[at + 5],  sense[at + 7],
                                    sense[at + 9], sense[at + 11], sense[at + 13]};
        }
        return std::nullopt;
    }
    // Fixed format: the registers lie in the information fields when the additional sense says so (00h/1Dh).
    if (format == 0x70 && sense.size() >= 14 && sense[12] == 0x00 && sense[13] == 0x1D)
        return AtaRegisters{sense[3], sense[6], sense[9], sense[10], sense[11], sense[4]};
    return std::nullopt;
}

bool isSoundSmartData(const SmartData& data) noexcept {
    return (std::accumulate(data.begin(), data.end(), 0U) & 0xFFU) == 0;
}

bool isAtaSmartCapable(DeviceControl& control, const std::string& node) {
    UniqueFd device = control.open(node);
    if (!device)
        return false;
    AtaDrive drive(control, std::move(device));
    const std::optional<bool> asleep = isAsleep(drive);
    if (!asleep)
        return false;
    if (*asleep)
        return true;
    const std::optional<SmartFeature> feature = smartFeature(drive);
    return feature && feature->supported;
}

std::unique_ptr<SmartPlugIn> openAtaSmart(DeviceControl& control, const std::string& node) {
    UniqueFd device = control.open(node);
    if (!device)
        return nullptr;
    return std::make_unique<AtaSmartPlugIn>(control, std::move(device));
}

} // namespace sentrel::platform
