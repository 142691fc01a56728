// The progress panel of the editor window: a bar drawn into the panel's bar area and
// painted at once, because the one thread is busy with the operation that reports it.
#pragma once

#include <QWidget>
#include <cstdint>

#include "core/Interaction.h"
#include "ui/PictureBox.h"

namespace quorvane {

class ProgressShowerClass : public ProgressDisplay {
 public:
  // The panel is shown and hidden; the bar is drawn into ProgBarPic, whose size is taken now.
  ProgressShowerClass(QWidget& ProgDisplayPic, PictureBox& ProgBarPic);

  void SetBarColor1(uint32_t rgb) override { barColor1_ = rgb; }
  uint32_t BarColor1() const override { return barColor1_; }
  void SetCurrentProgress(float value) override;
  float CurrentProgress() const override { return progress_; }
  void SetIsVisible(bool visible) override;
  bool IsVisible() const override;

 private:
  QWidget& panel_;
  PictureBox& bar_;
  int32_t width_ = 0;
  int32_t height_ = 0;
  uint32_t barColor1_ = 0;
  float progress_ = 0.0F;
};

}  // namespace quorvane
