// Reading WAV files into a document without copying their samples.
#include <algorithm>
#include <optional>

#include "core/DiskSpace.h"
#include "core/Environment.h"
#include "core/ErrorReport.h"
#include "core/FileHelpers.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "formats/BinaryFile.h"
#include "formats/CodecLstFrm.h"
#include "formats/OpenSaveAcmClass.h"
#include "formats/OpenSaveClass.h"
#include "formats/WaveFaults.h"
#include "formats/WaveLayout.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

constexpr int64_t kLargestReadableBytes = 2'146'435'072;  // about 2 GB
constexpr uint32_t kLoadingBarColor = 0x006400;           // dark green

// The decoded copy of a compressed file, removed again on every way out of the reader
// unless the document took it over.
class DecodedFile {
 public:
  DecodedFile() = default;
  ~DecodedFile() {
    if (!name_.empty()) DeleteFileIfExists(name_);
  }
  DecodedFile(const DecodedFile&) = delete;
  DecodedFile& operator=(const DecodedFile&) = delete;
  void Set(const std::string& name) { name_ = name; }
  void Keep() { name_.clear(); }

 private:
  std::string name_;
};

void Say(const std::string& text, const std::string& caption,
         MessageIcon icon = MessageIcon::None) {
  UserInterface().Message(text, icon, caption);
}

// Warns about a file beyond what can be read and cuts its length there.
void CapLength(int64_t& length) {
  if (length <= kLargestReadableBytes) return;
  const WaveMessage message = TooLargeMessage();
  Say(message.text, message.caption, message.icon);
  length = kLargestReadableBytes;
}

void ShowCodecFailure(uint16_t formatTag) {
  std::string hex;
  std::string name;
  std::string company;
  std::string description;
  CodecLstFrm().GetCodedInfo(static_cast<int16_t>(formatTag), hex, name, company, description);
  Say(std::string("Failed to decode the compressed wave file.") + kCrLf +
          "You need to install the codec needed to open this file." + kCrLf +
          "Contact us if you need help and write us the format tag number." + kCrLf + kCrLf +
          "Format Tag No = " + DecimalText(formatTag) + kCrLf + "Format Tag Hex No = " + hex +
          kCrLf + "Format Name = " + name + kCrLf + "Format's Company Name = " + company + kCrLf +
          "Codec Description = " + description,
      kAppTitle);
}

}  // namespace

OpenSaveClass::OpenSaveClass()
    : FileBlockLen(BlockCarrBuffClass::BlockSizeForBudget(Env().MemoryBudget)) {}

bool OpenSaveClass::FileLoadWave(FileMemoClass& FilMemOb, const std::string& FileName1) {
  const ShownProgress progress(kLoadingBarColor);
  try {
    return LoadWaveFile(FilMemOb, FileName1);
  } catch (const std::exception& error) {
    Say(ErrorDescription(error), "Wave file load error");
    return false;
  }
}

