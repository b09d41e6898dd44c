// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/volumes/DeviceControl.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <scsi/sg.h>
#include <string>
#include <vector>

namespace sentrel::platform {

/// An ATA drive behind SG_IO, as the command set has it, with faults to choose from.
class ScriptedAtaDrive final : public DeviceControl {
public:
    ScriptedAtaDrive() {
        data[2] = 194; // one attribute: temperature 38
        data[7] = 38;
        data[511] = static_cast<std::uint8_t>(-(194 + 38));
    }

    std::vector<std::string> commands; ///< command, SMART subcommand, and what distinguishes its forms
    std::vector<unsigned> timeouts;    ///< milliseconds
    std::array<std::uint8_t, 512> data{};
    std::array<std::uint8_t, 512> thresholds{};
    std::uint8_t powerMode = 0xFF;
    bool hasSmart = true;
    bool isSmartOn = false;
    bool isExceeded = false;
    bool garblesStatus = false; ///< wrong registers in the answer to "return status"
    bool garblesSense = false;  ///< no registers in any answer
    int residual = 0;           ///< bytes that a data block lacks
    unsigned short hostStatus = 0;
    int openError = 0;
    int controlError = 0;
    std::string refused; ///< the command that the drive aborts

    UniqueFd open(const std::string& /*node*/) noexcept override {
        if (openError != 0) {
            errno = openError;
            return {};
        }
        return UniqueFd(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    }

    int control(int /*fd*/, unsigned long request, void* argument) noexcept override {
        if (request != SG_IO || controlError != 0) {
            errno = request != SG_IO ? ENOTTY : controlError;
            return -1;
        }
        auto& io = *static_cast<sg_io_hdr_t*>(argument);
        const std::uint8_t* block = io.cmdp;
        const std::string name = nameOf(block);
        commands.push_back(name);
        timeouts.push_back(io.timeout);
        io.host_status = hostStatus;
        if (name == refused) {
            io.status = 0x02;
            io.driver_status = 0x08;
            answer(io, {.error = 0x04, .status = 0x51});
            return 0;
        }
        if (io.dxfer_direction == SG_DXFER_FROM_DEV) {
            const bool wantsThresholds = block[14] == 0xB0 && block[4] == 0xD1;
            const std::array<std::uint8_t, 512> sector =
                block[14] == 0xEC ? identity() : (wantsThresholds ? thresholds : data);
            std::memcpy(io.dxferp, sector.data(), sector.size() - static_cast<std::size_t>(residual));
            io.resid = residual;
            return 0;
        }
        io.status = 0x02;
        io.driver_status = 0x08;
        Registers registers{.count = 0, .status = 0x50};
        if (block[14] == 0xE5)
            registers.count = powerMode;
        if (block[14] == 0xB0) {
            registers.lbaMid = isExceeded ? 0xF4 : 0x4F;
            registers.lbaHigh = isExceeded ? 0x2C : 0xC2;
            if (garblesStatus && block[4] == 0xDA)
                registers.lbaMid = 0x12;
        }
        answer(io, registers);
        return 0;
    }

private:
    struct Registers {
        std::uint8_t error = 0;
        std::uint8_t count = 0;
        std::uint8_t lbaMid = 0;
        std::uint8_t lbaHigh = 0;
        std::uint8_t status = 0;
    };

    static std::string nameOf(const std::uint8_t* block) {
        char text[32];
        if (block[0] != 0x85)
            return "not a pass-through";
        if (block[14] != 0xB0)
            std::snprintf(text, sizeof text, "%02X", block[14]);
        else if (block[10] != 0x4F || block[12] != 0xC2)
            return "SMART without its key";
        else if (block[4] == 0xD2)
            std::snprintf(text, sizeof text, "B0/D2 %02X", block[6]);
        else if (block[4] == 0xD4)
            std::snprintf(text, sizeof text, "B0/D4 lba %02X", block[8]);
        else
            std::snprintf(text, sizeof text, "B0/%02X", block[4]);
        return text;
    }

    std::array<std::uint8_t, 512> identity() const {
        std::array<std::uint8_t, 512> words{};
        words[82 * 2] = hasSmart ? 1 : 0;
        words[83 * 2 + 1] = 0x40;
        words[85 * 2] = isSmartOn ? 1 : 0;
        words[87 * 2 + 1] = 0x40;
        return words;
    }

    void answer(sg_io_hdr_t& io, const Registers& registers) const {
        if (garblesSense)
            return;
        const std::array<std::uint8_t, 22> sense = {0x72, 0x01,
                                                    0x00, 0x1D,
                                                    0,    0,
                                                    0,    14,
                                                    0x09, 12,
                                                    0,    registers.error,
                                                    0,    registers.count,
                                                    0,    0,
                                                    0,    registers.lbaMid,
                                                    0,    registers.lbaHigh,
                                                    0,    registers.status};
        std::memcpy(io.sbp, sense.data(), sense.size());
        io.sb_len_wr = sense.size();
    }
};

} // namespace sentrel::platform
