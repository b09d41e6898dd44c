// SPDX-License-Identifier: Apache-2.0
// A host that shows a view in a program of Qt.
#include <SentrelKit/embed/qt/QtView.h>
#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/views/GaugeCircleChart.h>

#include <QApplication>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen"); // wherever it runs
    QApplication program(argc, argv);
    auto ring = std::make_shared<sentrel::GaugeCircleChart>(sentrel::Rect{0, 0, 96, 96});
    sentrel::QtView widget(ring);
    widget.show();
    sentrel::dispatch::mainQueue()->async([&] {
        ring->setPercent(42);
        const bool isShown = widget.grab().size() == QSize(96, 96);
        QApplication::exit(isShown ? 0 : 1);
    });
    return QApplication::exec();
}
