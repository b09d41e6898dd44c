// SPDX-License-Identifier: Apache-2.0
#include "tests/examples/EchoServerProgram.h"
#include "tests/support/Eventually.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>

namespace sentrel {
namespace {

// The program, whose descriptors can be taken away.
class EchoServerDescriptors : public EchoServerProgram {
protected:
    // From now on the program gets no further descriptor; or as many as it likes again.
    void takeDescriptorsAway() const {
        rlim_t next = 0;
        while (std::filesystem::is_symlink("/proc/" + std::to_string(id()) + "/fd/" + std::to_string(next)))
            ++next;
        limitDescriptors(next);
    }
    void giveDescriptorsBack() const { limitDescriptors(mostDescriptors); }

    // How often the program has gone to sleep of its own accord.
    [[nodiscard]] long sleeps() const {
        std::ifstream status("/proc/" + std::to_string(id()) + "/status");
        const std::string name = "voluntary_ctxt_switches:";
        for (std::string line; std::getline(status, line);)
            if (line.rfind(name, 0) == 0)
                return std::stol(line.substr(name.size()));
        return -1;
    }

private:
    static constexpr rlim_t mostDescriptors = 1024;

    void limitDescriptors(rlim_t count) const {
        const rlimit limit{count, mostDescriptors};
        ASSERT_EQ(prlimit(id(), RLIMIT_NOFILE, &limit, nullptr), 0);
    }
};

TEST_F(EchoServerDescriptors, LetsTheOldestGoWhereDescriptorsRunOut) {
    const Descriptor silent = call();
    const Descriptor first = call();
    ASSERT_TRUE(ask(first));
    ASSERT_TRUE(hearsItsAddress(first)); // so the silent one was accepted before
    takeDescriptorsAway();
    const Descriptor caller = call();
    ASSERT_TRUE(ask(caller));
    EXPECT_TRUE(hearsItsAddress(caller));
    EXPECT_FALSE(isOpen(silent));
}

// Without a descriptor for the next caller it asked for it again and again, at the cost of a whole processor.
TEST_F(EchoServerDescriptors, SleepsWhileThereAreNoDescriptorsAndServesAfterwards) {
    takeDescriptorsAway();
    const Descriptor caller = call();
    ASSERT_TRUE(ask(caller));
    const long before = sleeps();
    EXPECT_TRUE(eventually([&] { return sleeps() >= before + 5; }));
    giveDescriptorsBack();
    EXPECT_TRUE(hearsItsAddress(caller));
}

} // namespace
} // namespace sentrel
