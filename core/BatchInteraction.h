// The interaction of the headless batch tool: every message and question is written as
// one JSON object per line on an output stream (standard error), and every question
// takes its default answer. Input boxes take their default text.
#pragma once

#include <ostream>

#include "core/Interaction.h"

namespace quorvane {

class BatchInteraction : public Interaction {
 public:
  explicit BatchInteraction(std::ostream& out);

  MessageAnswer MsgBox(const MessageRequest& request) override;
  std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                      const std::string& defaultText) override;
  void SetBusy(bool) override {}
  ProgressDisplay& Progress() override { return progress_; }

 private:
  std::ostream& out_;
  SilentProgressDisplay progress_;
};

}  // namespace quorvane
