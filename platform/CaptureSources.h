// The capture sources the sound server offers: input devices (microphones, line inputs, and
// sources that remap or filter them) and the monitors of outputs, which record what an
// output plays.
#pragma once

#include <string>
#include <vector>

namespace quorvane {

struct CaptureSource {
  std::string name;         // the server's name: what a stream is opened on and kept
  std::string description;  // what the user is shown
  bool monitor = false;     // records what an output plays
  bool isDefault = false;   // the server's default source
};

// Input devices first, then monitors, each in the server's order; empty when no server
// answers.
std::vector<CaptureSource> ListCaptureSources();

}  // namespace quorvane
