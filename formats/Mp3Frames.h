// A walk over an MP3 file's frames, reading their headers only: whether the file ends in
// the middle of a frame, or holds fewer frames than its own Xing/Info header counts. A
// decoder plays such a file without complaint, and the audio cut off would be lost when
// the track is written again.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

struct Mp3FrameWalk {
  bool readable = false;        // the file could be opened and holds at least one frame
  int64_t frames = 0;           // audio frames found (an Xing/Info frame not counted)
  int64_t declaredFrames = -1;  // what the Xing/Info header counts; -1 without one
  bool lastFrameCut = false;    // the file ends inside a frame
  // The file is shorter than its frames say.
  bool CutShort() const { return lastFrameCut || (declaredFrames >= 0 && frames < declaredFrames); }
};

Mp3FrameWalk WalkMp3Frames(const std::string& path);

}  // namespace quorvane
