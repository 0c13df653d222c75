#include "TonerStatus.h"

namespace nbx {

void TonerStatus::connectWindow(MainWindow*) {}

bool TonerStatus::checkTonerInfoShowAgain() {
    return false;
}

PropertyValue TonerStatus::getTonerInfo() {
    return PropertyValue::array();
}

void TonerStatus::offerTonerWindow(const PropertyValue&) {}

void TonerStatus::clickTonerInfoCancelBtn() {}

}  // namespace nbx
