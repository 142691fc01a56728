// Joining the slide tracks into one timeline, and splitting it back into one file per
// slide when the project is saved.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace quorvane {

class FileMemoClass;
class StagedFiles;

// Reads a wav or mp3 file into a new scratch document and brings it to `freq` and `bits`
// (0: keep). A file that cannot be read gives an empty document.
void LoadTrackFile(const std::string& path, std::unique_ptr<FileMemoClass>& track, int32_t freq,
                   int32_t bits);

// Makes the track round(seconds * rate) samples long: silence appended, or the end cut.
void PadTrackToDuration(FileMemoClass& track, float seconds);

// Inserts the whole track into the document at `position` (a position at or after the
// last sample means after it), as one operation named `undoName` that ends here unless
// `endsOperation` is false. The position it went in at; 0 when nothing went in.
int32_t AppendTrack(FileMemoClass& document, FileMemoClass& track, int32_t position,
                    const std::string& undoName = "", bool endsOperation = true);

// Loads slide n's track from its TrackPath (or its silence) and appends it after
// `runningTotal` samples; sets the slide's Start, adds the track's length to the total,
// and marks the slide TrackUnreadable when a file was there that could not be read whole.
void LoadSlideAudio(FileMemoClass& document, int32_t n, float duration, int64_t& runningTotal);

// Writes slide n's stretch of the document for its track file, staged to be put in place
// with the rest of the save, or stages the file's deletion when the stretch is shorter
// than 3 samples or silent; leaves a track that already holds the stretch alone. False
// when the new file could not be written whole.
bool SaveSlideAudio(FileMemoClass& document, int32_t n, StagedFiles& staged);

}  // namespace quorvane
