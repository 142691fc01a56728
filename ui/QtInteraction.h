// The interaction with the person at the machine in the editor: Qt message boxes and input
// boxes over the editor window, the wait cursor and the window's progress panel.
#pragma once

#include <QPointer>
#include <QWidget>

#include "core/Interaction.h"

namespace quorvane {

class QtInteraction : public Interaction {
 public:
  QtInteraction() = default;
  // The window the boxes belong to, and the progress panel it draws; null for none.
  void SetOwner(QWidget* owner) { owner_ = owner; }
  void SetProgress(ProgressDisplay* progress) { progress_ = progress; }

  MessageAnswer MsgBox(const MessageRequest& request) override;
  std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                      const std::string& defaultText) override;
  void SetBusy(bool busy) override;
  ProgressDisplay& Progress() override;

 private:
  QPointer<QWidget> owner_;
  ProgressDisplay* progress_ = nullptr;
  SilentProgressDisplay noPanel_;
};

}  // namespace quorvane
