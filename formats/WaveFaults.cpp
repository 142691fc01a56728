#include "formats/WaveFaults.h"

#include "core/Numbers.h"

namespace quorvane {

namespace {

enum class Caption { LoadingFile, LoadingSource, Program, LoadingNothing };

struct FaultText {
  WaveFault fault;
  const char* text;  // "{}" stands for the value the fault is about
  Caption caption;
  MessageIcon icon;
};

constexpr FaultText kFaultTexts[] = {
    {WaveFault::NoWaveData, "No wave Data found in file", Caption::LoadingFile,
     MessageIcon::Critical},
    {WaveFault::NoRiff, "\"RIFF\" chunk is not found in this file", Caption::LoadingFile,
     MessageIcon::Critical},
    {WaveFault::NotWave, "\"RIFF\" chunk is not starting with \"WAVE\" in this file",
     Caption::LoadingFile, MessageIcon::Critical},
    {WaveFault::NoFormat, "Format chunk is not found in this file", Caption::LoadingFile,
     MessageIcon::None},
    {WaveFault::SmallFormat, "Format chunk is smaller then required in this file",
     Caption::LoadingFile, MessageIcon::None},
    {WaveFault::NoData, "Data chunk is not found in this file", Caption::LoadingFile,
     MessageIcon::None},
    {WaveFault::RateUnsupported, "Sampling rate {} Hz is not supported", Caption::Program,
     MessageIcon::None},
    {WaveFault::BadChannels, "Channel info invalid at byte location 23", Caption::LoadingSource,
     MessageIcon::None},
    {WaveFault::BadBits, "Bits per sample {} is invalid or not supported (at byte location 35)",
     Caption::LoadingSource, MessageIcon::None},
    {WaveFault::SmallData, "Data chunk is too small this file", Caption::LoadingFile,
     MessageIcon::None},
    {WaveFault::DecodedNoWaveData, "No wave Data found in file", Caption::LoadingFile,
     MessageIcon::None},
    {WaveFault::DecodedNoFormat, "Format chunk is not found in the decoded file",
     Caption::LoadingNothing, MessageIcon::None},
    {WaveFault::DecodedSmallFormat, "Format chunk is smaller then required in the decoded file",
     Caption::LoadingNothing, MessageIcon::None},
};

std::string LoadingCaption(const std::string& fileName) { return "Error Loading " + fileName; }

std::string Seconds(int64_t frames, int32_t rate) {
  return FormatThreeDecimals(static_cast<float>(frames) / static_cast<float>(rate));
}

}  // namespace

WaveMessage WaveFaultMessage(const WaveLayout& layout, const std::string& fileName,
                             const std::string& source) {
  for (const FaultText& entry : kFaultTexts) {
    if (entry.fault != layout.Fault) continue;
    std::string text = entry.text;
    const size_t value = text.find("{}");
    if (value != std::string::npos) {
      const int32_t number = layout.Fault == WaveFault::BadBits ? layout.Bits : layout.Rate;
      text.replace(value, 2, DecimalText(number));
    }
    switch (entry.caption) {
      case Caption::LoadingFile:
        return {text, LoadingCaption(fileName), entry.icon};
      case Caption::LoadingSource:
        return {text, LoadingCaption(source), entry.icon};
      case Caption::LoadingNothing:
        return {text, LoadingCaption(""), entry.icon};
      case Caption::Program:
        return {text, kAppTitle, entry.icon};
    }
  }
  return {};
}

WaveMessage RiffBeyondFileMessage(const std::string& fileName) {
  return {std::string("\"RIFF\" chunk is shown as bigger than the file size.") + kCrLf +
              "The file may be cut short. If loading it fails, save it again from the program "
              "that made it.",
          LoadingCaption(fileName), MessageIcon::None};
}

WaveMessage TooLargeMessage() {
  return {std::string("This wav file is too large") + kCrLf + "Only about 2GB will be opened",
          kAppTitle, MessageIcon::None};
}

WaveMessage DataBeyondFileMessage(const WaveLayout& layout) {
  return {std::string("Header shows that the size of audio is") + kCrLf +
              DecimalText(layout.Frames) + " Samples (" + Seconds(layout.Frames, layout.Rate) +
              " Seconds)" + kCrLf + "But as per the size of the file it will be" + kCrLf +
              DecimalText(layout.FramesPresent) + " Samples (" +
              Seconds(layout.FramesPresent, layout.Rate) + " Seconds)",
          kAppTitle, MessageIcon::None};
}

}  // namespace quorvane
