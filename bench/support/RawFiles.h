// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Kernel files that are kept open and read by bare system calls: the least that a sample of their figures costs. What
/// is not there is left out, as nobody can read it.
class RawFiles {
public:
    RawFiles() = default;
    ~RawFiles();
    RawFiles(const RawFiles&) = delete;
    RawFiles& operator=(const RawFiles&) = delete;

    /// A file that comes with one system call: those of /sys, and the single records of /proc.
    void addRecord(const std::string& path);

    /// A table of /proc, which comes a page at a time, or its first bytes.
    void addTable(const std::string& path, std::size_t most = std::size_t{1} << 20);

    /// How many there are.
    [[nodiscard]] std::size_t count() const noexcept { return files_.size(); }

    /// Reads each from its start. False if one could not be read.
    bool read();

private:
    struct File {
        int descriptor;
        std::size_t most; // 0: with one system call
    };

    void add(const std::string& path, std::size_t most);
    [[nodiscard]] bool read(const File& file);

    std::vector<File> files_;
    std::vector<char> buffer_ = std::vector<char>(65536);
};

/// Asks once for the entries of a folder that is opened and closed for it, as one that tells what came and went has to.
void listRaw(const char* folder);

/// Opens a file of an open folder (AT_FDCWD: the working folder), reads it once and closes it. False if it cannot be
/// read.
bool readRaw(int folder, const char* name, std::vector<char>& buffer);
