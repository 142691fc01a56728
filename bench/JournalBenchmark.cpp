// Figures of the edit journal on the temporary folder's file system: what recording one
// edit costs (the line appended and forced onto the disk), beside a bare write and
// fdatasync of the same bytes; and doing 1,000 recorded edits again at the next start,
// beside the time they took the first time.
#include <fcntl.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "app/SessionLifetime.h"
#include "bench/BenchSupport.h"
#include "core/BatchInteraction.h"
#include "core/EditJournal.h"
#include "core/Environment.h"
#include "core/ProjectTables.h"
#include "core/StaleSessions.h"
#include "editing/ClipboardExchange.h"
#include "editing/EditCommands.h"
#include "editing/Recovery.h"
#include "platform/FileHandle.h"
#include "storage/DocumentWindow.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

using namespace quorvane;
using namespace quorvane::bench;

namespace {

constexpr int kEdits = 1000;

void Select(int32_t from, int32_t to) {
  Editor().SelStart = from;
  Editor().SelEnd = to;
}

// 1,000 edits of the kinds a narrator makes most: deletes, inserted silence, a copy pasted
// elsewhere, markers dragged, undo and redo.
void Edit(FileMemoClass& document) {
  for (int k = 0; k < kEdits; ++k) {
    const int32_t at = 1 + (k * 7919) % (document.WavWaveINos - 50'000);
    switch (k % 7) {
      case 0:
        Select(at, at + 2'000);
        EditDelete(document);
        break;
      case 1:
        Select(at, at);
        InsertSilenceSeconds(document, "1");
        break;
      case 2:
        Select(at, at + 20'000);
        EditCopy(document);
        break;
      case 3:
        Select(at, at);
        EditPaste(document);
        break;
      case 4: {
        const MarkerInfo& marker =
            Project().Markers[static_cast<size_t>(1 + k % Project().MarkerCount)];
        document.MoveMarker(1 + k % Project().MarkerCount, marker.Position + 100, "Marker Drag");
        break;
      }
      case 5:
        EditUndo(document);
        break;
      default:
        EditRedo(document);
        break;
    }
  }
}

std::string FileSystemOf(const std::string& folder) {
  struct statfs status {};
  if (::statfs(folder.c_str(), &status) != 0) return "?";
  switch (status.f_type) {
    case 0x01021994:
      return "tmpfs";
    case 0xEF53:
      return "ext4";
    case 0x794C7630:
      return "overlayfs";
    case 0x9123683E:
      return "btrfs";
    case 0x58465342:
      return "xfs";
    default: {
      char hex[16];
      std::snprintf(hex, sizeof hex, "0x%lX", static_cast<unsigned long>(status.f_type));
      return hex;
    }
  }
}

}  // namespace

int main() {
  BatchInteraction interaction(std::cerr);
  SetUserInterface(&interaction);
  setenv("XDG_CONFIG_HOME", BenchFolder("config").c_str(), 1);
  const std::string project = WritePresentation(BenchFolder("journal"), 10, 60, 44100, 44100);

  // The edits, recorded as a session records them.
  std::unique_ptr<FileMemoClass> document = PrepareSession(project);
  if (!document) return 1;
  const std::string root = Env().TempRoot;
  auto started = Clock::now();
  Edit(*document);
  const double firstTime = Seconds(Clock::now() - started);
  const std::vector<JournalWords> recorded = ReadJournal(Journal().FilePath());
  const std::string dead = root + "/fmBench1";
  std::filesystem::remove_all(dead);
  std::filesystem::copy(Journal().Folder(), dead, std::filesystem::copy_options::recursive);
  std::filesystem::remove(dead + "/" + kSessionLockName);
  ClipboardRelease();
  EndSession(document);

  // Appending those lines again, one at a time, in a session folder of this file system;
  // the peer appends the same bytes and calls fdatasync itself.
  std::vector<JournalWords> lines;
  for (const JournalWords& line : recorded) {
    if (!line.empty() && line[0] == "op") lines.push_back(line);
  }
  const std::string folder = root + "/fmBench2";
  std::filesystem::create_directories(folder);
  EditJournal journal;
  journal.Begin(folder, {{"journal", "1"}});
  std::vector<double> appends;
  for (const JournalWords& line : lines) {
    started = Clock::now();
    journal.Append(line);
    appends.push_back(Milliseconds(Clock::now() - started));
  }
  const FileHandle bare(::open((folder + "/bare").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600));
  std::vector<double> bareAppends;
  for (const JournalWords& line : lines) {
    const std::string text = EncodeJournalLine(line);
    started = Clock::now();
    if (::write(bare.Descriptor(), text.data(), text.size()) < 0) return 1;
    ::fdatasync(bare.Descriptor());
    bareAppends.push_back(Milliseconds(Clock::now() - started));
  }
  journal.End();
  std::filesystem::remove_all(folder);
  std::cout << "temporary folder " << root << " on " << FileSystemOf(root) << "\n";
  Figure("journal cost of one edit, median", Median(appends), "ms", "write + fdatasync",
         Median(bareAppends), "ms");
  Figure("journal cost of one edit, 99th percentile", Percentile(appends, 0.99), "ms",
         "write + fdatasync", Percentile(bareAppends, 0.99), "ms");
  Limit(Median(appends) < 1.0, "journal cost per edit under 1 ms (median)");

  // The next start does them again.
  document = PrepareSession(project);
  if (!document) return 1;
  started = Clock::now();
  const int32_t recovered = RecoverUnsavedEdits(*document, RecoveryChoice::Recover);
  const double replayTime = Seconds(Clock::now() - started);
  ClipboardRelease();
  EndSession(document);
  Figure("recovery of " + std::to_string(recovered) + " edits (10 slides, 10 min stereo)",
         replayTime, "s", "the same edits made the first time", firstTime, "s");
  Limit(recovered == static_cast<int32_t>(lines.size()), "every recorded edit recovered");
  Limit(replayTime < 1.0, "recovery of 1,000 edits under 1 s");
  return AllWithinLimits() ? 0 : 1;
}
