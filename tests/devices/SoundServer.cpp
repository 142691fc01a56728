#include "tests/devices/SoundServer.h"

#include <chrono>
#include <thread>

namespace quorvane::testing {

SoundServer::SoundServer() { Start(); }

SoundServer::~SoundServer() { Kill(); }

bool SoundServer::Start() {
  Kill();
  daemon_ = std::make_unique<RunningProgram>(
      "pulseaudio",
      std::vector<std::string>{
          "--daemonize=no", "--exit-idle-time=-1", "-n", "--use-pid-file=no", "--realtime=no",
          "--high-priority=no", "--log-level=error", "-L",
          "module-null-sink sink_name=nullsink sink_properties=device.description=NullSink", "-L",
          "module-native-protocol-unix auth-anonymous=1"});
  const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (RunProgram("pactl", {"info"}).exitStatus != 0) {
    if (std::chrono::steady_clock::now() > giveUp) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  answering_ = RunProgram("pactl", {"set-default-sink", "nullsink"}).exitStatus == 0;
  monitor_ = std::make_unique<RunningProgram>(
      "parec", std::vector<std::string>{"-d", "nullsink.monitor", "--raw", "--latency-msec=10",
                                        "/dev/null"});
  return answering_;
}

void SoundServer::Kill() {
  answering_ = false;
  daemon_.reset();
  monitor_.reset();
}

}  // namespace quorvane::testing
