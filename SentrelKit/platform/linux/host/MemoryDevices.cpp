// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/MemoryDevices.h>

#include <SentrelKit/platform/linux/common/Folder.h>
#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/host/MemInfo.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <string_view>

namespace sentrel::platform {

namespace {

// The numbers of what a folder has under names such as "node12", rising.
std::vector<std::uint32_t> numbersIn(const SystemRoot& root, std::string_view folder, std::string_view prefix) {
    std::vector<std::uint32_t> numbers;
    for (const std::string& name : namesIn(root, folder).value_or(std::vector<std::string>())) {
        const std::string_view text = name;
        if (!text.starts_with(prefix))
            continue;
        if (const std::optional<std::uint32_t> number = toNumber<std::uint32_t>(text.substr(prefix.size())))
            numbers.push_back(*number);
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

} // namespace

Availability MemoryNodeFiles::read(std::vector<MemoryNode>& nodes) {
    if (search_.isDue())
        find();
    if (files_.empty())
        return Availability::unsupported;
    std::size_t count = 0;
    int error = EBADMSG;
    for (KeptFile& file : files_) {
        std::array<char, 4096> buffer;
        const std::optional<std::string_view> content = file.read(buffer);
        if (!content)
            error = errno;
        const auto node = content ? parseMemoryNode(wholeLines(*content, buffer.size())) : std::nullopt;
        if (!node)
            continue;
        if (nodes.size() == count)
            nodes.emplace_back();
        nodes[count++] = *node;
    }
    if (count == 0)
        return availabilityOf(error);
    nodes.resize(count);
    return Availability::available;
}

void MemoryNodeFiles::find() {
    const std::string folder = "/sys/devices/system/node";
    files_.clear();
    for (const std::uint32_t number : numbersIn(root_, folder, "node"))
        files_.emplace_back(root_, folder + "/node" + std::to_string(number) + "/meminfo");
}

std::optional<MemoryCompression> ZramDevices::read() {
    if (search_.isDue())
        find();
    std::optional<MemoryCompression> all;
    for (KeptFile& file : files_) {
        std::array<char, 256> buffer;
        const std::optional<std::string_view> content = file.read(buffer);
        const auto device = content ? parseZram(*content) : std::nullopt;
        if (!device)
            continue;
        if (!all)
            all.emplace();
        all->stored += device->stored;
        all->occupied += device->occupied;
    }
    return all;
}

void ZramDevices::find() {
    files_.clear();
    for (const std::uint32_t number : numbersIn(root_, "/sys/block", "zram")) {
        const std::string folder = "/sys/block/zram" + std::to_string(number);
        if (root_.readLine(folder + "/disksize").value_or("0") != "0")
            files_.emplace_back(root_, folder + "/mm_stat");
    }
}

} // namespace sentrel::platform
