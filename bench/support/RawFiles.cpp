// SPDX-License-Identifier: Apache-2.0
#include "bench/support/RawFiles.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

RawFiles::~RawFiles() {
    for (const File& file : files_)
        ::close(file.descriptor);
}

void RawFiles::addRecord(const std::string& path) {
    add(path, 0);
}

void RawFiles::addTable(const std::string& path, std::size_t most) {
    add(path, most);
    buffer_.resize(std::max(buffer_.size(), most));
}

void RawFiles::add(const std::string& path, std::size_t most) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor >= 0)
        files_.push_back({descriptor, most});
}

bool RawFiles::read() {
    bool isWhole = true;
    for (const File& file : files_)
        isWhole = read(file) && isWhole;
    benchmark::DoNotOptimize(buffer_.data());
    return isWhole;
}

bool RawFiles::read(const File& file) {
    if (file.most == 0)
        return ::pread(file.descriptor, buffer_.data(), buffer_.size(), 0) >= 0;
    std::size_t filled = 0;
    while (filled < file.most) {
        const ssize_t count =
            ::pread(file.descriptor, buffer_.data() + filled, file.most - filled, static_cast<off_t>(filled));
        if (count < 0)
            return false;
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    return true;
}

void listRaw(const char* folder) {
    std::array<char, 32768> entries;
    const int descriptor = ::open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    while (::getdents64(descriptor, entries.data(), entries.size()) > 0)
        benchmark::DoNotOptimize(entries);
    ::close(descriptor);
}

bool readRaw(int folder, const char* name, std::vector<char>& buffer) {
    const int file = ::openat(folder, name, O_RDONLY | O_CLOEXEC);
    const ssize_t count = ::read(file, buffer.data(), buffer.size());
    benchmark::DoNotOptimize(buffer.data());
    ::close(file);
    return count >= 0;
}
