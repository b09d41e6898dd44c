// SPDX-License-Identifier: Apache-2.0
#include "tests/support/linux/FileTree.h"

#include "tests/support/Fixtures.h"

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <stdexcept>

namespace sentrel {

void FileTree::add(std::string_view listing) const {
    while (const auto line = platform::takeLine(listing)) {
        if (line->empty() || line->starts_with('#'))
            continue;
        const std::size_t arrow = line->find("->");
        const std::size_t equals = line->find('=');
        if (arrow < equals)
            folder_.link(line->substr(0, arrow), std::string(line->substr(arrow + 2)));
        else if (equals != std::string_view::npos)
            folder_.write(line->substr(0, equals), std::string(line->substr(equals + 1)) + "\n");
        else
            throw std::runtime_error("neither a file nor a link: " + std::string(*line));
    }
}

std::string machineListing(const std::string& name) {
    const auto listing = platform::SystemRoot().read(fixturePath("machines/" + name + ".tree"), std::size_t{1} << 20);
    if (!listing)
        throw std::runtime_error("no machine " + name);
    return *listing;
}

} // namespace sentrel
