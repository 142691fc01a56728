// Reading a slide's stretch of the document for what the save decides on: whether it is
// silent, and whether it is what was loaded. Read where the samples lie, loading nothing.
#pragma once

#include <cstdint>

namespace quorvane {

class FileMemoClass;

// True when every sample of [first, last] is 0 in every channel.
bool StretchIsSilent(FileMemoClass& document, int32_t first, int32_t last);

// A digest of the samples of [first, last] in every channel, and of its length.
uint64_t StretchDigest(FileMemoClass& document, int32_t first, int32_t last);

// A digest of slide n's markers: their kinds and their offsets from the slide's start.
uint64_t SlideMarkersDigest(int32_t n);

// Slide n's audio or markers differ from what was noted when it was loaded.
bool SlideAudioEdited(FileMemoClass& document, int32_t n);
bool SlideMarkersEdited(int32_t n);

// Notes, after loading, what every slide holds: where its samples lie, its markers, and
// the audio of every slide whose track could not be read.
void NoteLoadedSlides(FileMemoClass& document);

// Slide n's track file already holds exactly its audio: the samples still lie where they
// were loaded from, untouched, in the track or, for an MP3 track, in its decoding.
bool SlideTrackUpToDate(FileMemoClass& document, int32_t n);

}  // namespace quorvane
