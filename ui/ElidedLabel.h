// A status label as wide as the widest text it is meant to show; squeezed narrower than
// that, it ends its text in "..." instead of letting it run under its neighbours.
#pragma once

#include <QLabel>
#include <QString>

namespace quorvane {

class ElidedLabel : public QLabel {
 public:
  ElidedLabel(const QString& text, const QString& widest, QWidget* parent);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  int Extra() const;  // frame and margins around the text

  QString widest_;
};

}  // namespace quorvane
