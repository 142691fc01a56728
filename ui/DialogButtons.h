// The row of buttons at the foot of the editor's small dialogs: the accepting button, made
// the default, and "Cancel", both right-aligned.
#pragma once

#include <QString>
#include <functional>

class QBoxLayout;
class QDialog;

namespace quorvane {

// Adds the row to `column`; the buttons are named "OkBtn" and "CancelBtn".
void AddOkCancelButtons(QDialog& dialog, QBoxLayout& column, const QString& okCaption,
                        std::function<void()> onOk, std::function<void()> onCancel);

}  // namespace quorvane
