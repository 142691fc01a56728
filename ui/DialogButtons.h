// What the editor's small dialogs share: the row of buttons at their foot (the accepting
// button, made the default, and "Cancel", both right-aligned) and their fixed size.
#pragma once

#include <QString>
#include <functional>

class QBoxLayout;
class QDialog;
class QWidget;

namespace quorvane {

// Adds the row to `column`; the buttons are named "OkBtn" and "CancelBtn".
void AddOkCancelButtons(QDialog& dialog, QBoxLayout& column, const QString& okCaption,
                        std::function<void()> onOk, std::function<void()> onCancel);

// Fixes the dialog's size at what its contents need, but at least as wide as a title bar
// that shows its whole title beside the window's buttons. Call it once the dialog is built.
void FixDialogSize(QDialog& dialog);

// The width that title bar needs.
int TitleBarWidth(const QWidget& window);

}  // namespace quorvane
