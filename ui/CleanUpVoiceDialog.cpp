#include "ui/CleanUpVoiceDialog.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "core/Numbers.h"
#include "core/Settings.h"
#include "ui/DialogButtons.h"

namespace quorvane {

namespace {

constexpr const char* kSection = "Effects";
constexpr const char* kKey = "CleanUpVoice";

}  // namespace

CleanUpVoiceDialog::CleanUpVoiceDialog(QWidget* parent) : QDialog(parent) {
  setWindowTitle("Clean Up Voice");
  const std::string kept = SettingGet(kSection, kKey, "80,12");
  const size_t comma = kept.find(',');
  HighPassTxt = new QLineEdit(QString::fromStdString(kept.substr(0, comma)), this);
  HighPassTxt->setObjectName("HighPassTxt");
  StrengthTxt = new QLineEdit(
      QString::fromStdString(comma == std::string::npos ? "12" : kept.substr(comma + 1)), this);
  StrengthTxt->setObjectName("StrengthTxt");
  auto* column = new QVBoxLayout(this);
  auto* grid = new QGridLayout;
  auto* highpasstxtLabel = new QLabel("&High-pass filter (Hz):", this);
  highpasstxtLabel->setBuddy(HighPassTxt);
  grid->addWidget(highpasstxtLabel, 0, 0);
  grid->addWidget(HighPassTxt, 0, 1);
  grid->addWidget(new QLabel("0 for none, 20 to 300", this), 0, 2);
  auto* strengthtxtLabel = new QLabel("&Noise reduction (dB):", this);
  strengthtxtLabel->setBuddy(StrengthTxt);
  grid->addWidget(strengthtxtLabel, 1, 0);
  grid->addWidget(StrengthTxt, 1, 1);
  grid->addWidget(new QLabel("0 for none, up to 40", this), 1, 2);
  auto* help = new QLabel(
      "The filter takes out rumble and the hum of mains power below its frequency; the noise "
      "reduction lowers hiss and room noise by this much, leaving the voice as it is.",
      this);
  help->setWordWrap(true);
  grid->addWidget(help, 2, 0, 1, 3);
  column->addLayout(grid);
  AddOkCancelButtons(
      *this, *column, "OK", [this] { accept(); }, [this] { reject(); });
  setMinimumWidth(420);
  FixDialogSize(*this);
}

VoiceCleanUp CleanUpVoiceDialog::Values() const {
  return {LeadingNumber(HighPassTxt->text().toStdString()),
          LeadingNumber(StrengthTxt->text().toStdString())};
}

void CleanUpVoiceDialog::KeepValues() const {
  SettingPut(kSection, kKey,
             HighPassTxt->text().toStdString() + "," + StrengthTxt->text().toStdString());
}

}  // namespace quorvane
