#include "core/EditJournal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <utility>

#include "core/Digest.h"
#include "core/Interaction.h"

namespace quorvane {

namespace fs = std::filesystem;

namespace {

constexpr const char* kJournalName = "journal";
constexpr const char* kHex = "0123456789ABCDEF";

bool Escaped(unsigned char c) { return c == '%' || c == '#' || c <= ' ' || c == 0x7F; }

uint32_t LineChecksum(const std::string& text) {
  Digest digest;
  for (const char c : text) digest.Mix(static_cast<unsigned char>(c));
  const uint64_t value = digest.Value();
  return static_cast<uint32_t>(value ^ (value >> 32));
}

std::string HexWord(uint32_t value) {
  std::string text(8, '0');
  for (int digit = 7; digit >= 0; --digit, value >>= 4)
    text[static_cast<size_t>(digit)] = kHex[value & 0xF];
  return text;
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool WriteAll(int descriptor, const std::string& text) {
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t written = ::write(descriptor, text.data() + done, text.size() - done);
    if (written <= 0) return false;
    done += static_cast<size_t>(written);
  }
  return true;
}

// A new name in a folder survives a power cut only once the folder is on the disk too.
void SyncFolder(const std::string& folder) {
  const FileHandle handle(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (handle.IsOpen()) ::fsync(handle.Descriptor());
}

}  // namespace

std::optional<FileIdentity> IdentityOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileIdentity{static_cast<uint64_t>(status.st_size),
                      int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec,
                      static_cast<uint64_t>(status.st_ino)};
}

JournalWords IdentityWords(const FileIdentity& identity) {
  return {std::to_string(identity.size), std::to_string(identity.modifiedNs),
          std::to_string(identity.inode)};
}

std::optional<FileIdentity> IdentityFromWords(const JournalWords& words, size_t first) {
  if (words.size() < first + 3) return std::nullopt;
  try {
    return FileIdentity{std::stoull(words[first]), std::stoll(words[first + 1]),
                        std::stoull(words[first + 2])};
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::string JournalNumber(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

std::string EncodeJournalLine(const JournalWords& words) {
  std::string text;
  for (const std::string& word : words) {
    if (!text.empty()) text += ' ';
    if (word.empty()) text += "%";  // an empty word, which a lone '%' cannot otherwise be
    for (const char c : word) {
      const auto byte = static_cast<unsigned char>(c);
      if (Escaped(byte)) {
        text += '%';
        text += kHex[byte >> 4];
        text += kHex[byte & 0xF];
      } else {
        text += c;
      }
    }
  }
  return text + " #" + HexWord(LineChecksum(text)) + "\n";
}

std::optional<JournalWords> DecodeJournalLine(const std::string& line) {
  const size_t mark = line.rfind(" #");
  if (mark == std::string::npos || line.size() != mark + 10) return std::nullopt;
  const std::string text = line.substr(0, mark);
  if (HexWord(LineChecksum(text)) != line.substr(mark + 2)) return std::nullopt;
  JournalWords words(1);
  for (size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (c == ' ') {
      words.emplace_back();
    } else if (c != '%') {
      words.back() += c;
    } else if (at + 2 < text.size() && HexValue(text[at + 1]) >= 0 && HexValue(text[at + 2]) >= 0) {
      words.back() += static_cast<char>(HexValue(text[at + 1]) * 16 + HexValue(text[at + 2]));
      at += 2;
    }  // else a lone '%': the empty word
  }
  return words;
}

std::vector<JournalWords> ReadJournal(const std::string& path) {
  std::vector<JournalWords> lines;
  std::ifstream file(path, std::ios::binary);
  std::string line;
  // A last line without its end was cut short.
  while (std::getline(file, line) && !file.eof()) {
    std::optional<JournalWords> words = DecodeJournalLine(line);
    if (!words) break;
    lines.push_back(std::move(*words));
  }
  return lines;
}

std::string EditJournal::FilePath() const { return folder_ + "/" + kJournalName; }

void EditJournal::Begin(const std::string& folder, std::vector<JournalWords> header) {
  file_.Close();
  folder_ = folder;
  StartFrom(std::move(header));
}

void EditJournal::StartFrom(std::vector<JournalWords> header) {
  header_ = std::move(header);
  waiting_.clear();
  fileMade_ = false;
  failed_ = false;
  planPending_ = false;
  operations_ = 0;
  clip_ = 0;  // a clip copied before is not in this journal
}

bool EditJournal::Adopt(const std::vector<JournalWords>& lines) {
  if (!Active()) return false;
  file_.Close();
  const std::string fresh = FilePath() + ".new";
  {
    const FileHandle file(
        ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
    std::string text;
    for (const JournalWords& line : lines) text += EncodeJournalLine(line);
    if (!file.IsOpen() || !WriteAll(file.Descriptor(), text) ||
        ::fdatasync(file.Descriptor()) != 0 || ::rename(fresh.c_str(), FilePath().c_str()) != 0) {
      ::unlink(fresh.c_str());
      return false;
    }
  }
  SyncFolder(folder_);
  file_ = FileHandle(::open(FilePath().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOFOLLOW));
  fileMade_ = file_.IsOpen();
  operations_ = 0;
  for (const JournalWords& line : lines) operations_ += !line.empty() && line[0] == "op";
  return fileMade_;
}

void EditJournal::End() {
  file_.Close();
  folder_.clear();
  header_.clear();
  fileMade_ = false;
}

bool EditJournal::WriteLines(const std::vector<JournalWords>& lines, bool create) {
  std::string text;
  if (create) {
    for (const JournalWords& line : header_) text += EncodeJournalLine(line);
    for (const JournalWords& line : waiting_) text += EncodeJournalLine(line);
  }
  for (const JournalWords& line : lines) text += EncodeJournalLine(line);
  if (create) {
    file_ = FileHandle(::open(
        FilePath().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600));
  }
  const bool written =
      file_.IsOpen() && WriteAll(file_.Descriptor(), text) && ::fdatasync(file_.Descriptor()) == 0;
  if (written && create) {
    SyncFolder(folder_);
    fileMade_ = true;
    waiting_.clear();
  }
  if (!written) Fail();
  return written;
}

void EditJournal::Fail() {
  if (!Active()) return;
  // A journal with a line missing would do the wrong edits again: it goes.
  failed_ = true;
  file_.Close();
  ::unlink(FilePath().c_str());
  UserInterface().Message(std::string("The edits of this session can no longer be recovered "
                                      "after a crash: the journal in ") +
                              folder_ + " could not be written." + kCrLf +
                              "Save the project to keep your edits.",
                          MessageIcon::Exclamation);
}

bool EditJournal::Append(const JournalWords& words) {
  if (!Active()) return false;
  // A copy changes nothing to recover: it waits for an edit to go with.
  if (!fileMade_ && words.size() > 1 && words[0] == "op" && words[1] == "copy") {
    waiting_.push_back(words);
  } else if (!WriteLines({words}, !fileMade_)) {
    return false;
  }
  if (!words.empty() && words[0] == "op") ++operations_;
  return true;
}

bool EditJournal::AppendSavePlan(const std::vector<JournalWords>& lines) {
  planPending_ = Active() && WriteLines(lines, !fileMade_);
  return planPending_;
}

void EditJournal::AbandonSavePlan() {
  planPending_ = false;
  Append({"save-abandoned"});
}

void EditJournal::Restart(std::vector<JournalWords> header) {
  if (folder_.empty()) return;
  file_.Close();
  ::unlink(FilePath().c_str());
  StartFrom(std::move(header));
}

std::string EditJournal::NewKeptName(const std::string& extension, int& descriptor) const {
  const std::string folder = folder_ + "/" + kKeptFolderName;
  ::mkdir(folder.c_str(), 0700);
  for (int number = 1; number < 1'000'000; ++number) {
    const std::string relative =
        std::string(kKeptFolderName) + "/" + std::to_string(number) + extension;
    const std::string path = folder_ + "/" + relative;
    descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor >= 0) return relative;
    if (errno != EEXIST) break;
  }
  return "";
}

std::string EditJournal::Keep(const std::string& path) {
  if (!Active()) return "";
  int descriptor = -1;
  const std::string relative = NewKeptName(fs::path(path).extension().string(), descriptor);
  if (relative.empty()) return "";
  FileHandle kept(descriptor);
  const std::string target = KeptPath(relative);
  // A file of this session is never changed in place once written: a second name is enough.
  if (path.rfind(folder_ + "/", 0) == 0) {
    kept.Close();
    ::unlink(target.c_str());
    if (::link(path.c_str(), target.c_str()) == 0) return relative;
    kept = FileHandle(
        ::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  }
  const FileHandle source(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  bool copied = source.IsOpen() && kept.IsOpen();
  char buffer[1 << 16];
  while (copied) {
    const ssize_t got = ::read(source.Descriptor(), buffer, sizeof buffer);
    if (got == 0) break;
    copied = got > 0 && WriteAll(kept.Descriptor(), std::string(buffer, static_cast<size_t>(got)));
  }
  copied = copied && ::fdatasync(kept.Descriptor()) == 0 && kept.Close();
  if (!copied) {
    ::unlink(target.c_str());
    return "";
  }
  return relative;
}

std::string EditJournal::KeepBytes(const std::string& content, const std::string& extension) {
  if (!Active()) return "";
  int descriptor = -1;
  const std::string relative = NewKeptName(extension, descriptor);
  if (relative.empty()) return "";
  FileHandle kept(descriptor);
  if (!WriteAll(kept.Descriptor(), content) || ::fdatasync(kept.Descriptor()) != 0 ||
      !kept.Close()) {
    ::unlink(KeptPath(relative).c_str());
    return "";
  }
  return relative;
}

std::string EditJournal::KeptPath(const std::string& relative) const {
  return folder_ + "/" + relative;
}

void EditJournal::Forget(const std::string& relative) {
  if (!relative.empty() && !folder_.empty()) ::unlink(KeptPath(relative).c_str());
}

EditJournal& Journal() {
  static EditJournal journal;
  return journal;
}

}  // namespace quorvane
