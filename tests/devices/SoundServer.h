// A PulseAudio server of the test's own, which the test can kill while something plays and
// start again: a null sink "nullsink" as the default output, and one low-latency client on
// it, without which every new stream stalls for a second or two. Clients find it through
// XDG_RUNTIME_DIR, which is pointed at its folder for as long as the object lives.
#pragma once

#include <memory>
#include <string>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempFolder.h"

namespace quorvane::testing {

class SoundServer {
 public:
  SoundServer();  // started
  ~SoundServer();
  SoundServer(const SoundServer&) = delete;
  SoundServer& operator=(const SoundServer&) = delete;

  // False when the server did not answer within ten seconds.
  bool Start();
  // Ends the server with SIGKILL, as a crash would.
  void Kill();
  // Whether the last start answered and no kill came after it.
  bool Answering() const { return answering_; }

 private:
  TempFolder runtime_;
  ScopedVariable runtimeVariable_{"XDG_RUNTIME_DIR", runtime_.Path()};
  std::unique_ptr<RunningProgram> daemon_;
  std::unique_ptr<RunningProgram> monitor_;
  bool answering_ = false;
};

}  // namespace quorvane::testing
