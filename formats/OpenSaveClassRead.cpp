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
#include "formats/WaveChunks.h"
#include "storage/BlockCarrBuffClass.h"
#include "storage/BlockList.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"

namespace quorvane {

namespace {

constexpr int64_t kLargestReadableBytes = 2'146'435'072;  // about 2 GB
constexpr int64_t kOpenEndedSearch = 2'147'483'635;       // search length when R says nothing
constexpr uint32_t kLoadingBarColor = 0x006400;           // dark green

std::string LoadingCaption(const std::string& fileName) { return "Error Loading " + fileName; }

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
  Say(std::string("This wav file is too large") + kCrLf + "Only about 2GB will be opened",
      kAppTitle);
  length = kLargestReadableBytes;
}

int64_t SearchLength(int32_t riffSize) {
  const int64_t length = static_cast<int64_t>(riffSize) - 12;
  return length <= 0 ? kOpenEndedSearch : length;
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

  BinaryFile file(fileName, BinaryFile::Mode::Read);
  int64_t fileLength = file.Length() & 0xFFFFFFFF;
  if (fileLength < 45) {
    Say("No wave Data found in file", LoadingCaption(fileName), MessageIcon::Critical);
    return fail();
  }
  // Big-endian "RIFX" files and "RF64" files, whose sizes may pass 4 GB, are decoded to
  // 16-bit PCM as compressed ones are.
  const bool bigEndian = IdAt(file, 0, "rifx");
  const bool decodedForm = bigEndian || IdAt(file, 0, "rf64");
  if (!IdAt(file, 0, "riff") && !decodedForm) {
    Say("\"RIFF\" chunk is not found in this file", LoadingCaption(fileName),
        MessageIcon::Critical);
    return fail();
  }
  const int32_t riffSize = file.ReadInt32(4);
  int64_t searchLength = decodedForm ? kOpenEndedSearch : SearchLength(riffSize);
  // Counted in 64 bits: a size near -2^31 must not overflow.
  if (!decodedForm && static_cast<int64_t>(riffSize) - 12 > 0 && riffSize > fileLength) {
    Say(std::string("\"RIFF\" chunk is shown as bigger then the file size.") + kCrLf +
            "If loading this file failes you can try renaming it to .raw file",
        LoadingCaption(fileName));
  }
  if (!IdAt(file, 8, "wave")) {
    Say("\"RIFF\" chunk is not starting with \"WAVE\" in this file", LoadingCaption(fileName),
        MessageIcon::Critical);
    return fail();
  }
  ChunkPlace format = FindChunk("fmt ", file, 12, searchLength);
  if (!format.Found() || format.DataSize < 16) {
    Say(format.Found() ? "Format chunk is smaller then required in this file"
                       : "Format chunk is not found in this file",
        LoadingCaption(fileName));
    return fail();
  }

  const auto field16 = [&](int64_t offset) -> uint16_t {
    return bigEndian ? static_cast<uint16_t>(file.ReadByte(offset) << 8 | file.ReadByte(offset + 1))
                     : file.ReadUint16(offset);
  };
  const uint16_t formatTag = field16(format.DataOffset);
  // 24 and 32-bit integer PCM, whose frames are as wide as their channels say, is decoded
  // to 16 bits; other sizes are refused below.
  const uint16_t wideBits = field16(format.DataOffset + 14);
  const bool widePcm =
      formatTag == 1 && (wideBits == 24 || wideBits == 32) &&
      field16(format.DataOffset + 12) == field16(format.DataOffset + 2) * wideBits / 8;
  std::string source = fileName;
  DecodedFile decoded;
  if (formatTag == 1 && !decodedForm && !widePcm) {
    CapLength(fileLength);
    CheckFreeDisk(2 * fileLength);
  } else {
    // Compressed audio: decode it into a temporary PCM file and describe that one.
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
    fileLength = file.Length() & 0xFFFFFFFF;
    if (fileLength < 45) {
      Say("No wave Data found in file", LoadingCaption(fileName));
      return fail();
    }
    CapLength(fileLength);
    CheckFreeDisk(2 * fileLength);
    searchLength = SearchLength(file.ReadInt32(4));
    format = FindChunk("fmt ", file, 12, searchLength);
    if (!format.Found() || format.DataSize < 16) {
      Say(format.Found() ? "Format chunk is smaller then required in the decoded file"
                         : "Format chunk is not found in the decoded file",
          "Error Loading ");
      return fail();
    }
    decoder.reset();
  }

  const ChunkPlace data = FindChunk("data", file, 12, searchLength);
  if (!data.Found()) {
    Say("Data chunk is not found in this file", LoadingCaption(fileName));
    return fail();
  }
  const int32_t sampleRate = file.ReadInt32(format.DataOffset + 4);
  if (sampleRate < 1000 || sampleRate > 200000) {
    Say("Sampling rate " + DecimalText(sampleRate) + " Hz is not supported", kAppTitle);
    return fail();
  }
  document.StorageReset();
  document.WavFmtFreq = sampleRate;

  const int32_t channels = file.ReadByte(format.DataOffset + 2);
  if (channels != 1 && channels != 2) {
    Say("Channel info invalid at byte location 23", LoadingCaption(source));
    return fail();
  }
  document.WavFmtChannel = channels;
  const int32_t bits = file.ReadUint16(format.DataOffset + 14);
  if (bits != 8 && bits != 16) {
    Say("Bits per sample " + DecimalText(bits) +
            " is invalid or not supported (at byte location 35)",
        LoadingCaption(source));
    return fail();
  }

  const int32_t frameBytes = bits / 8 * channels;
  int64_t frames = RoundHalfEven64(static_cast<double>(data.DataSize) / frameBytes);
  if (data.DataSize < frameBytes) {
    Say("Data chunk is too small this file", LoadingCaption(fileName));
    return fail();
  }
  const int64_t framesPresent = (fileLength - data.DataOffset) / frameBytes;
  if (frames > framesPresent) {
    const auto seconds = [sampleRate](int64_t count) {
      return FormatThreeDecimals(static_cast<float>(count) / static_cast<float>(sampleRate));
    };
    Say(std::string("Header shows that the size of audio is") + kCrLf + DecimalText(frames) +
            " Samples (" + seconds(frames) + " Seconds)" + kCrLf +
            "But as per the size of the file it will be" + kCrLf + DecimalText(framesPresent) +
            " Samples (" + seconds(framesPresent) + " Seconds)",
        kAppTitle);
    frames = framesPresent;
  }

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
