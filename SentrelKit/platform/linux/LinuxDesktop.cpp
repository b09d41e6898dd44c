#include <SentrelKit/platform/linux/LinuxDesktop.h>

namespace sentrel::platform {

std::string LinuxDesktop::defaultSoundName() const { return "message-new-instant"; }
void LinuxDesktop::presentWhileFrontmost() {}
void LinuxDesktop::deliver(const UserNotification& /*notification*/) {}
bool LinuxDesktop::openAddress(const std::string& /*address*/) { return false; }

} // namespace sentrel::platform
