// A session as the editor starts it, for the end-to-end tests of loading and saving: a
// project written into the test's folder, loaded into the document the way start-up loads
// it, and the files written by saving read back.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "storage/FileMemoClass.h"
#include "tests/support/CompressedWavFixtures.h"
#include "tests/support/ProjectBuilder.h"
#include "tests/support/SessionFixture.h"

namespace quorvane::testing {

class ProjectSessionTest : public SessionTest {
 protected:
  ProjectSessionTest();
  ~ProjectSessionTest() override;

  // The folder of the track files, and one track file in it.
  std::string Tracks() const { return files.File("tracks"); }
  std::string Track(const std::string& name) const { return Tracks() + "/" + name; }

  // Writes the project file "project.ini" (target folder: Tracks(), made when missing,
  // unless the plan names one) with its tracks; returns its path.
  std::string WriteProjectFile(ProjectPlan plan);

  // Loads the project as start-up does: storage reset, the document a scratch document
  // while the tracks are joined, then no undo and nothing changed. The command line is
  // changed in place as ProjectFileLoad changes it.
  bool Load(std::string& commandLine);
  bool Load(const std::string& commandLine) {
    std::string copy = commandLine;
    return Load(copy);
  }

  // Writes the project file, then loads it; the load must succeed.
  void LoadProject(ProjectPlan plan);

  // The project file's text as it stands now.
  std::string ProjectText() const;

  // The host flag file's "[Dynamic] TAEState", nothing when it was never written.
  std::optional<std::string> HostFlag() const;

  std::vector<int16_t> Left() const { return ChannelSamples(document, 1); }
  std::vector<int16_t> Right() const { return ChannelSamples(document, 2); }

  // The texts of the messages shown so far, with their captions: "caption|text".
  std::vector<std::string> Shown() const;

  TempFolder config;  // $XDG_CONFIG_HOME while the case runs: the host flag lands here
  FileMemoClass document;

 private:
  std::optional<std::string> previousConfigHome_;
};

// What `soxi OPTION file` prints, without the line end.
std::string Soxi(const std::string& option, const std::string& file);

}  // namespace quorvane::testing
