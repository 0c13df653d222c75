#pragma once

#include <QWidget>

class QProgressBar;

namespace nbx {

// The busy overlay: a translucent cover over its parent that swallows input while shown.
class NBXRefreshView : public QWidget {
    Q_OBJECT
public:
    explicit NBXRefreshView(QWidget* parent);

    void showOverlay(bool showProgress);
    void hideOverlay();
    bool isProgressShown() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QProgressBar* progress_;
};

}  // namespace nbx
