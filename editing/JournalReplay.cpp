#include "editing/JournalReplay.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/Session.h"
#include "core/FileHelpers.h"
#include "core/Numbers.h"
#include "core/ProjectTables.h"
#include "editing/CleanUpVoice.h"
#include "editing/ClipboardExchange.h"
#include "editing/DynCompFrm.h"
#include "editing/DynamicCompress.h"
#include "editing/EditCommands.h"
#include "editing/InsertAudioFile.h"
#include "editing/LevelSlides.h"
#include "editing/ReplaceAudio.h"
#include "editing/ShortenPauses.h"
#include "editing/VolumeEffects.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "storage/JournalOperation.h"

namespace quorvane {

namespace {

// The values of a recorded operation, read as it wrote them.
class Values {
 public:
  explicit Values(const JournalWords& words) : words_(words) {}
  size_t Count() const {
    return words_.size() > kJournalFirstValue ? words_.size() - kJournalFirstValue : 0;
  }
  const std::string& Text(size_t k) const {
    static const std::string none;
    return k < Count() ? words_[kJournalFirstValue + k] : none;
  }
  double Number(size_t k) const { return LeadingNumber(Text(k)); }
  int32_t Whole(size_t k) const { return RoundHalfEven(Number(k)); }
  // A kept file's full path; "" when it is not there.
  std::string KeptFile(size_t k) const {
    const std::string path = Journal().KeptPath(Text(k));
    return Text(k).empty() || !FileExists(path) ? "" : path;
  }

 private:
  const JournalWords& words_;
};

using Replay = std::function<bool(FileMemoClass&, const Values&)>;

bool PasteAgain(FileMemoClass& document, const Values& values) {
  if (values.Count() == 0) {
    EditPaste(document);
    return true;
  }
  // Audio from another program or editor, kept as a file in the document's format.
  const std::string file = values.KeptFile(0);
  if (file.empty()) return false;
  std::unique_ptr<FileMemoClass> track;
  LoadTrackFile(file, track, Project().BaseFrequency, Project().BaseBits);
  return track && track->WavWaveINos > 0 &&
         AppendTrack(document, *track, Editor().SelStart, "Paste") > 0;
}

const std::map<std::string, Replay>& Replays() {
  static const std::map<std::string, Replay> replays{
      {"copy",
       [](FileMemoClass& document, const Values&) {
         EditCopy(document);
         Journal().NoteClip(ClipPointer());
         return true;
       }},
      {"cut",
       [](FileMemoClass& document, const Values&) {
         EditCut(document);
         Journal().NoteClip(ClipPointer());
         return true;
       }},
      {"paste", PasteAgain},
      {"delete",
       [](FileMemoClass& document, const Values&) {
         EditDelete(document);
         return true;
       }},
      {"insert-silence",
       [](FileMemoClass& document, const Values& values) {
         return InsertSilenceSeconds(document, values.Text(0));
       }},
      {"insert-file",
       [](FileMemoClass& document, const Values& values) {
         const std::string file = values.KeptFile(1);
         if (file.empty()) return false;
         Editor().CursorPos = values.Whole(0);
         GivenFile prompts(file);
         return InsertAudioFile(document, file, 1, prompts, values.Text(2));
       }},
      {"replace-file",
       [](FileMemoClass& document, const Values& values) {
         const std::string file = values.KeptFile(2);
         return !file.empty() && ReplaceWithFile(document, values.Whole(0), values.Whole(1), file,
                                                 values.Number(3), values.Text(4));
       }},
      {"volume", [](FileMemoClass& document,
                    const Values& values) { return ChangeVolume(document, values.Whole(0)); }},
      {"maximize", [](FileMemoClass& document, const Values&) { return Maximize(document); }},
      {"dynamic",
       [](FileMemoClass& document, const Values& values) {
         const DynamicParameters parameters{static_cast<float>(values.Number(0)), values.Whole(1),
                                            values.Whole(2)};
         return DynamicCompressExpand(document, parameters);
       }},
      {"level",
       [](FileMemoClass& document, const Values& values) {
         std::vector<int32_t> slides;
         for (size_t k = 1; k < values.Count(); ++k) slides.push_back(values.Whole(k));
         std::vector<SlideLevel> levels;
         return LevelSlides(document, slides, values.Number(0), levels);
       }},
      {"cleanup",
       [](FileMemoClass& document, const Values& values) {
         return CleanUpVoice(document, values.Whole(0), values.Whole(1),
                             VoiceCleanUp{values.Number(2), values.Number(3)});
       }},
      {"shorten-pauses",
       [](FileMemoClass& document, const Values& values) {
         ShortenPauses(document, values.Whole(0), values.Whole(1),
                       PauseShortening{values.Number(2), values.Number(3)});
         return true;
       }},
      {"undo",
       [](FileMemoClass& document, const Values&) {
         EditUndo(document);
         return true;
       }},
      {"redo",
       [](FileMemoClass& document, const Values&) {
         EditRedo(document);
         return true;
       }},
      {"clear-undo",
       [](FileMemoClass& document, const Values& values) {
         document.ClearUndoUpTo(values.Whole(0));
         return true;
       }},
      {"move-marker",
       [](FileMemoClass& document, const Values& values) {
         document.MoveMarker(values.Whole(0), values.Whole(1), values.Text(2));
         return true;
       }},
      {"add-markers",
       [](FileMemoClass& document, const Values& values) {
         std::vector<MarkerInfo> markers;
         for (size_t k = 1; k + 2 < values.Count(); k += 3) {
           MarkerInfo marker;
           marker.Kind = values.Whole(k);
           marker.Position = values.Whole(k + 1);
           marker.Slide = values.Whole(k + 2);
           markers.push_back(marker);
         }
         document.AddMarkers(markers, values.Text(0));
         return true;
       }},
      {"delete-markers",
       [](FileMemoClass& document, const Values& values) {
         std::vector<int32_t> numbers;
         for (size_t k = 2; k < values.Count(); ++k) numbers.push_back(values.Whole(k));
         document.DeleteMarkers(numbers, values.Text(0), values.Text(1) == "1");
         return true;
       }},
      {"move-slide",
       [](FileMemoClass& document, const Values& values) {
         document.MoveSlideStart(values.Whole(0), values.Whole(1), values.Text(2));
         return true;
       }},
  };
  return replays;
}

}  // namespace

bool ReplayOperation(FileMemoClass& document, const JournalWords& words) {
  if (words.size() < kJournalFirstValue || words[0] != "op") return false;
  const auto replay = Replays().find(words[1]);
  if (replay == Replays().end()) return false;
  const JournalPause notAgain;
  RestoreJournalState(words);
  return replay->second(document, Values(words));
}

}  // namespace quorvane
