#include "platform/ProfileFile.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>

#include <unistd.h>

namespace quorvane {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && (IsBlank(text.back()) || text.back() == '\r')) text.remove_suffix(1);
  return text;
}

std::string LowerAscii(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  return std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; };
    return lower(x) == lower(y);
  });
}

// The section name of a "[name]" line, or nothing.
std::optional<std::string_view> SectionName(std::string_view line) {
  line = TrimBlanks(line);
  if (line.empty() || line.front() != '[') return std::nullopt;
  const size_t close = line.find(']');
  if (close == std::string_view::npos) return std::nullopt;
  return TrimBlanks(line.substr(1, close - 1));
}

// The key of a "key=value" line, or nothing.
std::optional<std::string_view> KeyName(std::string_view line) {
  const size_t equals = line.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  return TrimBlanks(line.substr(0, equals));
}

// The first line of `lines` whose key is `key`.
std::optional<size_t> FindKey(const std::vector<std::string>& lines, std::string_view key) {
  for (size_t i = 0; i < lines.size(); ++i) {
    const auto name = KeyName(lines[i]);
    if (name && EqualNoCase(*name, key)) return i;
  }
  return std::nullopt;
}

std::string_view Unquote(std::string_view value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return value;
}

std::optional<std::string> ReadWhole(const std::string& file) {
  // A folder or a device of that name is no profile file.
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return std::nullopt;
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::string content;
  char buffer[65536];
  while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
    content.append(buffer, static_cast<size_t>(in.gcount()));
  }
  if (in.bad()) return std::nullopt;
  return content;
}

}  // namespace

ProfileDocument::ProfileDocument(const std::string& content) {
  std::string_view text(content);
  // Editors that save as UTF-8 put a byte-order mark before the first section.
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    byteOrderMark_ = true;
    text.remove_prefix(kByteOrderMark.size());
  }
  const size_t firstNewline = text.find('\n');
  crlf_ =
      firstNewline != std::string_view::npos && firstNewline > 0 && text[firstNewline - 1] == '\r';
  sections_.push_back(Section{});
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    size_t lineEnd = end == std::string_view::npos ? text.size() : end;
    if (end != std::string_view::npos && lineEnd > start && text[lineEnd - 1] == '\r') --lineEnd;
    std::string line(text.substr(start, lineEnd - start));
    if (const auto name = SectionName(line)) {
      index_.try_emplace(LowerAscii(*name), sections_.size());
      sections_.push_back(Section{std::move(line), {}});
    } else {
      sections_.back().lines.push_back(std::move(line));
    }
    if (end == std::string_view::npos) break;
    start = end + 1;
  }
}

std::optional<ProfileDocument> ProfileDocument::Read(const std::string& file) {
  const auto content = ReadWhole(file);
  if (!content) return std::nullopt;
  return ProfileDocument(*content);
}

const ProfileDocument::Section* ProfileDocument::Find(const std::string& section) const {
  const auto found = index_.find(LowerAscii(section));
  return found == index_.end() ? nullptr : &sections_[found->second];
}

ProfileRead ProfileDocument::Get(const std::string& section, const std::string& key,
                                 const std::string& defaultValue, size_t bufferSize) const {
  std::string_view value = defaultValue;
  if (const Section* found = Find(section)) {
    if (const auto line = FindKey(found->lines, key)) {
      const std::string& text = found->lines[*line];
      value = Unquote(TrimBlanks(std::string_view(text).substr(text.find('=') + 1)));
    }
  }
  ProfileRead result;
  const size_t room = bufferSize == 0 ? 0 : bufferSize - 1;
  result.value = std::string(value.substr(0, std::min(room, value.size())));
  result.copied = result.value.size();
  return result;
}

void ProfileDocument::Put(const std::string& section, const std::string& key,
                          const std::string& value) {
  std::string keyLine = key + "=" + value;
  const auto found = index_.find(LowerAscii(section));
  if (found == index_.end()) {
    index_.emplace(LowerAscii(section), sections_.size());
    sections_.push_back(Section{"[" + section + "]", {std::move(keyLine)}});
    return;
  }
  std::vector<std::string>& lines = sections_[found->second].lines;
  if (const auto line = FindKey(lines, key)) {
    lines[*line] = std::move(keyLine);
    return;
  }
  size_t insertAt = lines.size();
  while (insertAt > 0 && TrimBlanks(lines[insertAt - 1]).empty()) --insertAt;
  lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(insertAt), std::move(keyLine));
}

std::string ProfileDocument::Text() const {
  const std::string_view newline = crlf_ ? "\r\n" : "\n";
  std::string out(byteOrderMark_ ? kByteOrderMark : "");
  for (const Section& section : sections_) {
    if (!section.header.empty()) out.append(section.header).append(newline);
    for (const std::string& line : section.lines) out.append(line).append(newline);
  }
  return out;
}

bool WriteProfileText(const std::string& file, const std::string& content) {
  // Write beside the file and rename over it, so a failed write never leaves half a file.
  const std::string temporary = file + ".tmp" + std::to_string(::getpid());
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    if (out) {
      out << content;
      out.close();
      if (out && std::rename(temporary.c_str(), file.c_str()) == 0) return true;
      // A write that failed (a full disk) must not be tried again over the file itself.
      std::remove(temporary.c_str());
      return false;
    }
  }
  // The folder refuses new files while the file itself may be writable.
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  if (!out) return false;
  out << content;
  out.close();
  return static_cast<bool>(out);
}

ProfileRead GetProfileString(const std::string& file, const std::string& section,
                             const std::string& key, const std::string& defaultValue,
                             size_t bufferSize) {
  return ProfileDocument::Read(file)
      .value_or(ProfileDocument())
      .Get(section, key, defaultValue, bufferSize);
}

bool WriteProfileString(const std::string& file, const std::string& section, const std::string& key,
                        const std::string& value) {
  ProfileDocument document = ProfileDocument::Read(file).value_or(ProfileDocument());
  document.Put(section, key, value);
  return WriteProfileText(file, document.Text());
}

}  // namespace quorvane
