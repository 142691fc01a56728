// libFuzzer target for what a host writes. Each input is a project file. Its values are
// read through the profile-file reader with buffers of several sizes, then the project is
// loaded as a session loads it, against a target folder "tracks" (relative: the process
// works in its own folder) that holds a mono 8-bit track "a.wav" and a stereo 16-bit track
// "b.wav". Finally the document and the block list are emptied, and the harness stops the
// run when the input left a block, a file use or counted sample memory behind.
//
// Inputs that name an encoder ("LamePath") are refused: the program would run it. Inputs
// of more than 64 slides are refused too: every slide is a pass over the file, and a host
// writes a presentation's slides, not millions.
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "app/ProjectFile.h"
#include "core/Environment.h"
#include "core/Numbers.h"
#include "core/ProjectIni.h"
#include "core/ProjectTables.h"
#include "fuzz/FuzzSupport.h"
#include "platform/CanonicalWaveHeader.h"
#include "platform/ProfileFile.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

namespace quorvane {
namespace {

constexpr size_t kLargestInput = 1 << 16;
constexpr int32_t kMostFuzzedSlides = 64;
constexpr int32_t kMemoryBudget = 64 * 1024;

void WriteTrack(const std::string& path, int32_t channels, int32_t bits, int32_t frames) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  const auto header = CanonicalWaveHeader(channels, 8000, bits, frames);
  out.write(reinterpret_cast<const char*>(header.data()), header.size());
  for (int32_t i = 0; i < frames * channels * bits / 8; ++i) out.put(static_cast<char>(i * 7));
  if (!out) Fail("cannot write " + path);
}

// The project file's path. The tracks it may name lie in "tracks": a mono 8-bit "a.wav"
// and a stereo 16-bit "b.wav".
const std::string& ProjectPath() {
  static const std::string path = [] {
    const std::string& root = FuzzFolder();
    std::filesystem::create_directories(root + "/tracks");
    WriteTrack(root + "/tracks/a.wav", 1, 8, 1200);
    WriteTrack(root + "/tracks/b.wav", 2, 16, 900);
    if (::chdir(root.c_str()) != 0) Fail("cannot work in " + root);
    return root + "/project.ini";
  }();
  return path;
}

bool Refused(const std::string& text) {
  std::string lower(text.size(), ' ');
  std::transform(text.begin(), text.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (lower.find("lamepath") != std::string::npos) return true;
  return LeadingNumber(ProjectIniGet("Project", "SlideCount", "0", ProfileDocument(text))) >
         kMostFuzzedSlides;
}

// A value read with a smaller buffer is the start of the same value read with a larger
// one, and never longer than the buffer allows.
void ReadThroughSmallBuffers(const std::string& project) {
  static const char* const kSections[] = {"Project", "1", "2", ""};
  static const char* const kKeys[] = {"SlideCount", "TargetFolder",     "SlideTitle",
                                      "Duration",   "ClickMarkerTimes", ""};
  for (const char* section : kSections) {
    for (const char* key : kKeys) {
      const ProfileRead whole = GetProfileString(project, section, key, "none", 1 << 17);
      for (const size_t size : {size_t{0}, size_t{1}, size_t{2}, size_t{7}, size_t{50}}) {
        const ProfileRead part = GetProfileString(project, section, key, "none", size);
        if (part.copied > (size == 0 ? 0 : size - 1)) Fail("a value read overran its buffer");
        if (whole.value.compare(0, part.value.size(), part.value) != 0) {
          Fail("a value read with a small buffer is not the start of the whole value");
        }
      }
    }
  }
}

void LoadAndEmpty(const std::string& project) {
  StartFuzzSession(kMemoryBudget);
  {
    FileMemoClass document;
    document.StorageReset();
    document.IsTempObject = true;
    std::string path = project;
    try {
      ProjectFileLoad(path, document);
    } catch (const std::exception&) {
      // The session's start-up traces such an error and stops; nothing more to read here.
    }
    document.StorageReset();
  }
  const std::string left = WhatTheBlockListStillHolds();
  if (!left.empty()) Fail(left);
  ReleaseAllFiles();
  ResetBlockList();
  std::error_code ignored;
  std::filesystem::remove_all(Env().SessionFolder, ignored);
}

}  // namespace
}  // namespace quorvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace quorvane;
  if (size > kLargestInput) return -1;
  const std::string& project = ProjectPath();
  const std::string text(reinterpret_cast<const char*>(data), size);
  {
    std::ofstream out(project, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out) Fail("cannot write " + project);
  }
  if (Refused(text)) return -1;
  ReadThroughSmallBuffers(project);
  LoadAndEmpty(project);
  return 0;
}
