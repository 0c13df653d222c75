#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

namespace nbx {

// The in-process notification center: a poster and its observers stay unaware of each other.
class NBXNotificationCenter : public QObject {
    Q_OBJECT
public:
    static NBXNotificationCenter& defaultCenter();
    void postNotificationName(const QString& name, const QVariantMap& userInfo);

signals:
    void notified(const QString& name, const QVariantMap& userInfo);
};

}  // namespace nbx
