// SPDX-License-Identifier: Apache-2.0
#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace sentrel {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() : path_((fs::temp_directory_path() / "sentrel-XXXXXX").string()) {
    if (!mkdtemp(path_.data()))
        throw std::runtime_error("no temporary folder");
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

void TemporaryFolder::write(std::string_view name, std::string_view content) const {
    const fs::path file = path(name);
    fs::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!stream.flush())
        throw std::runtime_error("cannot write " + file.string());
}

void TemporaryFolder::makeFolder(std::string_view name) const {
    fs::create_directories(path(name));
}

void TemporaryFolder::link(std::string_view name, const std::string& target) const {
    const fs::path file = path(name);
    fs::create_directories(file.parent_path());
    fs::create_symlink(target, file);
}

void TemporaryFolder::remove(std::string_view name) const {
    fs::remove_all(path(name));
}

} // namespace sentrel
