// The files of one save. Each is written first under a hidden name beside its target that
// nobody can guess or take in advance, and put in place only once every one of them is
// written whole, so a save that fails or is cut off leaves each target either as it was or
// as saved, never cut short. What an abandoned save wrote is removed, also when the program
// is ended by a signal in the middle of it.
//
// The new files are not forced onto the disk before they are put in place: that would make
// a save wait for the whole disk write, a third longer for an hour of audio. A crashed or
// killed program, a full disk or a failed write never cut a file short; a power cut in the
// seconds after a save may, as before.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace quorvane {

class StagedFiles {
 public:
  StagedFiles() = default;
  ~StagedFiles();
  StagedFiles(const StagedFiles&) = delete;
  StagedFiles& operator=(const StagedFiles&) = delete;

  // Makes the empty file to write `target`'s new content into: ".~", the target's name and
  // a random ending, in the target's folder, with the target's permissions. Throws when the
  // folder takes no new file.
  std::string Stage(const std::string& target);
  // Stages `target` with `content` written into it whole; throws when it cannot be.
  void StageText(const std::string& target, const std::string& content);
  // `target` is to be deleted when the staged files are put in place.
  void StageDeletion(const std::string& target);

  // Each target with the staged file that replaces it ("" for a deletion), in the order
  // Commit puts them in place.
  std::vector<std::pair<std::string, std::string>> Plan() const;
  // False, with the first target in `failedTarget`, when a staged file is missing.
  bool AllWritten(std::string& failedTarget) const;
  // Puts the staged files in place in the order staged, each replacing its target (or
  // deleting the target), after `beforeReplace(target)`. False, with the target in
  // `failedTarget`, at the first one that cannot be put in place; those before it stay.
  bool Commit(const std::function<void(const std::string&)>& beforeReplace,
              std::string& failedTarget);

 private:
  struct Entry {
    std::string target;
    std::string staged;  // empty: the target is deleted
    mode_t mode = 0644;  // the target's permissions, which the staged file takes
  };
  std::vector<Entry> entries_;
};

// Removes the staged files of every save under way, from any thread: the program is ending,
// and from then on no file is staged.
void RemoveStagedFilesNow();

}  // namespace quorvane
