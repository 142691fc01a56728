#include "editing/Recovery.h"

#include <unistd.h>

#include <exception>
#include <filesystem>
#include <vector>

#include "app/SessionJournal.h"
#include "core/EditJournal.h"
#include "core/Interaction.h"
#include "core/ProjectTables.h"
#include "core/StaleSessions.h"
#include "editing/JournalReplay.h"
#include "editing/VolumeEffects.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace fs = std::filesystem;

namespace {

// The person answered every question of a recorded operation so that it went ahead: the
// replay answers them so again, and keeps the operation's messages to itself. Progress
// shows where it is.
class ReplayAnswers : public Interaction {
 public:
  ReplayAnswers() : passOn_(UserInterface()) { SetUserInterface(this); }
  ~ReplayAnswers() override { SetUserInterface(&passOn_); }
  ReplayAnswers(const ReplayAnswers&) = delete;
  ReplayAnswers& operator=(const ReplayAnswers&) = delete;

  MessageAnswer MsgBox(const MessageRequest& request) override {
    switch (request.buttons) {
      case MessageButtons::YesNo:
      case MessageButtons::YesNoCancel:
        return MessageAnswer::Yes;
      default:
        return MessageAnswer::Ok;
    }
  }
  std::optional<std::string> InputBox(const std::string&, const std::string&,
                                      const std::string&) override {
    return std::nullopt;
  }
  void SetBusy(bool busy) override { passOn_.SetBusy(busy); }
  ProgressDisplay& Progress() override { return passOn_.Progress(); }

 private:
  Interaction& passOn_;
};

bool IsOperation(const JournalWords& line) { return !line.empty() && line[0] == "op"; }

bool IsHeader(const JournalWords& line) {
  return !line.empty() && (line[0] == "journal" || line[0] == "project" || line[0] == "source");
}

// The dead session's kept files get second names in this session's folder, so that its
// folder can go once the journal is this session's.
void LinkKeptFiles(const std::string& from) {
  const std::string source = from + "/" + kKeptFolderName;
  const std::string target = Journal().Folder() + "/" + kKeptFolderName;
  std::error_code error;
  fs::create_directory(target, error);
  for (fs::directory_iterator it(source, error), end; !error && it != end; it.increment(error)) {
    const std::string name = it->path().filename().string();
    ::link(it->path().c_str(), (target + "/" + name).c_str());
  }
}

// Does the journal's operations again; -1 when they could not become this session's
// journal (the dead session's folder then stays).
int32_t Replay(FileMemoClass& document, const std::string& folder,
               const std::vector<JournalWords>& journal) {
  LinkKeptFiles(folder);
  std::vector<JournalWords> adopted;
  int32_t recovered = 0;
  std::string stopped;
  {
    const ReplayAnswers answers;
    const ShownProgress shown(kEffectBarColor);
    int32_t total = 0;
    for (const JournalWords& line : journal) total += IsOperation(line);
    for (const JournalWords& line : journal) {
      if (IsHeader(line)) adopted.push_back(line);
      if (!IsOperation(line)) continue;
      bool done = false;
      try {
        done = ReplayOperation(document, line);
      } catch (const std::exception&) {
        done = false;
      }
      if (!done) {
        stopped = line.size() > 1 ? line[1] : "";
        break;
      }
      adopted.push_back(line);
      ++recovered;
      UserInterface().Progress().SetCurrentProgress(static_cast<float>(recovered) /
                                                    static_cast<float>(total));
    }
  }
  if (!stopped.empty()) {
    UserInterface().Message("Recovery stopped before edit " + std::to_string(recovered + 1) + " (" +
                                stopped + "): a file it needs is missing.",
                            MessageIcon::Exclamation);
  }
  document.UndoInfoUpdateMenu();
  if (!Journal().Adopt(adopted)) return -1;
  return recovered;
}

}  // namespace

int32_t RecoverUnsavedEdits(FileMemoClass& document, RecoveryChoice choice) {
  if (choice == RecoveryChoice::LeaveAlone) return 0;
  const std::vector<std::string> dead = DeadSessionsOf(Project().ProjectPath);
  if (dead.empty()) return 0;
  const std::vector<JournalWords> journal = ReadJournal(dead.front() + "/" + kSessionJournalName);
  bool hasEdits = false;
  for (const JournalWords& line : journal) hasEdits = hasEdits || IsOperation(line);
  // Edits made to other audio than is on the disk now cannot be done again: the person is
  // told instead of asked.
  const std::string changed =
      hasEdits && choice != RecoveryChoice::Discard ? ChangedSource(journal) : std::string();
  if (!changed.empty()) {
    UserInterface().Message(
        "The unsaved edits could not be recovered: this file changed after "
        "the previous session ended:" +
            std::string(kCrLf) + changed,
        MessageIcon::Exclamation);
    hasEdits = false;
  }
  bool recover = hasEdits && choice == RecoveryChoice::Recover;
  if (hasEdits && choice == RecoveryChoice::Ask) {
    recover =
        UserInterface().MsgBox(MessageRequest{kRecoveryQuestion, kAppTitle, MessageIcon::Question,
                                              MessageButtons::YesNo, 1}) == MessageAnswer::Yes;
  }
  int32_t recovered = 0;
  if (recover) {
    recovered = Replay(document, dead.front(), journal);
    if (recovered < 0) return 0;
  }
  // What was not recovered now is not offered again.
  std::error_code ignored;
  for (const std::string& folder : dead) fs::remove_all(folder, ignored);
  return recovered;
}

}  // namespace quorvane
