#include "ui/PlayerLink.h"

#include <QAudioDevice>
#include <QMediaDevices>
#include <QWidget>

#include "core/ErrorReport.h"
#include "core/Interaction.h"

namespace quorvane {

namespace {

int32_t g_soundDriverHandle = 0;

// Until a player installs its own, the output counts as opened when the desktop has a
// default output device.
int32_t DefaultOutputPresent(int32_t windowHandle) {
  return QMediaDevices::defaultAudioOutput().isNull() ? 0 : (windowHandle != 0 ? windowHandle : 1);
}

PlayerCommands& Commands() {
  static PlayerCommands commands{DefaultOutputPresent, {}, {}, {}};
  return commands;
}

}  // namespace

void SetPlayerCommands(PlayerCommands commands) {
  if (!commands.SoundInit) commands.SoundInit = DefaultOutputPresent;
  Commands() = std::move(commands);
}

int32_t SoundDriverHandle() { return g_soundDriverHandle; }

void SoundDriverSwitch(bool on, QWidget& window) {
  if (!on) {
    try {
      Commands().SoundInit(0);
    } catch (const std::exception&) {
    }
    g_soundDriverHandle = 0;
    return;
  }
  std::string raised;
  int32_t handle = static_cast<int32_t>(window.winId() & 0x7FFFFFFF);
  try {
    handle = Commands().SoundInit(handle);
    g_soundDriverHandle = handle;
  } catch (const std::exception& error) {
    raised = ErrorDescription(error);
    handle = 0;
    g_soundDriverHandle = 0;
  }
  if (handle != 0 && handle != -1) return;
  UserInterface().Message(
      "There is an error initializing Sound Driver\n"
      "Check whether another application is using sound driver exclusively.\n"
      "If yes, put that off and then ON the Sound driver in Options window (Tools-Options menu).\n"
      "\n"
      "Other wise, if this problem persists you may need to reinstall DirectX7 or Sound Card's "
      "Driver",
      MessageIcon::None, raised);
}

void PlayControl(int32_t command, int32_t from, int32_t to) {
  if (g_soundDriverHandle == 0 && command != 2 && command != 6) {
    UserInterface().Message("Sound driver is off", MessageIcon::None, "Play failed");
  }
  if (Commands().Command) Commands().Command(command, from, to);
}

bool IsPlaying() { return Commands().PlayState && Commands().PlayState() != 0; }

void PassLoopToPlayer(bool loop) {
  if (Commands().LoopFlag) Commands().LoopFlag(loop);
}

}  // namespace quorvane
