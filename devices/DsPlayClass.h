// The editor's side of the player component: makes it with the session's memory budget,
// temporary folder and loop setting, shows its messages, and holds the two play carriers
// whose blocks the player reads while it plays.
#pragma once

#include <functional>
#include <string>

#include "devices/QuorvanePlayer.h"
#include "storage/BlockCarrBuffClass.h"

namespace quorvane {

class DsPlayClass {
 public:
  // `loop`: the play toolbar's loop switch as it stands.
  explicit DsPlayClass(bool loop);

  QuorvanePlayer Dll;
  BlockCarrBuffClass PlayCarrierL;
  BlockCarrBuffClass PlayCarrierR;
  // Disables the play toolbar's "Pause" button; set by the window.
  std::function<void()> DisablePauseButton;

  // Makes the player close its files: always when OnlyOriginal is false, else only when it
  // plays from a source audio file.
  void ReleasePlayingFiles(bool OnlyOriginal);
  void Dll_MsgBoxOb(const std::string& message, const std::string& title);
};

}  // namespace quorvane
