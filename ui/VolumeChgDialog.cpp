#include "ui/VolumeChgDialog.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QSlider>
#include <QVBoxLayout>

#include "ui/DialogButtons.h"

namespace quorvane {

VolumeChgDialog::VolumeChgDialog(QWidget* parent, VolumeChgFrm& form)
    : QDialog(parent), form_(form) {
  setWindowTitle(" Change Volume:");
  auto* column = new QVBoxLayout(this);
  auto* values = new QHBoxLayout;
  dispVolLbl1_ = new QLabel(this);
  dispVolLbl1_->setObjectName("DispVolLbl1");
  dispVolLbl2_ = new QLabel(this);
  dispVolLbl2_->setObjectName("DispVolLbl2");
  QFont big = dispVolLbl1_->font();
  big.setBold(true);
  dispVolLbl1_->setFont(big);
  values->addWidget(dispVolLbl1_);
  values->addWidget(dispVolLbl2_, 1);
  column->addLayout(values);

  slider_ = new QSlider(Qt::Horizontal, this);
  slider_->setObjectName("VolSlider");
  slider_->setRange(0, 200);
  slider_->setTickPosition(QSlider::TicksBelow);
  slider_->setTickInterval(10);
  slider_->setMinimumWidth(320);
  slider_->setValue(form_.VolSlider);
  column->addWidget(slider_);

  auto* marks = new QGridLayout;
  const std::array<std::pair<const char*, const char*>, 3> scale = {
      {{"0%", "(decrease)"}, {"100%", "(no change)"}, {"200%", " (increase)"}}};
  for (int column_ = 0; column_ < 3; ++column_) {
    const Qt::Alignment align =
        column_ == 0 ? Qt::AlignLeft : (column_ == 1 ? Qt::AlignHCenter : Qt::AlignRight);
    marks->addWidget(new QLabel(scale[static_cast<size_t>(column_)].first, this), 0, column_,
                     align);
    marks->addWidget(new QLabel(scale[static_cast<size_t>(column_)].second, this), 1, column_,
                     align);
  }
  column->addLayout(marks);

  AddOkCancelButtons(
      *this, *column, "Ok", [this] { OkBtn_Click(); }, [this] { CancelBtn_Click(); });
  connect(slider_, &QSlider::valueChanged, this, [this](int value) {
    form_.VolSlider_Change(value);
    ShowLabels();
  });
  ShowLabels();
  FixDialogSize(*this);
}

void VolumeChgDialog::ShowLabels() {
  dispVolLbl1_->setText(QString::fromStdString(form_.DispVolLbl1));
  dispVolLbl2_->setText(QString::fromStdString(form_.DispVolLbl2));
}

void VolumeChgDialog::OkBtn_Click() {
  form_.OkBtn_Click();
  accept();
}

void VolumeChgDialog::CancelBtn_Click() {
  form_.CancelBtn_Click();
  reject();
}

}  // namespace quorvane
