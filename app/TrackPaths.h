// Which files a project may name as slide tracks: files inside its target folder whose
// names end in .wav or .mp3. Anything else is refused before any file is read, so a
// project file can never make a save write or delete outside its own audio.
#pragma once

#include <cstdint>
#include <string>

namespace quorvane {

struct TrackPlace {
  std::string path;     // the track's file, links and ".." resolved
  std::string refusal;  // why the name is refused, naming the slide and the path; or empty
};

// Slide n's track `track` in `targetFolder` (which ends in "/").
TrackPlace ResolveTrack(int32_t n, const std::string& targetFolder, const std::string& track);

}  // namespace quorvane
