// The four-character ids of the RIFF files the program reads and writes.
#pragma once

namespace quorvane {

inline constexpr char kRiffId[] = "RIFF";
inline constexpr char kRf64Id[] = "RF64";  // RIFF with 64-bit sizes
inline constexpr char kRifxId[] = "RIFX";  // RIFF with big-endian numbers
inline constexpr char kWaveId[] = "WAVE";
inline constexpr char kFormatId[] = "fmt ";
inline constexpr char kDataId[] = "data";
inline constexpr char kCueId[] = "cue ";
inline constexpr char kListId[] = "LIST";
inline constexpr char kAdtlId[] = "adtl";  // a LIST of labels and notes
inline constexpr char kLablId[] = "labl";

}  // namespace quorvane
