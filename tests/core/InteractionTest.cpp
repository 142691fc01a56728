#include "core/Interaction.h"

#include <gtest/gtest.h>

#include <sstream>

#include "core/BatchInteraction.h"
#include "core/JsonText.h"

namespace quorvane {
namespace {

TEST(DefaultAnswer, IsTheButtonAtTheDefaultIndexOrTheFirst) {
  using Case = std::tuple<MessageButtons, int, MessageAnswer>;
  for (const auto& [buttons, index, answer] :
       {Case{MessageButtons::YesNoCancel, 1, MessageAnswer::Yes},
        Case{MessageButtons::YesNoCancel, 2, MessageAnswer::No},
        Case{MessageButtons::YesNoCancel, 3, MessageAnswer::Cancel},
        Case{MessageButtons::YesNoCancel, 4, MessageAnswer::Yes},
        Case{MessageButtons::OkOnly, 2, MessageAnswer::Ok},
        Case{MessageButtons::RetryCancel, 2, MessageAnswer::Cancel}}) {
    EXPECT_EQ(DefaultAnswer({"", kAppTitle, MessageIcon::None, buttons, index}), answer) << index;
  }
}

TEST(BatchInteraction, WritesOneJsonObjectPerMessageAndTakesTheDefault) {
  std::ostringstream out;
  BatchInteraction batch(out);
  MessageRequest request{"Save changes?\r\nSlide \"1\"", "Timeline Audio Editor",
                         MessageIcon::Question, MessageButtons::YesNoCancel, 2};
  EXPECT_EQ(batch.MsgBox(request), MessageAnswer::No);
  batch.Message("File not found", MessageIcon::Critical, "Open Wave Error");
  EXPECT_EQ(batch.InputBox("Seconds of silence", "Insert Silence", "1"), "1");
  EXPECT_EQ(out.str(),
            "{\"caption\":\"Timeline Audio Editor\",\"text\":\"Save changes?\\r\\nSlide "
            "\\\"1\\\"\",\"icon\":\"Question\",\"buttons\":\"YesNoCancel\",\"answer\":\"No\"}\n"
            "{\"caption\":\"Open Wave Error\",\"text\":\"File not found\",\"icon\":\"Critical\","
            "\"buttons\":\"OKOnly\",\"answer\":\"OK\"}\n"
            "{\"caption\":\"Insert Silence\",\"text\":\"Seconds of silence\",\"icon\":\"None\","
            "\"buttons\":\"Input\",\"answer\":\"1\"}\n");
}

TEST(JsonString, EscapesControlCharactersAndReplacesBrokenUtf8) {
  EXPECT_EQ(JsonString("a\\b\t\x01"), "\"a\\\\b\\t\\u0001\"");
  EXPECT_EQ(JsonString("caf\xC3\xA9"), "\"caf\xC3\xA9\"");
  EXPECT_EQ(JsonString("bad\xE9!"), "\"bad\xEF\xBF\xBD!\"");
  EXPECT_EQ(JsonString("\xF0\x9F\x8E\xB5"), "\"\xF0\x9F\x8E\xB5\"");
  EXPECT_EQ(JsonString("\xED\xA0\x80"), "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\"");  // surrogate
}

}  // namespace
}  // namespace quorvane
