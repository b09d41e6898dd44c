// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/Folder.h>

#include <algorithm>
#include <dirent.h>
#include <memory>

namespace sentrel::platform {

std::optional<std::vector<std::string>> namesIn(const SystemRoot& root, std::string_view folder) {
    struct Close {
        void operator()(DIR* stream) const noexcept { ::closedir(stream); }
    };
    const std::unique_ptr<DIR, Close> stream(::opendir(root.path(folder).c_str()));
    if (!stream)
        return std::nullopt;
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace sentrel::platform
