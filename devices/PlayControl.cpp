#include "devices/PlayControl.h"

#include <memory>

#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "devices/DsPlayClass.h"
#include "storage/EditorContext.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

std::unique_ptr<DsPlayClass> g_player;
PlayToolbarLink g_toolbar;
int32_t g_soundDriverHandle = 0;
int32_t g_playingFirst = 0;
int32_t g_playingLast = 0;
int32_t g_playingRate = 0;

// Hands the range to the player; false when there is nothing to play.
bool PreparePlayData(FileMemoClass& document, int32_t first, int32_t last) {
  DsPlayClass& player = *g_player;
  if (first == 0 || last == 0) {
    first = 1;
    last = document.WavWaveINos;
  }
  const int32_t channels = document.WavFmtChannel == 2 ? 2 : 1;
  const int32_t bits = document.WavFmtBits;
  const int32_t rate = document.WavFmtFreq;
  const int32_t count = last - first + 1;
  if (rate <= 0 || static_cast<double>(count) / rate < 0.005) {
    PlayControl(2);
    UserInterface().Message("The audio track is too small to play.", MessageIcon::Exclamation);
    return false;
  }
  g_playingFirst = first;
  g_playingLast = last;
  g_playingRate = rate;
  BusyPointer busy;
  player.PlayCarrierL = BlockCarrBuffClass();
  player.PlayCarrierR = BlockCarrBuffClass();
  document.WaveCollectData_ForPlay(first, last, channels == 2 ? 0 : 1, player.PlayCarrierL,
                                   player.PlayCarrierR);
  std::vector<int32_t> blocks;
  player.PlayCarrierL.BuffBlocksGet(blocks);
  const std::vector<int32_t> left = BlocksToDescriptor(blocks);
  std::vector<int32_t> right;
  if (channels == 2) {
    player.PlayCarrierR.BuffBlocksGet(blocks);
    right = BlocksToDescriptor(blocks);
  }
  player.Dll.SetPlayData(bits, channels, rate, count, left, right);
  if (g_toolbar.EnableStopButton) g_toolbar.EnableStopButton();
  return true;
}

}  // namespace

void SetPlayToolbar(PlayToolbarLink link) {
  g_toolbar = std::move(link);
  if (g_player) g_player->DisablePauseButton = g_toolbar.DisablePauseButton;
}

void SetPlayDocument(FileMemoClass* document) { Context().PlayDocument = document; }

void SetPlayRange(int32_t from, int32_t to) {
  Context().PlayFrom = from;
  Context().PlayTo = to;
}

void CreatePlayer(bool loop) {
  g_player = std::make_unique<DsPlayClass>(loop);
  g_player->DisablePauseButton = g_toolbar.DisablePauseButton;
}

void ReleasePlayer() { g_player.reset(); }

DsPlayClass* DsPlay() { return g_player.get(); }

int32_t SoundDriverHandle() { return g_soundDriverHandle; }

void SoundDriverSwitch(bool on, int32_t windowHandle) {
  if (!on) {
    int32_t closing = 0;
    if (g_player) g_player->Dll.SoundInit(closing);
    g_soundDriverHandle = 0;
    return;
  }
  int32_t handle = windowHandle;
  if (g_player) {
    g_player->Dll.SoundInit(handle);
  } else {
    handle = 0;
  }
  g_soundDriverHandle = handle;
  if (handle != 0 && handle != -1) return;
  g_soundDriverHandle = 0;
  UserInterface().Message(
      "There is an error initializing Sound Driver\n"
      "Check whether the sound server (PulseAudio or PipeWire) is running and has an output "
      "device.\n"
      "If not, start it or choose an output in the desktop's sound settings, then open the "
      "editor again.\n"
      "\n"
      "Otherwise, if this problem persists, check your sound card's driver",
      MessageIcon::None, "");
}

void PlayControl(int32_t command, int32_t /*argument*/) {
  if (g_soundDriverHandle == 0 && command != 2 && command != 6) {
    UserInterface().Message("Sound driver is off", MessageIcon::None, "Play failed");
  }
  if (!g_player) return;
  QuorvanePlayer& dll = g_player->Dll;
  dll.PlayRateFactor(1.0F);
  dll.PlayGainFactor(1.0F);
  switch (command) {
    case 2:
      dll.StopPlay();
      break;
    case 3: {
      const int32_t state = dll.PlayState();
      if (state == 1 || state == 2) {
        dll.PausePlay();
        dll.PauseConfirm();
      } else if (state == 3) {
        dll.ContinuePlay();
      }
      break;
    }
    case 6:
      dll.StopPlay();
      g_player->PlayCarrierL = BlockCarrBuffClass();
      g_player->PlayCarrierR = BlockCarrBuffClass();
      break;
    case 11: {
      const EditorContext& context = Context();
      if (context.PlayDocument == nullptr) break;
      const int32_t first = context.PlayFrom;
      const int32_t last =
          first == context.PlayTo ? context.PlayDocument->WavWaveINos : context.PlayTo;
      if (!PreparePlayData(*context.PlayDocument, first, last)) break;
      dll.Play();
      break;
    }
    default:
      break;
  }
  if (g_toolbar.ShowPlayState) g_toolbar.ShowPlayState(dll.PlayState());
}

int32_t CurrentPlayState() { return g_player ? g_player->Dll.PlayState() : 0; }

int32_t PlayedSamples() { return g_player ? g_player->Dll.PlayedSamples() : 0; }

int32_t PlayingFirst() { return g_playingFirst; }

int32_t PlayingLast() { return g_playingLast; }

int32_t PlayingRate() { return g_playingRate; }

void PassLoopToPlayer(bool loop) {
  if (g_player) g_player->Dll.LoopFlag(loop);
}

void ReleasePlayingFiles(bool OnlyOriginal) {
  if (g_player) g_player->ReleasePlayingFiles(OnlyOriginal);
}

}  // namespace quorvane
