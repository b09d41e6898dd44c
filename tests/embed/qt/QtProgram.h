// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/embed/support/DesktopSession.h"
#include "tests/embed/support/DisplayUser.h"
#include "tests/embed/support/ScreenSettings.h"

#include <SentrelKit/embed/qt/QtView.h>

#include <QApplication>

#include <functional>
#include <memory>
#include <optional>

namespace sentrel {

/// Serves Qt's loop until the condition holds; false if that takes longer than a test may take.
[[nodiscard]] bool serveUntil(const std::function<bool()>& condition);

/// The program that the tests of this folder are, on a desktop of its own; made for the first test that runs.
class QtProgram {
public:
    /// The one there is.
    static QtProgram& shared();

    [[nodiscard]] const DisplayUser& user() const { return *user_; }

    [[nodiscard]] ScreenSettings& settings() { return *settings_; }

    /// Where a shown window lies on the screen, once it is there, has the keyboard and its picture is drawn.
    [[nodiscard]] DisplayUser::Window awaitShown(QWidget& window) const;

    void start();
    void end();

private:
    std::unique_ptr<DesktopSession> session_;
    std::unique_ptr<ScreenSettings> settings_;
    std::unique_ptr<QApplication> application_;
    std::unique_ptr<DisplayUser> user_;
};

} // namespace sentrel
