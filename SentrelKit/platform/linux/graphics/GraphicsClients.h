// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/GraphicsService.h>
#include <SentrelKit/platform/linux/common/ClassFolder.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// Parses the content of a file of /proc/<id>/fdinfo into the record, whose memory is used again: what a driver tells
/// of one client by the keys "drm-..." (the kernel's "DRM client usage stats"). False, the record of no use, without a
/// driver or a client's number. Where keys come twice the last one counts; engines beyond the 32nd are left out.
[[nodiscard]] bool parseGraphicsClient(std::string_view text, GraphicsClient& client);

/// The clients of the graphics processors, as the open files of processes tell them: those below /dev/dri. Their
/// processes are looked for at each reading, since nothing tells of new ones: a few system calls a process and one for
/// each of its open files; the files themselves are not touched. A client that several files stand for, in one process
/// or several, counts once. Takes no memory once warm. One thread at a time.
class GraphicsClients {
public:
    explicit GraphicsClients(const SystemRoot& root);

    /// As GraphicsService::clients says.
    [[nodiscard]] Availability read(std::vector<GraphicsClient>& clients);

private:
    void readProcess(int processes, const char* process);
    void readFile(int processes, const char* process, int files, const char* name);

    const SystemRoot root_;
    const std::string processesFolder_;
    ClassFolder cards_;
    bool hasCards_ = false;
    bool isDenied_ = false;               // some process's files may not be seen
    std::vector<GraphicsClient> clients_; // never gives memory back
    std::size_t count_ = 0;               // how many of them there are
    GraphicsClient scratch_;
    std::vector<char> buffer_;
};

} // namespace sentrel::platform
