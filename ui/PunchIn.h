// Punch In: the narrator hears a pre-roll of the document before the punch point, and the
// take is recorded from the moment the played timeline reaches it, on the capture stream's
// own clock, so that the sound server's output and input latencies do not shift it. The
// take then replaces the selection (or goes in at the cursor) as one undo item.
#pragma once

#include <QObject>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "devices/RecordTake.h"

namespace quorvane {

class FileMemoClass;

class PunchIn : public QObject {
 public:
  struct Plan {
    int32_t from = 0;           // the punch point: the selection's start, or the cursor
    int32_t to = 0;             // the selection's end; 0: the take goes in at `from`
    int32_t preRollFrames = 0;  // how much of the document is heard before `from`
    bool outAtEnd = false;      // the take ends where the selection ends
    double crossfadeMs = 10;    // at each join of a replaced selection
    std::string source;         // the capture source; empty: the server's default
  };

  // The settings: "PunchPreRoll" in seconds (0 to 10, default 2) and "PunchOutAtEnd".
  static double PreRollSeconds();
  static bool OutAtEnd();

  // `ended` runs once the take is in place, or given up, from this object's timer.
  PunchIn(FileMemoClass& document, const Plan& plan, std::function<void()> ended);
  ~PunchIn() override;

  // Starts the pre-roll and opens the capture source; false (after the message) when the
  // source could not be opened.
  bool Begin();
  // Ends the take at this moment and puts it in place.
  void Stop();
  bool Running() const { return running_; }
  // Whether the take has begun, and how many frames it holds.
  bool Recording() const { return started_; }
  int64_t FramesRecorded() const { return take_.FramesWritten(); }

 private:
  void Tick();
  // Starts the take at the frame where the player will sound `from`.
  void StartTake();
  void Finish();

  FileMemoClass& document_;
  Plan plan_;
  std::function<void()> ended_;
  RecordTake take_;
  QTimer timer_;
  bool running_ = false;
  bool started_ = false;
};

}  // namespace quorvane
