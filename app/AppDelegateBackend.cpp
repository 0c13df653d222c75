// The exchange with the back-end polling agent plugs in here.
#include "AppDelegate.h"

namespace nbx {

bool AppDelegate::makeSPInfoDic() {
    return false;
}

void AppDelegate::connectDistributedNotificatiion() {
    log("Post to back end : " + dicUpdateInfo.description());
}

}  // namespace nbx
