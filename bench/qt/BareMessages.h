#pragma once

#include <QWebChannel>
#include <QWebEnginePage>

namespace tq::bench {

/// Messages with answers by the engine's web channel: a method of an object that it knows.
class BareMessages final : public QObject {
    Q_OBJECT

public:
    BareMessages();

    /// For the pages that are loaded after this; must outlive them.
    void addTo(QWebEnginePage&);

    /// @returns a text that is as long as a small result.
    Q_INVOKABLE QString take(const QString& message);

private:
    QWebChannel m_channel;
};

} // namespace tq::bench
