// SPDX-License-Identifier: Apache-2.0
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <ftw.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace sentrel {

namespace {

std::string pattern() {
    const char* folder = std::getenv("TMPDIR");
    return std::string(folder ? folder : "/tmp") + "/sentrel-XXXXXX";
}

void makeFolders(const std::string& path) {
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        if (::mkdir(path.substr(0, end).c_str(), 0777) != 0 && errno != EEXIST)
            throw std::runtime_error("cannot make " + path);
        if (end == std::string::npos)
            return;
    }
}

void makeFolderOf(const std::string& file) {
    makeFolders(file.substr(0, file.rfind('/')));
}

bool removeAll(const std::string& path) {
    constexpr int descriptors = 16;
    const auto removeOne = [](const char* each, const struct stat*, int, FTW*) { return std::remove(each); };
    return ::nftw(path.c_str(), removeOne, descriptors, FTW_DEPTH | FTW_PHYS) == 0 || errno == ENOENT;
}

} // namespace

TemporaryFolder::TemporaryFolder() : path_(pattern()) {
    if (!mkdtemp(path_.data()))
        throw std::runtime_error("no temporary folder");
}

TemporaryFolder::~TemporaryFolder() {
    static_cast<void>(removeAll(path_));
}

void TemporaryFolder::write(std::string_view name, std::string_view content) const {
    const std::string file = path(name);
    makeFolderOf(file);
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!stream.flush())
        throw std::runtime_error("cannot write " + file);
}

void TemporaryFolder::makeFolder(std::string_view name) const {
    makeFolders(path(name));
}

void TemporaryFolder::link(std::string_view name, const std::string& target) const {
    const std::string file = path(name);
    makeFolderOf(file);
    if (::symlink(target.c_str(), file.c_str()) != 0)
        throw std::runtime_error("cannot make " + file);
}

void TemporaryFolder::remove(std::string_view name) const {
    if (!removeAll(path(name)))
        throw std::runtime_error("cannot remove " + path(name));
}

} // namespace sentrel
