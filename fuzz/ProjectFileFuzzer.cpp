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
constexpr int32_t kMostSlides = 64;
constexpr int32_t kMemoryBudget = 64 * 1024;

[[noreturn]] void Fail(const std::string& what) {
  std::fprintf(stderr, "project_file_fuzzer: %s\n", what.c_str());
  std::fflush(stderr);
  std::abort();
}

struct Workplace {
  std::string root;
  std::string session;
  std::string project;
};

Workplace* g_workplace = nullptr;

void RemoveWorkplace() {
  std::error_code ignored;
  if (g_workplace) std::filesystem::remove_all(g_workplace->root, ignored);
}

void WriteTrack(const std::string& path, int32_t channels, int32_t bits, int32_t frames) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  const auto header = CanonicalWaveHeader(channels, 8000, bits, frames);
  out.write(reinterpret_cast<const char*>(header.data()), header.size());
  for (int32_t i = 0; i < frames * channels * bits / 8; ++i) out.put(static_cast<char>(i * 7));
  if (!out) Fail("cannot write " + path);
}

Workplace& TheWorkplace() {
  if (g_workplace) return *g_workplace;
  const char* base = std::getenv("FUZZ_TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/quorvane-fuzz-XXXXXX";
  if (!::mkdtemp(pattern.data())) Fail("cannot make a folder from " + pattern);
  static Workplace workplace{pattern, pattern + "/fm1", pattern + "/project.ini"};
  g_workplace = &workplace;
  std::atexit(RemoveWorkplace);
  std::filesystem::create_directories(workplace.root + "/tracks");
  WriteTrack(workplace.root + "/tracks/a.wav", 1, 8, 1200);
  WriteTrack(workplace.root + "/tracks/b.wav", 2, 16, 900);
  if (::chdir(workplace.root.c_str()) != 0) Fail("cannot work in " + workplace.root);
  static QuietInteraction interaction;
  SetUserInterface(&interaction);
  static QuietWindow window;
  SetDocumentWindow(&window);
  return workplace;
}

bool Refused(const std::string& text, const std::string& project) {
  std::string lower(text.size(), ' ');
  std::transform(text.begin(), text.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (lower.find("lamepath") != std::string::npos) return true;
  return LeadingNumber(ProjectIniGet("Project", "SlideCount", "0", project)) > kMostSlides;
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

void LoadAndEmpty(const Workplace& workplace) {
  ResetEnvironment();
  Env().AppPath = workplace.root;
  Env().SystemTempPath = workplace.root;
  Env().TempRoot = workplace.root;
  Env().SessionFolder = workplace.session;
  Env().SettingsFile = workplace.root + "/quorvane-audio.ini";
  Env().MemoryBudget = kMemoryBudget;
  std::filesystem::create_directory(workplace.session);
  ResetBlockList();
  ResetEditorState();
  {
    FileMemoClass document;
    document.StorageReset();
    document.IsTempObject = true;
    std::string path = workplace.project;
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
  std::filesystem::remove_all(workplace.session, ignored);
}

}  // namespace
}  // namespace quorvane

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace quorvane;
  if (size > kLargestInput) return -1;
  Workplace& workplace = TheWorkplace();
  const std::string text(reinterpret_cast<const char*>(data), size);
  {
    std::ofstream out(workplace.project, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out) Fail("cannot write " + workplace.project);
  }
  if (Refused(text, workplace.project)) return -1;
  ReadThroughSmallBuffers(workplace.project);
  LoadAndEmpty(workplace);
  return 0;
}
