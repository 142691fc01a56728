#include "core/BatchInteraction.h"

#include "core/JsonText.h"

namespace quorvane {

BatchInteraction::BatchInteraction(std::ostream& out) : out_(out) {}

MessageAnswer BatchInteraction::MsgBox(const MessageRequest& request) {
  const MessageAnswer answer = DefaultAnswer(request);
  out_ << "{\"caption\":" << JsonString(request.caption) << ",\"text\":" << JsonString(request.text)
       << ",\"icon\":" << JsonString(IconName(request.icon))
       << ",\"buttons\":" << JsonString(ButtonsName(request.buttons))
       << ",\"answer\":" << JsonString(AnswerName(answer)) << "}\n";
  out_.flush();
  return answer;
}

std::optional<std::string> BatchInteraction::InputBox(const std::string& prompt,
                                                      const std::string& title,
                                                      const std::string& defaultText) {
  out_ << "{\"caption\":" << JsonString(title) << ",\"text\":" << JsonString(prompt)
       << ",\"icon\":\"None\",\"buttons\":\"Input\",\"answer\":" << JsonString(defaultText)
       << "}\n";
  out_.flush();
  return defaultText;
}

}  // namespace quorvane
