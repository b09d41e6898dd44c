// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/qt/detail/MainQueueNotifier.h>

#include <SentrelKit/platform/DispatchQueue.h>

#include <QCoreApplication>
#include <QPointer>
#include <QSocketNotifier>

namespace sentrel {

void serveMainQueueInQt() {
    static QPointer<QSocketNotifier> current;
    const int descriptor = dispatch::mainDescriptor();
    if (current && current->socket() == descriptor)
        return;
    delete current;
    if (descriptor < 0)
        return;
    current = new QSocketNotifier(descriptor, QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(current, &QSocketNotifier::activated, current, [] { dispatch::serveMain(); });
}

} // namespace sentrel
