// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/Folder.h>

#include <algorithm>
#include <cerrno>

namespace sentrel::platform {

const dirent64* FolderReader::next() noexcept {
    for (;;) {
        if (at_ == filled_) {
            ssize_t count;
            do
                count = ::getdents64(folder_, records_.data(), records_.size());
            while (count < 0 && errno == EINTR);
            hasFailed_ = count < 0;
            at_ = 0;
            filled_ = count > 0 ? static_cast<std::size_t>(count) : 0;
            if (filled_ == 0)
                return nullptr;
        }
        const auto* entry = reinterpret_cast<const dirent64*>(records_.data() + at_);
        at_ += entry->d_reclen;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            return entry;
    }
}

std::optional<std::vector<std::string>> namesIn(const SystemRoot& root, std::string_view folder) {
    const UniqueFd open = root.open(folder);
    FolderReader entries(open.get());
    std::vector<std::string> names;
    while (const dirent64* entry = open ? entries.next() : nullptr)
        names.emplace_back(entry->d_name);
    if (!open || entries.hasFailed())
        return std::nullopt;
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace sentrel::platform
