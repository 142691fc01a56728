#include "platform/ProfileFile.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace quorvane {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && (IsBlank(text.back()) || text.back() == '\r')) text.remove_suffix(1);
  return text;
}

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool EqualNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  }
  return true;
}

struct ParsedFile {
  std::vector<std::string> lines;
  bool crlf = false;  // the file's line-ending style
};

std::optional<std::string> ReadWhole(const std::string& file) {
  // A folder or a device of that name is no profile file.
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return std::nullopt;
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::string content;
  char buffer[8192];
  while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
    content.append(buffer, static_cast<size_t>(in.gcount()));
  }
  if (in.bad()) return std::nullopt;
  return content;
}

ParsedFile Parse(const std::string& content) {
  ParsedFile parsed;
  const size_t firstNewline = content.find('\n');
  parsed.crlf =
      firstNewline != std::string::npos && firstNewline > 0 && content[firstNewline - 1] == '\r';
  size_t start = 0;
  while (start < content.size()) {
    size_t end = content.find('\n', start);
    if (end == std::string::npos) {
      parsed.lines.push_back(content.substr(start));
      break;
    }
    size_t lineEnd = end;
    if (lineEnd > start && content[lineEnd - 1] == '\r') --lineEnd;
    parsed.lines.push_back(content.substr(start, lineEnd - start));
    start = end + 1;
  }
  return parsed;
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

struct Location {
  std::optional<size_t> sectionLine;  // the "[section]" line
  size_t sectionEnd = 0;              // one past the section's last line
  std::optional<size_t> keyLine;
};

Location Find(const std::vector<std::string>& lines, std::string_view section,
              std::string_view key) {
  Location where;
  for (size_t i = 0; i < lines.size(); ++i) {
    const auto name = SectionName(lines[i]);
    if (!name) continue;
    if (where.sectionLine) {
      where.sectionEnd = i;
      return where;
    }
    if (EqualNoCase(*name, section)) where.sectionLine = i;
    if (where.sectionLine) {
      for (size_t k = i + 1; k < lines.size() && !SectionName(lines[k]); ++k) {
        const auto keyName = KeyName(lines[k]);
        if (keyName && EqualNoCase(*keyName, key)) {
          where.keyLine = k;
          break;
        }
      }
    }
  }
  where.sectionEnd = lines.size();
  return where;
}

std::string_view Unquote(std::string_view value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return value;
}

bool WriteWhole(const std::string& file, const std::string& content) {
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

}  // namespace

ProfileRead GetProfileString(const std::string& file, const std::string& section,
                             const std::string& key, const std::string& defaultValue,
                             size_t bufferSize) {
  std::string value = defaultValue;
  if (const auto content = ReadWhole(file)) {
    const ParsedFile parsed = Parse(*content);
    const Location where = Find(parsed.lines, section, key);
    if (where.keyLine) {
      const std::string& line = parsed.lines[*where.keyLine];
      value = std::string(Unquote(TrimBlanks(std::string_view(line).substr(line.find('=') + 1))));
    }
  }
  ProfileRead result;
  const size_t room = bufferSize == 0 ? 0 : bufferSize - 1;
  result.value = value.substr(0, std::min(room, value.size()));
  result.copied = result.value.size();
  return result;
}

bool WriteProfileString(const std::string& file, const std::string& section, const std::string& key,
                        const std::string& value) {
  const auto content = ReadWhole(file);
  ParsedFile parsed = content ? Parse(*content) : ParsedFile{};
  const std::string keyLine = key + "=" + value;
  const Location where = Find(parsed.lines, section, key);
  if (where.keyLine) {
    parsed.lines[*where.keyLine] = keyLine;
  } else if (where.sectionLine) {
    // After the section's last line that is not blank.
    size_t insertAt = where.sectionEnd;
    while (insertAt > *where.sectionLine + 1 && TrimBlanks(parsed.lines[insertAt - 1]).empty()) {
      --insertAt;
    }
    parsed.lines.insert(parsed.lines.begin() + static_cast<std::ptrdiff_t>(insertAt), keyLine);
  } else {
    parsed.lines.push_back("[" + section + "]");
    parsed.lines.push_back(keyLine);
  }
  const char* newline = parsed.crlf ? "\r\n" : "\n";
  std::string out;
  for (size_t i = 0; i < parsed.lines.size(); ++i) {
    out += parsed.lines[i];
    out += newline;
  }
  return WriteWhole(file, out);
}

}  // namespace quorvane
