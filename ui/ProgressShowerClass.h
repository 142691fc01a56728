// The progress panel of the editor window: a bar drawn into the panel's bar area and
// painted at once, because the one thread is busy with the operation that reports it.
#pragma once

#include <QObject>
#include <QWidget>
#include <chrono>
#include <cstdint>

#include "core/Interaction.h"
#include "ui/PictureBox.h"

class QPushButton;

namespace quorvane {

class ProgressShowerClass : public QObject, public ProgressDisplay {
 public:
  // The panel is shown and hidden; the bar is drawn into ProgBarPic, whose size is taken now.
  // `cancel`, in the panel, asks to cancel, as Esc does.
  ProgressShowerClass(QWidget& ProgDisplayPic, PictureBox& ProgBarPic, QPushButton& cancel);

  void SetBarColor1(uint32_t rgb) override { barColor1_ = rgb; }
  uint32_t BarColor1() const override { return barColor1_; }
  void SetCurrentProgress(float value) override;
  float CurrentProgress() const override { return progress_; }
  void SetIsVisible(bool visible) override;
  bool IsVisible() const override;
  // Lets the window repaint and hear Cancel or Esc now and then; every other key, click and
  // close meanwhile goes unheard, so that nothing else starts halfway through.
  bool CancelRequested() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget& panel_;
  PictureBox& bar_;
  int32_t width_ = 0;
  int32_t height_ = 0;
  uint32_t barColor1_ = 0;
  float progress_ = 0.0F;
  QPushButton& cancel_;
  bool cancelled_ = false;
  std::chrono::steady_clock::time_point lastLook_{};
};

}  // namespace quorvane
