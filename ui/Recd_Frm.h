// The recording dialog: records from a capture source of the sound server into a temporary
// WAV file in the session's working format, showing the recorded duration and a level meter
// per channel. Two 0.1-second buffers take turns on the device; a 10 ms timer started by
// the device's callback handles each filled buffer on this thread and appends it to the
// file. The source is chosen in a list of the server's sources and kept in the settings.
#pragma once

#include <QDialog>
#include <QTimer>
#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "devices/RecordTake.h"

class QComboBox;
class QLabel;
class QPushButton;

namespace quorvane {

class PictureBox;

// Set by the device's callback, cleared by the dialog's timer.
extern std::atomic<bool> RecBufferReady;

class Recd_Frm : public QDialog {
 public:
  // The session's working format.
  Recd_Frm(QWidget* parent, int32_t channels, int32_t rate, int32_t bits);
  ~Recd_Frm() override;

  bool OkClicked = false;
  std::string RecordFileName;

  // Prepares the dialog and opens the device; false (after a message) when none opened.
  bool FormInitilize();

  void Start_Btn_Click();
  void Done_Btn_Click();
  void Cancel_Btn_Click();
  void RecSrcBtn_Click();
  // A source chosen in the list: recorded from from now on, and kept in the settings.
  void RecSrc_Cmb_Click();
  void Rec_Timer_Timer();

  // Frames written so far, and buffers whose audio arrived with no buffer queued.
  int64_t FramesWritten() const { return take_.FramesWritten(); }
  int64_t BytesLost() const { return take_.BytesLost(); }
  // The sources in the list, in its order.
  const std::vector<CaptureSource>& Sources() const { return sources_; }
  // Where the sound settings programs are looked for, in order.
  static std::vector<std::string> VolumeControlFolders;

  QPushButton* Start_Btn = nullptr;
  QPushButton* Done_Btn = nullptr;
  QPushButton* Cancel_Btn = nullptr;
  QPushButton* RecSrcBtn = nullptr;
  QComboBox* RecSrc_Cmb = nullptr;
  QLabel* Fmt_Lbl = nullptr;
  QLabel* FmtSup_Lbl = nullptr;
  QLabel* Dur_Lbl = nullptr;
  QLabel* Rec_Stat_Lbl = nullptr;
  PictureBox* RecShowLPic = nullptr;
  PictureBox* RecShowRPic = nullptr;
  QTimer Rec_Timer;

 protected:
  void closeEvent(QCloseEvent* event) override;
  // F1 opens the help.
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void ClearMeters();
  void DrawMeter(PictureBox& meter, int peak);
  void ShowPeaks(const std::array<int, 2>& peaks);
  // Writes the buffers that came back and shows the duration and the levels.
  void HandleReturnedBuffers();
  // The meters from what the buffer being filled holds so far, so that they follow the
  // voice more closely than one whole buffer.
  void ShowLevelSoFar();
  // Fills the list and returns the source to record from: the kept one while the server
  // offers it, else the server's default.
  std::string ListSources();
  // Opens the take's stream on `source`.
  int32_t OpenDevice(const std::string& source);
  void CloseDevice();

  int32_t channels_;
  int32_t rate_;
  int32_t bits_;
  RecordTake take_;
  std::vector<CaptureSource> sources_;
  QTimer levelTimer_;
  double scale_ = 0;
};

}  // namespace quorvane
