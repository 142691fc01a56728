#include "editing/ClipboardExchange.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "core/Environment.h"
#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "editing/ClipboardAudio.h"
#include "editing/SampleMapping.h"
#include "editing/TextClipboard.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockList.h"
#include "storage/EditorContext.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

constexpr size_t kClipFields = 7;
constexpr const char* kPasteFailed = "No Waveform found (or invalid data) in Clipboard";

// The clip buffers live in the editor's context from a copy until ClipboardRelease.
BlockCarrBuffClass& ClipBuffer(std::unique_ptr<BlockCarrBuffClass>& buffer) {
  if (!buffer) buffer = std::make_unique<BlockCarrBuffClass>();
  return *buffer;
}

BlockCarrBuffClass& ClipLeft() { return ClipBuffer(Context().ClipLeft); }
BlockCarrBuffClass& ClipRight() { return ClipBuffer(Context().ClipRight); }

void DropClipBuffers() {
  Context().ClipLeft.reset();
  Context().ClipRight.reset();
}

// The clipboard text split at ",". A folder holding "," would split into more fields: the
// last field takes the rest of the text, so such a folder reads back whole.
std::vector<std::string> ClipFields(const std::string& text) {
  std::vector<std::string> fields;
  size_t at = 0;
  while (fields.size() + 1 < kClipFields) {
    const size_t comma = text.find(',', at);
    if (comma == std::string::npos) break;
    fields.push_back(text.substr(at, comma - at));
    at = comma + 1;
  }
  fields.push_back(text.substr(at));
  return fields;
}

std::string DescriptionFile(const std::string& folder, bool first) {
  return folder + (first ? "/InfoLeft.dat" : "/InfoRight.dat");
}

void WriteDescription(const std::string& path, const std::vector<int32_t>& descriptor) {
  std::vector<unsigned char> bytes;
  bytes.reserve(descriptor.size() * 4);
  for (const int32_t value : descriptor) {
    const auto word = static_cast<uint32_t>(value);
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back((word >> shift) & 0xFF);
  }
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) ThrowErrno("Cannot write " + path);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  if (!file) ThrowError(kErrorDiskFull, "Disk full");
}

std::vector<int32_t> ReadDescription(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) ThrowError(kErrorFileNotFound, "File not found: " + path);
  const auto next = [&file](int32_t& value) {
    unsigned char bytes[4] = {};
    if (!file.read(reinterpret_cast<char*>(bytes), 4)) return false;
    value = static_cast<int32_t>(bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) |
                                 (static_cast<uint32_t>(bytes[3]) << 24));
    return true;
  };
  int32_t last = 0;
  if (!next(last) || last < 0) ThrowError(62, "Input past end of file");
  std::vector<int32_t> descriptor{last};
  for (int32_t n = 1; n <= last; ++n) {
    int32_t value = 0;
    if (!next(value)) ThrowError(62, "Input past end of file");
    descriptor.push_back(value);
  }
  return descriptor;
}

// The clip buffer adopts the blocks that the description file lists, taken over from the
// files of the editor that made the copy.
void AdoptDescription(const std::string& path, BlockCarrBuffClass& clip) {
  clip.BuffBlocksPutFresh(DescriptorToBlocks(ReadDescription(path), true));
}

void CopyChannel(const BlockCarrBuffClass& buffer, BlockCarrBuffClass& clip,
                 const std::string& descriptionFile) {
  std::vector<int32_t> blocks;
  buffer.BuffBlocksGet(blocks);
  for (const int32_t block : blocks) SaveBlockCopy(block);
  buffer.BuffBlocksGetCopy(blocks);
  clip.BuffBlocksPutFresh(blocks);
  clip.BuffBlocksGet(blocks);
  WriteDescription(descriptionFile, BlocksToDescriptor(blocks));
}

void CopyOfClip(const BlockCarrBuffClass& clip, BlockCarrBuffClass& target) {
  std::vector<int32_t> blocks;
  clip.BuffBlocksGetCopy(blocks);
  target.BuffBlocksPutFresh(blocks);
}

int32_t NewClipIdentifier() {
  std::mt19937 generator(
      static_cast<uint32_t>(std::chrono::high_resolution_clock::now().time_since_epoch().count()));
  const double uniform = std::uniform_real_distribution<double>(0.0, 1.0)(generator);
  return RoundHalfEven(uniform * 16000000.0);
}

}  // namespace

bool ClipboardHoldsClip() {
  std::vector<std::string> fields = ClipFields(SystemClipboard().Text());
  return !fields.empty() && fields[0] == kClipTag;
}

