#include "NBXNotificationCenter.h"

namespace nbx {

NBXNotificationCenter& NBXNotificationCenter::defaultCenter() {
    static NBXNotificationCenter center;
    return center;
}

void NBXNotificationCenter::postNotificationName(const QString& name, const QVariantMap& userInfo) {
    emit notified(name, userInfo);
}

}  // namespace nbx
