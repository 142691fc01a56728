#include "ui/LevelSlidesDialog.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <cmath>

#include "core/ErrorReport.h"
#include "core/Interaction.h"
#include "core/Numbers.h"
#include "storage/FileMemoClass.h"
#include "ui/DialogButtons.h"

namespace quorvane {

namespace {

QString Decibels(double value) {
  return std::isfinite(value) ? QString::fromStdString(FormatOneDecimal(value)) : "silent";
}

QTableWidgetItem* Cell(const QString& text) {
  auto* item = new QTableWidgetItem(text);
  item->setFlags(item->flags() & ~Qt::ItemIsEditable);
  item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
  return item;
}

}  // namespace

LevelSlidesDialog::LevelSlidesDialog(QWidget* parent, FileMemoClass& document)
    : QDialog(parent), document_(document) {
  setWindowTitle("Level Slides");
  auto* column = new QVBoxLayout(this);

  auto* targetRow = new QHBoxLayout;
  targetRow->addWidget(new QLabel("Target loudness (LUFS):", this));
  target_ = new QLineEdit(this);
  target_->setObjectName("TargetTxt");
  target_->setText(
      QString::fromStdString(FormatOneDecimal(DefaultLoudnessTarget(document_.WavFmtChannel))));
  targetRow->addWidget(target_);
  targetRow->addWidget(new QLabel("True peak at most -1 dBTP", this), 1);
  column->addLayout(targetRow);

  table_ = new QTableWidget(0, 4, this);
  table_->setObjectName("SlidesTbl");
  table_->setHorizontalHeaderLabels({"Slide", "Before (LUFS)", "After (LUFS)", "True peak"});
  table_->verticalHeader()->hide();
  column->addWidget(table_);

  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  level_ = new QPushButton("Level", this);
  level_->setObjectName("LevelBtn");
  level_->setDefault(true);
  auto* close = new QPushButton("Close", this);
  close->setObjectName("CloseBtn");
  buttons->addWidget(level_);
  buttons->addWidget(close);
  column->addLayout(buttons);
  connect(level_, &QPushButton::clicked, this, [this] { LevelBtn_Click(); });
  connect(close, &QPushButton::clicked, this, [this] { accept(); });

  try {
    const BusyPointer busy;
    ShowMeasured(MeasureSlideLoudness(document_, AllSlides()));
    measured_ = true;
  } catch (const std::exception& error) {
    UserInterface().Message(ErrorDescription(error), MessageIcon::Exclamation);
  }
  // Level can run, again after leveling too, whenever a slide is checked.
  connect(table_, &QTableWidget::itemChanged, this, [this] { EnableLevelBtn(); });
  EnableLevelBtn();
  FitTable();
  FixDialogSize(*this);
}

void LevelSlidesDialog::FitTable() {
  // Each column as wide as the longest text it will show, the results after leveling
  // included, and the table as tall as its rows (up to twelve, then it scrolls): the dialog
  // keeps one size and the table no empty strip.
  const QFontMetrics metrics = table_->fontMetrics();
  const std::array<QString, 4> widest = {"  999", "Before (LUFS)", "-70.0 (peak -1 dBTP)",
                                         "True peak"};
  QHeaderView* header = table_->horizontalHeader();
  int width = 2 * table_->frameWidth();
  for (int column = 0; column < 4; ++column) {
    const int text = metrics.horizontalAdvance(widest[static_cast<size_t>(column)]);
    const int section = std::max(text + 24, header->sectionSizeHint(column));
    header->setSectionResizeMode(column, QHeaderView::Fixed);
    header->resizeSection(column, section);
    width += section;
  }
  table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  constexpr int kRowsShown = 12;
  const int rows = std::min(std::max(table_->rowCount(), 1), kRowsShown);
  const int height = 2 * table_->frameWidth() + header->height() +
                     rows * table_->verticalHeader()->defaultSectionSize();
  if (table_->rowCount() > kRowsShown) width += table_->verticalScrollBar()->sizeHint().width();
  // The last column takes what the dialog's width leaves over.
  header->setStretchLastSection(true);
  table_->setMinimumWidth(width);
  table_->setFixedHeight(height);
}

void LevelSlidesDialog::EnableLevelBtn() {
  bool anyChecked = false;
  for (int row = 0; row < table_->rowCount() && !anyChecked; ++row) {
    const QTableWidgetItem* choice = table_->item(row, kSlideColumn);
    anyChecked = choice != nullptr && choice->checkState() == Qt::Checked;
  }
  level_->setEnabled(measured_ && anyChecked);
}

void LevelSlidesDialog::ShowMeasured(const std::vector<SlideLoudness>& slides) {
  table_->setRowCount(static_cast<int>(slides.size()));
  for (int row = 0; row < table_->rowCount(); ++row) {
    const SlideLoudness& slide = slides[static_cast<size_t>(row)];
    auto* choice = new QTableWidgetItem(QString::number(slide.slide));
    choice->setFlags(Qt::ItemIsUserCheckable | Qt::ItemIsEnabled);
    choice->setCheckState(Qt::Checked);
    table_->setItem(row, kSlideColumn, choice);
    table_->setItem(row, kBeforeColumn, Cell(Decibels(slide.integrated)));
    table_->setItem(row, kAfterColumn, Cell(""));
    table_->setItem(row, kTruePeakColumn, Cell(Decibels(slide.truePeak)));
  }
}

void LevelSlidesDialog::LevelBtn_Click() {
  std::vector<int32_t> chosen;
  std::vector<int> rows;
  for (int row = 0; row < table_->rowCount(); ++row) {
    if (table_->item(row, kSlideColumn)->checkState() != Qt::Checked) continue;
    chosen.push_back(table_->item(row, kSlideColumn)->text().toInt());
    rows.push_back(row);
  }
  if (chosen.empty()) return;
  const double target = LeadingNumber(target_->text().toStdString());
  if (target < kQuietestLoudnessTarget || target > kLoudestLoudnessTarget) {
    UserInterface().Message("The target loudness must lie between -70 and 0 LUFS.",
                            MessageIcon::Exclamation);
    return;
  }
  std::vector<SlideLevel> levels;
  leveled_ = LevelSlides(document_, chosen, target, levels) || leveled_;
  for (size_t k = 0; k < levels.size(); ++k) {
    const SlideLevel& level = levels[k];
    QString after = level.changed ? Decibels(level.after.integrated) : "left alone";
    if (level.peakLimited) after += " (peak -1 dBTP)";
    table_->item(rows[k], kAfterColumn)->setText(after);
    table_->item(rows[k], kTruePeakColumn)->setText(Decibels(level.after.truePeak));
  }
}

}  // namespace quorvane
