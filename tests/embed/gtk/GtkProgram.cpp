// SPDX-License-Identifier: Apache-2.0
#include "tests/embed/gtk/GtkProgram.h"

#include "tests/views/TextRendererSuppressions.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

namespace sentrel {

namespace {

class Environment final : public testing::Environment {
public:
    void SetUp() override { GtkProgram::shared().start(); }
    void TearDown() override { GtkProgram::shared().end(); }
};

[[maybe_unused]] const auto* const environment = testing::AddGlobalTestEnvironment(new Environment);

} // namespace

bool serveUntil(const std::function<bool()>& condition) {
    const auto bound = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    // What happens outside this program wakes nobody here.
    const guint look = g_timeout_add(
        5, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    while (!condition() && std::chrono::steady_clock::now() < bound)
        g_main_context_iteration(nullptr, TRUE);
    g_source_remove(look);
    return condition();
}

GtkProgram& GtkProgram::shared() {
    static GtkProgram program;
    return program;
}

void GtkProgram::start() {
    session_ = std::make_unique<DesktopSession>();
    ::setenv("GDK_BACKEND", "x11", 1);
    ::setenv("GSK_RENDERER", "cairo", 1);   // the same on machines with and without a graphics processor
    ::setenv("GDK_DEBUG", "gl-disable", 1); // a driver that is looked at and unloaded again leaves memory behind
    ::unsetenv("GTK_THEME");
    application_ = Gtk::Application::create("org.sentrelkit.EmbedTests", Gio::Application::Flags::NON_UNIQUE);
    application_->register_application();
    user_ = std::make_unique<DisplayUser>();
}

void GtkProgram::end() {
    user_.reset();
    application_.reset();
    session_.reset();
}

DisplayUser::Window GtkProgram::awaitShown(Gtk::Window& window) const {
    DisplayUser::Window found = 0;
    EXPECT_TRUE(serveUntil([&] {
        found = user_->windowNamed(window.get_title().raw()).value_or(0);
        return found != 0 && window.is_active() && window.get_width() > 0 &&
               user_->placeOf(found).width == window.get_width() * window.get_scale_factor();
    }));
    return found;
}

} // namespace sentrel
