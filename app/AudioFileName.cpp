#include "app/AudioFileName.h"

#include "core/Numbers.h"

namespace quorvane {

std::string LowerEnding(const std::string& name, size_t count) {
  std::string ending = name.size() > count ? name.substr(name.size() - count) : name;
  for (char& c : ending) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return ending;
}

bool IsAudioFileName(const std::string& name) {
  if (Trim(name).empty()) return false;
  const size_t dot = name.rfind('.');
  const std::string extension = dot == std::string::npos ? name : name.substr(dot + 1);
  const std::string lower = LowerEnding(extension, extension.size());
  return lower == "mp3" || lower == "wav";
}

}  // namespace quorvane
