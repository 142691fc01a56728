// Profile (INI) files with the semantics the project file and the settings file were
// designed around: section and key names match without regard to case, values lose
// surrounding blanks and one pair of enclosing quotes, the caller's buffer size limits what
// is returned, and a write changes only the one line it concerns (comments, unknown keys,
// order, a leading byte-order mark and the line-ending style are kept).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace quorvane {

struct ProfileRead {
  std::string value;
  size_t copied = 0;  // characters copied into the caller's buffer (at most bufferSize - 1)
};

// A profile file's text, parsed once: any number of reads and writes, then its text
// written back in one go. Sections are found through an index, so a file of thousands of
// sections costs no more per value than a small one.
class ProfileDocument {
 public:
  explicit ProfileDocument(const std::string& content = "");

  // The file's text; nothing when there is no regular file of that name or it cannot be
  // read.
  static std::optional<ProfileDocument> Read(const std::string& file);

  // section/key, or `defaultValue` when the section or the key is missing; at most
  // bufferSize - 1 characters, bufferSize 0 returns nothing. Only the first section of a
  // name is searched.
  ProfileRead Get(const std::string& section, const std::string& key,
                  const std::string& defaultValue, size_t bufferSize) const;

  // Replaces the first matching key in place, or appends the key after its section's last
  // line that is not blank, or appends the section at the end.
  void Put(const std::string& section, const std::string& key, const std::string& value);

  std::string Text() const;

 private:
  struct Section {
    std::string header;  // the "[name]" line as written; empty for the lines before any
    std::vector<std::string> lines;
  };
  const Section* Find(const std::string& section) const;

  std::vector<Section> sections_;
  std::unordered_map<std::string, size_t> index_;  // lower-case name -> first section
  bool crlf_ = false;
  bool byteOrderMark_ = false;
};

// Reads section/key of `file`. A missing file, section or key gives `defaultValue`.
ProfileRead GetProfileString(const std::string& file, const std::string& section,
                             const std::string& key, const std::string& defaultValue,
                             size_t bufferSize);

// Writes section/key = value into `file`, creating the file when needed. False when the
// file could not be written.
bool WriteProfileString(const std::string& file, const std::string& section, const std::string& key,
                        const std::string& value);

// Replaces the whole file with `content`, written beside it first so that a failed write
// never leaves half a file. False when it could not be written.
bool WriteProfileText(const std::string& file, const std::string& content);

}  // namespace quorvane
