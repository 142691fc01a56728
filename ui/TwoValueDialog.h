// A dialog of two numbers with their ranges and a word of explanation, whose last values
// come back the next time: the dialogs of Clean Up Voice and Shorten Pauses.
#pragma once

#include <QDialog>
#include <array>
#include <string>

class QLineEdit;

namespace quorvane {

struct ValueBox {
  const char* name;         // the box's object name
  const char* caption;      // with its mnemonic
  const char* range;        // shown beside the box
  const char* defaultText;  // before any value was kept
};

class TwoValueDialog : public QDialog {
 public:
  // The values are kept as "first,second" under `key` in the effects' settings.
  TwoValueDialog(QWidget* parent, const QString& title, const char* key,
                 const std::array<ValueBox, 2>& boxes, const QString& help);
  // The values entered, read with the leading-number conversion.
  std::array<double, 2> Numbers() const;
  // Keeps the values for the next time.
  void KeepValues() const;
  QLineEdit* Box(int index) const { return boxes_[static_cast<size_t>(index)]; }

 private:
  const char* key_;
  std::array<QLineEdit*, 2> boxes_{};
};

}  // namespace quorvane
