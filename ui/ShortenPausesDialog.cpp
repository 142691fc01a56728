#include "ui/ShortenPausesDialog.h"

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
constexpr const char* kKey = "ShortenPauses";

}  // namespace

ShortenPausesDialog::ShortenPausesDialog(QWidget* parent) : QDialog(parent) {
  setWindowTitle("Shorten Pauses");
  const std::string kept = SettingGet(kSection, kKey, "0.8,-45");
  const size_t comma = kept.find(',');
  LongestTxt = new QLineEdit(QString::fromStdString(kept.substr(0, comma)), this);
  LongestTxt->setObjectName("LongestTxt");
  QuietTxt = new QLineEdit(
      QString::fromStdString(comma == std::string::npos ? "-45" : kept.substr(comma + 1)), this);
  QuietTxt->setObjectName("QuietTxt");
  auto* column = new QVBoxLayout(this);
  auto* grid = new QGridLayout;
  auto* longesttxtLabel = new QLabel("Longest &pause (seconds):", this);
  longesttxtLabel->setBuddy(LongestTxt);
  grid->addWidget(longesttxtLabel, 0, 0);
  grid->addWidget(LongestTxt, 0, 1);
  grid->addWidget(new QLabel("0.1 to 10.0", this), 0, 2);
  auto* quiettxtLabel = new QLabel("&Quieter than (dBFS):", this);
  quiettxtLabel->setBuddy(QuietTxt);
  grid->addWidget(quiettxtLabel, 1, 0);
  grid->addWidget(QuietTxt, 1, 1);
  grid->addWidget(new QLabel("-90 to -10", this), 1, 2);
  auto* help = new QLabel(
      "Every stretch quieter than this level and longer than the longest pause is shortened "
      "to it; its middle goes, so the words around it stay whole. Markers and slide "
      "boundaries move with the audio.",
      this);
  help->setWordWrap(true);
  grid->addWidget(help, 2, 0, 1, 3);
  column->addLayout(grid);
  AddOkCancelButtons(
      *this, *column, "OK", [this] { accept(); }, [this] { reject(); });
  setMinimumWidth(420);
  FixDialogSize(*this);
}

PauseShortening ShortenPausesDialog::Values() const {
  return {LeadingNumber(LongestTxt->text().toStdString()),
          LeadingNumber(QuietTxt->text().toStdString())};
}

void ShortenPausesDialog::KeepValues() const {
  SettingPut(kSection, kKey,
             LongestTxt->text().toStdString() + "," + QuietTxt->text().toStdString());
}

}  // namespace quorvane
