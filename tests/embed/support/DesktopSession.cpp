// SPDX-License-Identifier: Apache-2.0
#include "tests/embed/support/DesktopSession.h"

#include <csignal>
#include <optional>
#include <stdexcept>

namespace sentrel {

namespace {

std::vector<std::string> commandFor(const DesktopSession::Setup& setup) {
    std::vector<std::string> command = {embedSupportPath("desktop_session.py"), "--screen", setup.screen, "--dpi",
                                        std::to_string(setup.dotsPerInch)};
    if (!setup.hasWindowManager)
        command.emplace_back("--no-manager");
    return command;
}

} // namespace

std::string embedSupportPath(const std::string& name) {
    return SENTREL_EMBED_SUPPORT "/" + name;
}

DesktopSession::DesktopSession(const Setup& setup) : program_(commandFor(setup)) {
    for (;;) {
        const std::optional<std::string> line = program_.readLine();
        if (!line)
            throw std::runtime_error("the desktop did not start");
        if (line->empty())
            return;
        const std::size_t end = line->find('=');
        const std::optional<std::string> value =
            end == std::string::npos ? std::nullopt : std::optional(line->substr(end + 1));
        variables_.push_back(std::make_unique<EnvironmentValue>(line->substr(0, end), value));
    }
}

DesktopSession::~DesktopSession() {
    program_.end(SIGTERM); // it ends what it started
}

} // namespace sentrel
