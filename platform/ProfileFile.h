// Profile (INI) files read and written one value at a time, with the semantics the
// project file and the settings file were designed around: section and key names match
// without regard to case, values lose surrounding blanks and one pair of enclosing
// quotes, the caller's buffer size limits what is returned, and a write changes only the
// one line it concerns (comments, unknown keys, order and line-ending style are kept).
#pragma once

#include <cstddef>
#include <string>

namespace quorvane {

struct ProfileRead {
  std::string value;
  size_t copied = 0;  // characters copied into the caller's buffer (at most bufferSize - 1)
};

// Reads section/key of `file`. A missing file, section or key gives `defaultValue`.
// At most bufferSize - 1 characters are returned; bufferSize 0 returns nothing.
ProfileRead GetProfileString(const std::string& file, const std::string& section,
                             const std::string& key, const std::string& defaultValue,
                             size_t bufferSize);

// Writes section/key = value: replaces the first matching key in place, or appends the
// key at the end of its section, or appends the section at the end of the file, creating
// the file when needed. Returns false when the file could not be written.
bool WriteProfileString(const std::string& file, const std::string& section, const std::string& key,
                        const std::string& value);

}  // namespace quorvane
