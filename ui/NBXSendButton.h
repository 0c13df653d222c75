#pragma once

#include <QPushButton>

namespace nbx {

// Enabled only while both of its two independent conditions hold.
class NBXSendButton : public QPushButton {
    Q_OBJECT
public:
    explicit NBXSendButton(const QString& text = {}, QWidget* parent = nullptr);

    void setEnableFromFirst(bool enable);
    void setEnableFromSec(bool enable);
    void initCheckbtn();

private:
    bool bFirstbtn = false;
    bool bSecbtn = false;
};

}  // namespace nbx
