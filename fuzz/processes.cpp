// SPDX-License-Identifier: Apache-2.0
// What the process table reads: the kernel's files of a process, whose command and control group any program chooses,
// and desktop entries, which any package installs.

#include <SentrelKit/platform/linux/processes/ApplicationRule.h>
#include <SentrelKit/platform/linux/processes/DesktopEntries.h>
#include <SentrelKit/platform/linux/processes/ProcessFiles.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace sentrel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto isPartOfText = [&](std::string_view part) {
        return part.empty() || (part.data() >= text.data() && part.data() + part.size() <= text.data() + text.size());
    };

    if (const auto stat = parseProcessStat(text); stat && !isPartOfText(stat->command))
        std::abort();
    (void)parseResidentPages(text);
    (void)parseLastId(text);
    (void)parseProcessStorage(text);
    if (!isPartOfText(parseUserName(text, 1000)))
        std::abort();
    std::size_t bytes = 0;
    for (const std::string& word : parseCommandLine(text))
        bytes += word.size() + 1;
    if (bytes < text.size() || bytes > text.size() + 1)
        std::abort();
    const std::string_view scope = applicationScope(text);
    if (!isPartOfText(scope) || applicationIdentifier(scope).size() > scope.size())
        std::abort();
    (void)applicationIdentifier(text);
    if (installationFolder(text).size() > text.size())
        std::abort();
    (void)parseDesktopEntry(text);
    return 0;
}