bool OpenSaveClass::LoadWaveFile(FileMemoClass& document, const std::string& fileName) {
  const auto fail = [] {
    UserInterface().Progress().SetIsVisible(false);
    Say("Wave file loading failed", kAppTitle);
    return false;
  };
  if (Trim(fileName).empty() || !FileExists(fileName)) return fail();

  std::string source = fileName;
  const auto tell = [&](const WaveMessage& message) {
    Say(message.text, message.caption, message.icon);
  };
  const auto refuse = [&](const WaveLayout& layout) {
    tell(WaveFaultMessage(layout, fileName, source));
    return fail();
  };

  BinaryFile file(fileName, BinaryFile::Mode::Read);
  WaveLayout layout = ReadWaveHead(file, false);
  if (layout.RiffBeyondFile) tell(RiffBeyondFileMessage(fileName));
  if (layout.Fault != WaveFault::None) return refuse(layout);

  DecodedFile decoded;
  if (!layout.ReadInPlace()) {
    // Anything but 8 or 16-bit PCM: decode it into a temporary PCM file and describe that one.
    const uint16_t formatTag = layout.FormatTag;
    file.Close();
    ReleaseOriginalFileByName(fileName);
    source = NewTempFileName("wav");
    decoded.Set(source);
    std::optional<OpenSaveAcmClass> decoder(std::in_place);
    if (!decoder->HandleReady) {
      UserInterface().Progress().SetIsVisible(false);
      return false;
    }
    const auto codecFailure = [&] {
      decoder.reset();
      UserInterface().Progress().SetIsVisible(false);
      ShowCodecFailure(formatTag);
      return false;
    };
    if (!decoder->AcmDecodeFile(fileName, source, 0.8F)) return codecFailure();
    if (!FileExists(source)) {
      Say(std::string("There was some problem opening this compressed wave file.") + kCrLf +
              "The decodeing was started but could not continue." + kCrLf +
              "If the free space in the disk is low, you can try again by freeing up the space.",
          kAppTitle);
      return codecFailure();
    }
    file = BinaryFile(source, BinaryFile::Mode::Read);
    layout = ReadWaveHead(file, true);
    if (layout.Fault == WaveFault::DecodedNoWaveData) return refuse(layout);
    CapLength(layout.FileLength);
    CheckFreeDisk(2 * layout.FileLength);
    if (layout.Fault != WaveFault::None) return refuse(layout);
    decoder.reset();
  } else {
    CapLength(layout.FileLength);
    CheckFreeDisk(2 * layout.FileLength);
  }

  ReadWaveBody(file, layout);
  // The document takes the rate, then the channels, as each passes its check: a file
  // refused for a later value has emptied it.
  if (layout.Fault != WaveFault::NoData && layout.Fault != WaveFault::RateUnsupported) {
    document.StorageReset();
    document.WavFmtFreq = layout.Rate;
    if (layout.Fault != WaveFault::BadChannels) document.WavFmtChannel = layout.Channels;
  }
  if (layout.Fault != WaveFault::None) return refuse(layout);
  const int32_t channels = layout.Channels;
  const int32_t bits = layout.Bits;
  const int32_t sampleRate = layout.Rate;
  const int32_t frameBytes = bits / 8 * channels;
  int64_t frames = layout.Frames;
  if (frames > layout.FramesPresent) {
    tell(DataBeyondFileMessage(layout));
    frames = layout.FramesPresent;
  }
  const ChunkPlace data = layout.Data;

  BlockCarrBuffClass left;
  BlockCarrBuffClass right;
  const int32_t entry = RegisterOriginalFile(source, channels, bits, sampleRate);
  decoded.Keep();  // the block list removes it once no block uses it
  document.OrgRoFileInUse = entry;
  document.WavFmtBits = bits;

  // Every run covers the same number of source bytes, whatever the format.
  const int64_t run = static_cast<int64_t>(FileBlockLen) * 2 / frameBytes;
  std::vector<int32_t> leftBlocks;
  std::vector<int32_t> rightBlocks;
  const auto describe = [&](int64_t first, int64_t length, int64_t byteOffset) {
    return AddOriginalFileRun(entry, static_cast<int32_t>(byteOffset + 1),
                              static_cast<int32_t>(first + 1), static_cast<int32_t>(length));
  };
  for (int64_t i = 0; i < frames; i += run) {
    UserInterface().Progress().SetCurrentProgress(static_cast<float>(i) /
                                                  static_cast<float>(frames));
    const int64_t length = std::min(run, frames - i);
    const int64_t offset = data.DataOffset + i * frameBytes;
    const int32_t leftBlock = describe(i, length, offset);
    leftBlocks.push_back(leftBlock);
    if (channels == 2) {
      const int32_t rightBlock = describe(i, length, offset + frameBytes / 2);
      rightBlocks.push_back(rightBlock);
      RegisterChannelPair(leftBlock, rightBlock);
    }
  }
  left.BuffBlocksPutFresh(leftBlocks);
  if (channels == 2) right.BuffBlocksPutFresh(rightBlocks);
  file.Close();

  document.SwitchUndoOff = true;
  document.WaveDataInsert(1, channels == 1 ? 1 : 0, &left, &right, "", true);
  document.SwitchUndoOff = false;
  Editor().WaveChanged = false;
  return true;
}

}  // namespace quorvane
