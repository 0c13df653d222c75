#include "NBXRefreshView.h"

#include <QEvent>
#include <QPainter>
#include <QProgressBar>
#include <QVBoxLayout>

namespace nbx {

NBXRefreshView::NBXRefreshView(QWidget* parent) : QWidget(parent), progress_(new QProgressBar) {
    progress_->setRange(0, 0);  // busy indicator
    progress_->setTextVisible(false);
    progress_->setFixedWidth(160);
    auto* layout = new QVBoxLayout(this);
    layout->addStretch();
    layout->addWidget(progress_, 0, Qt::AlignHCenter);
    layout->addStretch();
    setFocusPolicy(Qt::StrongFocus);
    parent->installEventFilter(this);
    hide();
}

void NBXRefreshView::showOverlay(bool showProgress) {
    progress_->setVisible(showProgress);
    setGeometry(parentWidget()->rect());
    show();
    raise();
    setFocus();
}

void NBXRefreshView::hideOverlay() {
    progress_->hide();
    hide();
}

bool NBXRefreshView::isProgressShown() const {
    return !progress_->isHidden();
}

void NBXRefreshView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(255, 255, 255, 170));
}

bool NBXRefreshView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace nbx
