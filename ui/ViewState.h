// The editor window's view of the timeline (kept in the editor's context) and the table
// of time-scale spacings.
#pragma once

#include <array>
#include <cstdint>

#include "storage/EditorState.h"

namespace quorvane {

ViewState& View();
void ResetViewState();

// Candidate tick spacings of the time scale in seconds, largest first; entry 35 stays 0.
inline constexpr int kScaleStepsUsed = 35;
extern std::array<float, 36> ScaleSteps;
void InitScaleSteps();

}  // namespace quorvane
