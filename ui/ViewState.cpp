#include "ui/ViewState.h"

#include "storage/EditorContext.h"

namespace quorvane {

std::array<float, 36> ScaleSteps{};

ViewState& View() { return Context().View; }

void ResetViewState() { Context().View = ViewState{}; }

void InitScaleSteps() {
  ScaleSteps = {5400.0F, 3600.0F, 2400.0F, 1800.0F, 1200.0F, 900.0F, 600.0F, 480.0F, 300.0F,
                180.0F,  120.0F,  60.0F,   40.0F,   30.0F,   20.0F,  15.0F,  10.0F,  8.0F,
                5.0F,    3.0F,    2.0F,    1.5F,    1.0F,    0.75F,  0.5F,   0.3F,   0.2F,
                0.15F,   0.1F,    0.075F,  0.05F,   0.03F,   0.02F,  0.015F, 0.01F,  0.0F};
}

}  // namespace quorvane
