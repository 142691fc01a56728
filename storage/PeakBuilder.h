// Summaries of files made on a thread of their own: the source files a session opens and
// temporary files another editor's clip brought. Drawing asks for the files it finds
// without a summary, those in view first; the finished summaries go into the file tables
// when the next drawing adopts them, so the tables stay the drawing thread's alone.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quorvane {

struct PeakJob {
  bool Original = true;  // an original file's entry, else a temporary file's slot
  int32_t Index = 0;
  uint64_t Serial = 0;  // the entry's registration: a summary of a reused entry is dropped
  std::string Path;
  int64_t FirstByte = 0;  // 0-based offset of the first sample
  int64_t Bytes = 0;      // 0: every whole frame to the end of the file
  int32_t Channels = 1;
  int32_t SampleBytes = 2;
  // Where each channel's summary is kept; a summary without a file stays in memory.
  std::vector<std::string> SummaryFiles;
};

// Queues the job unless it is queued or done already; `inView` puts it first.
void RequestPeaks(const PeakJob& job, bool inView);
// Moves the summaries finished since the last call into the file tables. True when any
// went in.
bool AdoptFinishedPeaks();
// Called on the builder's thread each time a summary is finished (nullptr: nobody).
void SetPeaksReadyNotice(std::function<void()> notice);
// Drops every queued job and waits for the one under way to stop.
void StopPeakBuilder();
// Whether jobs are queued or under way.
bool PeaksPending();

}  // namespace quorvane
