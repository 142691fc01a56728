#include "app/TrackPaths.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "app/AudioFileName.h"
#include "core/Interaction.h"
#include "core/Numbers.h"

namespace quorvane {

namespace fs = std::filesystem;

namespace {

bool HasAudioEnding(const std::string& name) {
  const std::string ending = LowerEnding(name, 4);
  return ending == ".wav" || ending == ".mp3";
}

bool Inside(const fs::path& folder, const fs::path& path) {
  const auto [folderEnd, pathAt] =
      std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
  return folderEnd == folder.end() && pathAt != path.end();
}

}  // namespace

TrackPlace ResolveTrack(int32_t n, const std::string& targetFolder, const std::string& track) {
  // An absolute path is shown as it stands, not glued to the folder.
  const std::string named = !track.empty() && track.front() == '/' ? track : targetFolder + track;
  const std::string slide = "The track of slide " + DecimalText(n);
  if (!HasAudioEnding(track)) return {"", slide + " is not a WAV or MP3 file:" + kCrLf + named};
  std::error_code error;
  const fs::path folder = fs::canonical(targetFolder, error);
  fs::path resolved;
  if (!error) resolved = fs::weakly_canonical(named, error);
  if (error || track.front() == '/' || !Inside(folder, resolved) ||
      !HasAudioEnding(resolved.filename().string())) {
    return {"", slide + " is not a WAV or MP3 file inside the target folder:" + kCrLf + named};
  }
  return {resolved.string(), ""};
}

}  // namespace quorvane
