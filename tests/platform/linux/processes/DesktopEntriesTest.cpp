// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/processes/DesktopEntries.h>

#include "tests/support/EnvironmentValue.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

constexpr const char* notes = "[Desktop Entry]\nType=Application\nName=Notes\nName[de]=Notizen\nName[pt_BR]=Anotações\n"
                              "Icon=org.example.Notes\nExec=notes %U\n\n[Desktop Action new]\nName=New\n";

TEST(DesktopEntries, GivesTheNameInTheUsersLanguage) {
    {
        const EnvironmentValue language("LANGUAGE", "de");
        const EnvironmentValue locale("LC_ALL", "de_DE.UTF-8");
        EXPECT_EQ(parseDesktopEntry(notes), (DesktopEntry{"Notizen", "org.example.Notes"}));
    }
    {
        const EnvironmentValue language("LANGUAGE", "pt_BR");
        const EnvironmentValue locale("LC_ALL", "pt_BR.UTF-8");
        EXPECT_EQ(parseDesktopEntry(notes)->name, "Anotações");
    }
    const EnvironmentValue language("LANGUAGE", std::nullopt);
    const EnvironmentValue locale("LC_ALL", "C");
    EXPECT_EQ(parseDesktopEntry(notes)->name, "Notes");
}

TEST(DesktopEntries, TakesAnEntryWithoutNameOrIcon) {
    EXPECT_EQ(parseDesktopEntry("[Desktop Entry]\nType=Application\n"), DesktopEntry());
    EXPECT_EQ(parseDesktopEntry("[Desktop Entry]\nName=\nIcon=\n"), DesktopEntry());
}

TEST(DesktopEntries, RefusesWhatIsNoEntry) {
    for (const char* text : {"", "Name=Notes\n", "[Other]\nName=Notes\n", "\x01\x02\x03"})
        EXPECT_FALSE(parseDesktopEntry(text)) << text;
}

TEST(DesktopEntries, LooksIntoTheUsersFolderFirst) {
    const TemporaryFolder root;
    const EnvironmentValue locale("LC_ALL", "C");
    const EnvironmentValue data("XDG_DATA_HOME", "/home/u/.local/share");
    const EnvironmentValue shared("XDG_DATA_DIRS", "relative:/usr/share");
    root.write("usr/share/applications/a.desktop", "[Desktop Entry]\nName=Shared A\n");
    root.write("usr/share/applications/b.desktop", "[Desktop Entry]\nName=Shared B\n");
    root.write("home/u/.local/share/applications/a.desktop", "[Desktop Entry]\nName=Own A\n");
    root.write("var/lib/flatpak/exports/share/applications/c.desktop", "[Desktop Entry]\nName=Bundled C\n");
    const SystemRoot system(root.path());
    EXPECT_EQ(findDesktopEntry(system, "a")->name, "Own A");
    EXPECT_EQ(findDesktopEntry(system, "b")->name, "Shared B");
    EXPECT_EQ(findDesktopEntry(system, "c")->name, "Bundled C");
    EXPECT_FALSE(findDesktopEntry(system, "d"));
    EXPECT_FALSE(findDesktopEntry(system, ""));
    EXPECT_FALSE(findDesktopEntry(system, "../applications/a"));
}

TEST(DesktopEntries, FallsBackToTheStandardFolders) {
    const EnvironmentValue home("HOME", "/home/u");
    const EnvironmentValue data("XDG_DATA_HOME", std::nullopt);
    const EnvironmentValue shared("XDG_DATA_DIRS", "");
    EXPECT_EQ(desktopEntryFolders(),
              (std::vector<std::string>{
                  "/home/u/.local/share/applications", "/usr/local/share/applications", "/usr/share/applications",
                  "/home/u/.local/share/flatpak/exports/share/applications",
                  "/var/lib/flatpak/exports/share/applications", "/var/lib/snapd/desktop/applications"}));
}

} // namespace
} // namespace sentrel::platform
