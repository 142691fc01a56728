// The dialog that lets the user release the oldest undo data: the list of operations that
// still hold data, and buttons to clear the first one, up to the selected one, or all.
#pragma once

#include <QDialog>
#include <string>
#include <vector>

#include "storage/UndoClearChoice.h"

class QListWidget;

namespace quorvane {

class UndoClearFrm : public QDialog {
 public:
  UndoClearFrm(QWidget* parent, const std::vector<std::string>& AvailList);
  UndoClearChoice Choice() const { return choice_; }
  QListWidget* AvailList() const { return list_; }
  // A press of button 1 "Clear first one", 2 "Clear up to selected item", 3 "Clear all".
  void ClearButton_Click(int index);

 private:
  QListWidget* list_ = nullptr;
  UndoClearChoice choice_;
};

}  // namespace quorvane
