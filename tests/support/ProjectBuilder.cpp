#include "tests/support/ProjectBuilder.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace quorvane::testing {

namespace {

void Line(std::string& text, const char* key, const std::optional<std::string>& value) {
  if (value) text += std::string(key) + "=" + *value + "\n";
}

void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
  if (!out.flush()) throw std::runtime_error("cannot write " + path);
}

std::string Trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string ProjectFileText(const ProjectPlan& plan) {
  std::string text = "[Project]\n";
  Line(text, "PresentationName", plan.presentationName);
  Line(text, "TargetFolder", plan.targetFolder);
  if (plan.writeSlideCount) {
    Line(text, "SlideCount",
         plan.slideCount ? plan.slideCount : std::to_string(plan.slides.size()));
  }
  Line(text, "BaseFrequency", plan.baseFrequency);
  Line(text, "BaseBits", plan.baseBits);
  Line(text, "LamePath", plan.lamePath);
  Line(text, "LameSettings", plan.lameSettings);
  for (size_t n = 1; n <= plan.slides.size(); ++n) {
    const SlidePlan& slide = plan.slides[n - 1];
    text += "\n[" + std::to_string(n) + "]\n";
    Line(text, "SlideTitle", slide.title);
    Line(text, "SlideTrack", slide.track);
    Line(text, "Duration", slide.duration);
    Line(text, "ClickMarkerTimes", slide.clicks);
    Line(text, "AutoMarkerTimes", slide.autos);
  }
  return text;
}

}  // namespace

std::string WriteProject(const std::string& path, const ProjectPlan& plan) {
  for (const SlidePlan& slide : plan.slides) {
    if (!slide.audio) continue;
    if (!plan.targetFolder || !slide.track) {
      throw std::logic_error("a slide with audio needs a target folder and a track name");
    }
    const std::string folder = Trimmed(*plan.targetFolder);
    std::filesystem::create_directories(folder);
    WriteBytes(folder + "/" + Trimmed(*slide.track), *slide.audio);
  }
  WriteBytes(path, ProjectFileText(plan));
  return path;
}

SlidePlan TrackSlide(const std::string& track, const std::string& audio,
                     const std::string& duration, std::optional<std::string> clicks,
                     std::optional<std::string> autos) {
  SlidePlan slide;
  slide.title = track + " title";
  slide.track = track;
  if (!duration.empty()) slide.duration = duration;
  slide.clicks = std::move(clicks);
  slide.autos = std::move(autos);
  slide.audio = audio;
  return slide;
}

std::optional<std::string> IniValue(const std::string& text, const std::string& section,
                                    const std::string& key) {
  std::istringstream in(text);
  bool inside = false;
  for (std::string line; std::getline(in, line);) {
    if (line.ends_with('\r')) line.pop_back();
    const size_t equals = line.find('=');
    if (line.starts_with('[')) {
      inside = line == "[" + section + "]";
    } else if (inside && equals != std::string::npos && Trimmed(line.substr(0, equals)) == key) {
      return Trimmed(line.substr(equals + 1));
    }
  }
  return std::nullopt;
}

}  // namespace quorvane::testing
