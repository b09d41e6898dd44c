// SPDX-License-Identifier: Apache-2.0
#include "tests/embed/qt/QtProgram.h"

#include "tests/views/TextRendererSuppressions.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QTimer>
#include <QWindow>

namespace sentrel {

namespace {

class Environment final : public testing::Environment {
public:
    void SetUp() override { QtProgram::shared().start(); }
    void TearDown() override { QtProgram::shared().end(); }
};

[[maybe_unused]] const auto* const environment = testing::AddGlobalTestEnvironment(new Environment);

} // namespace

bool serveUntil(const std::function<bool()>& condition) {
    const QDeadlineTimer bound(std::chrono::seconds(30));
    QTimer look; // what happens outside this program wakes nobody here
    look.start(std::chrono::milliseconds(5));
    while (!condition()) { // asked once: it may be so for a moment only
        if (bound.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

QtProgram& QtProgram::shared() {
    static QtProgram program;
    return program;
}

void QtProgram::start() {
    session_ = std::make_unique<DesktopSession>();
    settings_ = std::make_unique<ScreenSettings>();
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    ::unsetenv("QT_STYLE_OVERRIDE");
    static int count = 1;
    static char name[] = "embed_qt_tests";
    static char* arguments[] = {name, nullptr};
    application_ = std::make_unique<QApplication>(count, arguments);
    QApplication::setStyle("Fusion");
    QApplication::setQuitOnLastWindowClosed(false);
    user_ = std::make_unique<DisplayUser>();
}

void QtProgram::end() {
    user_.reset();
    application_.reset();
    settings_.reset();
    session_.reset();
}

DisplayUser::Window QtProgram::awaitShown(QWidget& window) const {
    EXPECT_TRUE(serveUntil([&] {
        return window.isActiveWindow() && window.windowHandle()->isExposed() &&
               user_->windowNamed(window.windowTitle().toStdString());
    }));
    return user_->windowNamed(window.windowTitle().toStdString()).value_or(0);
}

} // namespace sentrel