namespace {

bool PasteFailed() {
  UserInterface().Message(kPasteFailed, MessageIcon::None, "Get Wave Form from Clipboard Failed");
  return false;
}

bool PasteClip(const FileMemoClass& document, BlockCarrBuffClass& LeftBuffer,
               BlockCarrBuffClass& RightBuffer, int32_t Channels) {
  const std::string text = SystemClipboard().Text();
  if (text.empty()) return PasteFailed();
  std::vector<std::string> fields = ClipFields(text);
  fields.resize(kClipFields);
  if (fields[0] != kClipTag) return PasteFailed();
  const int32_t channelCount = RoundHalfEven(LeadingNumber(fields[1]));
  const int32_t length = RoundHalfEven(LeadingNumber(fields[2]));
  if (length < 1) return PasteFailed();
  const int32_t bits = RoundHalfEven(LeadingNumber(fields[3]));
  const int32_t rate = RoundHalfEven(LeadingNumber(fields[4]));
  if (rate != document.WavFmtFreq) {
    const std::string question =
        std::string("The sampling rate of the audio found in clipboard is different") + kCrLf +
        fields[4] + " Hz" + kCrLf + "This will be pasted with different pitch and duration" +
        kCrLf + "It is recommended to make the formats same before copying" + kCrLf +
        "Do you wish to proceed any way?";
    const MessageAnswer answer = UserInterface().MsgBox(
        MessageRequest{question, kAppTitle, MessageIcon::Question, MessageButtons::YesNo, 1});
    if (answer != MessageAnswer::Yes) return PasteFailed();
  }
  const size_t colon = fields[5].find(':');
  const int32_t identifier =
      colon == std::string::npos ? 0 : RoundHalfEven(LeadingNumber(fields[5].substr(colon + 1)));
  if (identifier != Context().ClipPointer) {
    Context().ClipPointer = 0;
    DropClipBuffers();
    AdoptDescription(DescriptionFile(fields[6], true), ClipLeft());
    if (fields[1] == "2") AdoptDescription(DescriptionFile(fields[6], false), ClipRight());
    Context().ClipPointer = identifier;
  }
  if (channelCount == 1) {
    if (Channels == 0 || Channels == 1) CopyOfClip(ClipLeft(), LeftBuffer);
    if (Channels == 0 || Channels == 2) CopyOfClip(ClipLeft(), RightBuffer);
  } else if (channelCount == 2) {
    CopyOfClip(ClipLeft(), LeftBuffer);
    CopyOfClip(ClipRight(), RightBuffer);
  } else {
    return PasteFailed();
  }
  const EffectProgress noProgress(UserInterface().Progress().CurrentProgress(), 0.0F, 1);
  if (bits == 8 && document.WavFmtBits == 16) {
    SampleTable table{};
    for (int32_t s = -32768; s <= 32767; ++s) {
      table[static_cast<size_t>(s + 32768)] = static_cast<int16_t>(s * 255);
    }
    MapCarrierSamples(LeftBuffer, table, noProgress);
    MapCarrierSamples(RightBuffer, table, noProgress);
  } else if (bits == 16 && document.WavFmtBits == 8) {
    SampleTable table{};
    for (int32_t s = -32768; s <= 32767; ++s) {
      table[static_cast<size_t>(s + 32768)] = static_cast<int16_t>(RoundHalfEven(s / 256.0));
    }
    MapCarrierSamples(LeftBuffer, table, noProgress);
    MapCarrierSamples(RightBuffer, table, noProgress);
  }
  return true;
}

}  // namespace

int32_t ClipPointer() { return Context().ClipPointer; }

std::string ClipboardFolder() {
  const std::string& settings = Env().SettingsFile;
  if (settings.empty()) return Env().AppPath;
  return std::filesystem::path(settings).parent_path().string();
}

bool ClipboardCopy(int32_t Channels, int32_t BitsPerSample, int32_t SampleRate,
                   const BlockCarrBuffClass& LeftBuffer, const BlockCarrBuffClass& RightBuffer) {
  try {
    DropClipBuffers();
    const std::string folder = ClipboardFolder();
    const BlockCarrBuffClass& first = Channels == 2 ? RightBuffer : LeftBuffer;
    CopyChannel(first, ClipLeft(), DescriptionFile(folder, true));
    if (Channels == 0) CopyChannel(RightBuffer, ClipRight(), DescriptionFile(folder, false));
    Context().ClipPointer = NewClipIdentifier();
    const std::string text = std::string(kClipTag) + "," + (Channels == 0 ? "2" : "1") + "," +
                             DecimalText(first.WaveINos) + "," + DecimalText(BitsPerSample) + "," +
                             DecimalText(SampleRate) +
                             ",ClipPointer:" + DecimalText(Context().ClipPointer) + "," + folder;
    // Made from the clip, while it is still this editor's, when a program asks.
    std::function<std::string()> wav;
    if (first.WaveINos <= int64_t{kLongestClipboardWavSeconds} * SampleRate) {
      wav = [identifier = Context().ClipPointer, stereo = Channels == 0, BitsPerSample,
             SampleRate] {
        if (identifier != Context().ClipPointer) return std::string();
        return CarriersAsWav(ClipLeft(), stereo ? &ClipRight() : nullptr, BitsPerSample,
                             SampleRate);
      };
    }
    SystemClipboard().Clear();
    SystemClipboard().SetTextAndAudio(text, std::move(wav));
    return true;
  } catch (const std::exception& error) {
    UserInterface().Message(ErrorDescription(error), MessageIcon::None, "Error Copying");
    return false;
  }
}

bool ClipboardPaste(const FileMemoClass& document, BlockCarrBuffClass& LeftBuffer,
                    BlockCarrBuffClass& RightBuffer, int32_t Channels) {
  ProgressDisplay& progress = UserInterface().Progress();
  progress.SetIsVisible(true);
  bool pasted = false;
  try {
    pasted = PasteClip(document, LeftBuffer, RightBuffer, Channels);
  } catch (const std::exception& error) {
    UserInterface().Message(ErrorDescription(error), MessageIcon::None,
                            "Get Wave Form from ClipBoard Failed");
  }
  progress.SetIsVisible(false);
  return pasted;
}

void ClipboardRelease() {
  const std::string text = SystemClipboard().Text();
  const std::vector<std::string> fields = ClipFields(text);
  if (fields.size() == kClipFields && fields[0] == kClipTag) {
    const size_t colon = fields[5].find(':');
    const int32_t identifier =
        colon == std::string::npos ? 0 : RoundHalfEven(LeadingNumber(fields[5].substr(colon + 1)));
    if (identifier == Context().ClipPointer) SystemClipboard().Clear();
  }
  Context().ClipPointer = 0;
  DropClipBuffers();
}

}  // namespace quorvane
