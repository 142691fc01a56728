#include "tests/app/ProjectSessionFixture.h"

#include <cstdlib>
#include <filesystem>

#include "app/ProjectFile.h"
#include "storage/EditorState.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TempFolder.h"

namespace quorvane::testing {

ProjectSessionTest::ProjectSessionTest() {
  if (const char* home = std::getenv("XDG_CONFIG_HOME")) previousConfigHome_ = home;
  ::setenv("XDG_CONFIG_HOME", config.Path().c_str(), 1);
}

ProjectSessionTest::~ProjectSessionTest() {
  document.StorageReset();
  if (previousConfigHome_) {
    ::setenv("XDG_CONFIG_HOME", previousConfigHome_->c_str(), 1);
  } else {
    ::unsetenv("XDG_CONFIG_HOME");
  }
}

std::string ProjectSessionTest::WriteProjectFile(ProjectPlan plan) {
  if (!plan.targetFolder) {
    std::filesystem::create_directories(Tracks());
    plan.targetFolder = Tracks();
  }
  return WriteProject(files.File("project.ini"), plan);
}

bool ProjectSessionTest::Load(std::string& commandLine) {
  document.StorageReset();
  document.IsTempObject = true;
  const bool loaded = ProjectFileLoad(commandLine, document);
  document.IsTempObject = false;
  document.UndoInfoReset();
  Editor().WaveChanged = false;
  return loaded;
}

void ProjectSessionTest::LoadProject(ProjectPlan plan) {
  const std::string path = WriteProjectFile(std::move(plan));
  ASSERT_TRUE(Load(path)) << ::testing::PrintToString(Shown());
}

std::string ProjectSessionTest::ProjectText() const { return files.Read("project.ini"); }

std::optional<std::string> ProjectSessionTest::HostFlag() const {
  const std::string text =
      ReadFileBytes(config.File("VB and VBA Program Settings/Quorvane Stagora.conf"));
  return IniValue(text, "Dynamic", "TAEState");
}

std::vector<std::string> ProjectSessionTest::Shown() const {
  std::vector<std::string> shown;
  for (const MessageRequest& message : ui.messages) {
    shown.push_back(message.caption + "|" + message.text);
  }
  return shown;
}

std::string Soxi(const std::string& option, const std::string& file) {
  const ProgramRun run = RunProgram("soxi", {option, file});
  if (run.exitStatus != 0) return "soxi failed: " + run.err;
  std::string out = run.out;
  while (!out.empty() && (out.back() == '\n' || out.back() == '\r')) out.pop_back();
  return out;
}

}  // namespace quorvane::testing
