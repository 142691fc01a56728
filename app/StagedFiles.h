// The files of one save. Each is written first under a hidden temporary name beside its
// target and put in place only once every one of them is written whole, so a save that
// fails or is cut off leaves each target either as it was or as saved, never cut short.
// What an abandoned save wrote is removed.
//
// The new files are not forced onto the disk before they are put in place: that would make
// a save wait for the whole disk write, a third longer for an hour of audio. A crashed or
// killed program, a full disk or a failed write never cut a file short; a power cut in the
// seconds after a save may, as before.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace quorvane {

class StagedFiles {
 public:
  StagedFiles() = default;
  ~StagedFiles();
  StagedFiles(const StagedFiles&) = delete;
  StagedFiles& operator=(const StagedFiles&) = delete;

  // The name to write `target`'s new content under: ".~" and the target's name, in the
  // target's folder. Staging a target twice gives the same name.
  std::string Stage(const std::string& target);
  // `target` is to be deleted when the staged files are put in place.
  void StageDeletion(const std::string& target);

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
  };
  std::vector<Entry> entries_;
};

}  // namespace quorvane
