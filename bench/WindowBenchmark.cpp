// Figures of the editor window on a two-hour, 60-slide stereo presentation whose blocks lie
// in the source files: start-up to the first drawn window, a full redraw of a 1920-pixel
// view at three zooms with its count of document reads, and one mouse-move step of a drag.
#include <fcntl.h>
#include <unistd.h>

#include <QApplication>
#include <QTest>
#include <algorithm>
#include <array>
#include <iostream>
#include <utility>

#include "bench/BenchSupport.h"
#include "core/BatchInteraction.h"
#include "core/ProjectTables.h"
#include "platform/FileHandle.h"
#include "storage/BlockPeaks.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "storage/PeakBuilder.h"
#include "ui/Main.h"
#include "ui/PictureBox.h"
#include "ui/ViewGeometry.h"
#include "ui/ViewState.h"
#include "ui/WaveEditor_Frm.h"

using namespace quorvane;
using namespace quorvane::bench;

namespace {

constexpr int kRate = 44100;
constexpr int kSlides = 60;
constexpr int kSlideSeconds = 120;
constexpr int kViewPixels = 1920;

// What reading the same frames straight from the files costs: one pread per drawn line.
double PreadPeerMilliseconds(const std::vector<std::string>& tracks, int64_t lines) {
  std::vector<FileHandle> files;
  for (const auto& track : tracks) files.emplace_back(::open(track.c_str(), O_RDONLY));
  const int64_t framesPerTrack = static_cast<int64_t>(kSlideSeconds) * kRate;
  const int64_t step = framesPerTrack * kSlides / lines;
  std::vector<double> times;
  int32_t checksum = 0;
  for (int pass = 0; pass < 11; ++pass) {
    const auto started = Clock::now();
    for (int64_t line = 0; line < lines; ++line) {
      const int64_t frame = line * step;
      int16_t sample[2];
      const FileHandle& file = files[static_cast<size_t>(frame / framesPerTrack)];
      if (::pread(file.Descriptor(), sample, 4, 44 + (frame % framesPerTrack) * 4) == 4) {
        checksum += sample[0];
      }
    }
    times.push_back(Milliseconds(Clock::now() - started));
  }
  if (checksum == 42) std::cout << "";
  return Median(times);
}

// The median mouse-move step of a drag from the end edge of a selection at zoom all (every
// move is two block transfers per channel), and the document reads of the whole drag.
std::pair<double, int64_t> DragStep(WaveEditor_Frm& window, int32_t length) {
  View().ViewAll = true;
  Editor().SelStart = length / 4;
  Editor().SelEnd = length / 2;
  window.Refresh_Wave_View();
  window.Wave_Pic_MouseDown(1, PixelOf(Editor().SelEnd));
  window.ResetDocumentReads();
  std::vector<double> steps;
  for (int x = 100; x < 1800; x += 17) {
    const auto started = Clock::now();
    window.Wave_Pic_MouseMove(1, x);
    steps.push_back(Milliseconds(Clock::now() - started));
  }
  const int64_t reads = window.DocumentReads();
  window.Wave_Pic_MouseUp(1, 1800);
  Editor().SelStart = Editor().SelEnd = 0;
  return {Median(steps), reads};
}

double RedrawMilliseconds(WaveEditor_Frm& window) {
  std::vector<double> times;
  for (int pass = 0; pass < 11; ++pass) {
    const auto started = Clock::now();
    window.Refresh_Wave_View();
    times.push_back(Milliseconds(Clock::now() - started));
  }
  return Median(times);
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  const std::string folder = BenchFolder("window");
  const std::string project = WritePresentation(folder, kSlides, kSlideSeconds, kRate, kRate);
  const auto tracks = PresentationTracks(folder, kSlides);
  for (const auto& track : tracks) ReadWholeFile(track);
  BatchInteraction quiet(std::cerr);

  const auto opening = Clock::now();
  std::unique_ptr<EditorSession> session = EditorSession::Open(project, &quiet);
  if (!session) {
    std::cerr << "bench_window: the presentation did not open\n";
    return 1;
  }
  WaveEditor_Frm& window = session->Window();
  window.resize(kViewPixels, 700);
  window.show();
  if (!QTest::qWaitForWindowExposed(&window)) return 1;
  application.processEvents();
  const double startup = Milliseconds(Clock::now() - opening);
  const ProgramRun soxi = RunProgram([&] {
    std::vector<std::string> arguments{"soxi", "-D"};
    arguments.insert(arguments.end(), tracks.begin(), tracks.end());
    return arguments;
  }());
  Figure("Start-up to the first drawn window, 2 h in 60 slides", startup, "ms",
         "soxi reading the 60 headers", soxi.seconds * 1000.0, "ms");
  Limit(startup < 300.0, "start-up under 300 ms");

  const int32_t length = session->Document()->WavWaveINos;
  struct Zoom {
    const char* name;
    int32_t start, length;
  };
  const int32_t slide = static_cast<int32_t>(kSlideSeconds) * kRate;
  // Just under 512 samples a column is the widest view drawn from the samples themselves.
  const std::array zooms = {Zoom{"all", 1, length}, Zoom{"one slide", 30 * slide + 1, slide},
                            Zoom{"511 samples a column", 30 * slide + 1, 511 * (kViewPixels - 1)},
                            Zoom{"100 samples", 30 * slide + 1000, 100}};
  const auto showZoom = [&](const Zoom& zoom) {
    View().ViewAll = zoom.length == length;
    Editor().ViewStart = zoom.start;
    Editor().ViewLength = zoom.length;
    window.Refresh_Wave_View();
  };
  // While the source files' summaries are being made, the view draws from single samples.
  std::array<double, zooms.size()> fromPoints{};
  std::array<int64_t, zooms.size()> pointReads{};
  for (size_t z = 0; z < zooms.size(); ++z) {
    showZoom(zooms[z]);
    window.ResetDocumentReads();
    window.Refresh_Wave_View();
    pointReads[z] = window.DocumentReads();
    fromPoints[z] = RedrawMilliseconds(window);
  }
  const auto [buildingDragStep, buildingDragReads] = DragStep(window, length);
  const bool builtMeanwhile = PeaksPending();
  Figure("Refresh_Wave_View at zoom all while the summaries are made (" +
             std::to_string(pointReads[0]) + " document reads)",
         fromPoints[0], "ms", "pread of as many frames",
         PreadPeerMilliseconds(tracks, pointReads[0]), "ms");
  Limit(std::ranges::all_of(fromPoints, [](double ms) { return ms < 8.0; }),
        "redraw under 8 ms at every zoom while the summaries are made");
  Figure("One mouse-move step of a drag while the summaries are made", buildingDragStep, "ms",
         "a full redraw meanwhile", fromPoints[0], "ms");
  Limit(buildingDragStep < 1.0 && buildingDragReads == 0,
        "a drag step under 1 ms, no read, while the summaries are made");
  Limit(builtMeanwhile, "the summaries were still being made during those measurements");
  showZoom(zooms[0]);
  while (PeaksPending()) application.processEvents(QEventLoop::AllEvents, 5);
  window.Refresh_Wave_View();
  const double summariesReady = Milliseconds(Clock::now() - opening);
  Figure("All summaries of the session made, from opening", summariesReady, "ms",
         "start-up to the first drawn window", startup, "ms");
  Limit(summariesReady < 3000.0 && !window.DrawnFromPoints(), "summaries ready within 3 s");
  const double audioBytes = 2.0 * 2.0 * length;
  const auto held = static_cast<double>(PeakSummaryBytes(false));
  const auto inFiles = static_cast<double>(PeakSummaryBytes(true));
  Figure("Summaries in summary files, mapped as they are read", inFiles / 1e6, "MB", "the audio",
         audioBytes / 1e6, "MB");
  Figure("Summaries held in memory", held / 1e6, "MB", "the audio", audioBytes / 1e6, "MB");
  Limit(held + inFiles < 0.01 * audioBytes, "summaries under 1 % of the audio's size");

  for (size_t z = 0; z < zooms.size(); ++z) {
    showZoom(zooms[z]);
    const double redraw = RedrawMilliseconds(window);
    Figure(std::string("Refresh_Wave_View of a ") + std::to_string(View().ViewPixels) +
               "-pixel view, zoom " + zooms[z].name + ", summaries made",
           redraw, "ms", "the same redraw while they were made", fromPoints[z], "ms");
    Limit(redraw < 4.0 && !window.DrawnFromPoints(),
          std::string("redraw under 4 ms at zoom ") + zooms[z].name);
  }

  const auto [dragStep, dragReads] = DragStep(window, length);
  const double redraw = RedrawMilliseconds(window);
  Figure("One mouse-move step of a drag (" + std::to_string(dragReads) + " document reads)",
         dragStep, "ms", "a full redraw", redraw, "ms");
  Limit(dragStep < 1.0 && dragReads == 0, "a drag step under 1 ms, no read");
  // A slide boundary dragged in the marker strip (by the top of its flag, above the marker
  // flags that may share its pixel): each move only places the indicator.
  const int32_t boundary = Project().Slides[31].Start;
  window.MarkerDrawPic_MouseMove(0, PixelOf(boundary), 5);
  window.MarkerDrawPic_MouseDown(Qt::LeftButton, 0, PixelOf(boundary), 5);
  window.ResetDocumentReads();
  std::vector<double> flagSteps;
  for (int x = PixelOf(boundary) - 40; x < PixelOf(boundary) + 40; ++x) {
    const auto started = Clock::now();
    window.MarkerDrawPic_MouseMove(0, x, 5);
    flagSteps.push_back(Milliseconds(Clock::now() - started));
  }
  const int64_t flagReads = window.DocumentReads();
  window.MarkerDrawPic_MouseUp(PixelOf(boundary) + 20);
  Limit(Project().Slides[31].Start > boundary, "the boundary drag moved the boundary");
  Figure(
      "One mouse-move step of a boundary drag (" + std::to_string(flagReads) + " document reads)",
      Median(flagSteps), "ms", "a full redraw", RedrawMilliseconds(window), "ms");
  Limit(Median(flagSteps) < 1.0 && flagReads == 0, "a flag drag step under 1 ms, no read");
  session.reset();
  return AllWithinLimits() ? 0 : 1;
}
