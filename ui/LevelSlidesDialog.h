// The Level Slides dialog: every slide's loudness measured when it opens, the slides to
// level chosen by their check boxes (all checked at first), the target in LUFS (the default
// for the document's channels); Level, usable whenever a slide is checked, levels them as
// one undo item and shows what each slide measures afterwards. The measuring and leveling are
// LevelSlides'.
#pragma once

#include <QDialog>
#include <vector>

#include "editing/LevelSlides.h"

class QLineEdit;
class QPushButton;
class QTableWidget;

namespace quorvane {

class FileMemoClass;

class LevelSlidesDialog : public QDialog {
 public:
  enum Column { kSlideColumn, kBeforeColumn, kAfterColumn, kTruePeakColumn };

  LevelSlidesDialog(QWidget* parent, FileMemoClass& document);
  QTableWidget* SlidesTbl() const { return table_; }
  QLineEdit* TargetTxt() const { return target_; }
  QPushButton* LevelBtn() const { return level_; }
  void LevelBtn_Click();
  // True once Level changed the document.
  bool Leveled() const { return leveled_; }

 private:
  void ShowMeasured(const std::vector<SlideLoudness>& slides);
  void EnableLevelBtn();
  void FitTable();

  FileMemoClass& document_;
  QTableWidget* table_ = nullptr;
  QLineEdit* target_ = nullptr;
  QPushButton* level_ = nullptr;
  bool leveled_ = false;
  bool measured_ = false;  // the slides' loudness is known
};

}  // namespace quorvane
