// The JSON reader the batch tool's tests check its output with: it must take exactly what
// JSON allows, or a broken line would pass for a good one.
#include "tests/support/JsonReader.h"

#include <gtest/gtest.h>

#include <string>

namespace quorvane {
namespace {

using testing::JsonValue;
using testing::ParseJson;

TEST(JsonReader, ReadsObjectsArraysAndScalarsWithTheirKeysInOrder) {
  const auto value =
      ParseJson(" {\"b\":[1,-20,3.5e2],\"a\":{\"t\":true,\"f\":false,\"n\":null},\"s\":\"x\"} ");
  ASSERT_TRUE(value);
  EXPECT_EQ(value->Keys(), (std::vector<std::string>{"b", "a", "s"}));
  EXPECT_EQ((*value)["b"][1].Int(), -20);
  EXPECT_EQ((*value)["b"][2].number, 350.0);
  EXPECT_THROW((*value)["b"][2].Int(), std::invalid_argument);
  EXPECT_TRUE((*value)["a"]["t"].Bool());
  EXPECT_FALSE((*value)["a"]["f"].Bool());
  EXPECT_EQ((*value)["a"]["n"].type, JsonValue::Type::Null);
  EXPECT_EQ((*value)["s"].String(), "x");
  EXPECT_THROW((*value)["missing"], std::out_of_range);
}

TEST(JsonReader, DecodesEscapes) {
  const auto value = ParseJson(R"("q\" b\\ s\/ \r\n\t \u00e9 \ud83d\ude00")");
  ASSERT_TRUE(value);
  EXPECT_EQ(value->String(), "q\" b\\ s/ \r\n\t \xC3\xA9 \xF0\x9F\x98\x80");
}

TEST(JsonReader, RefusesWhatJsonDoesNotAllow) {
  for (const char* text : {"", "{", "{\"a\":1,}", "[1,]", "{\"a\":1} x", "{'a':1}", "{a:1}", "01",
                           "1.", "-", "\"tab\there\"", "\"line\nbreak\"", "\"\\x\"", "\"\\ud83d\"",
                           "tru", "[1 2]", "{\"a\" 1}", "\"open"}) {
    EXPECT_FALSE(ParseJson(text)) << text;
  }
}

}  // namespace
}  // namespace quorvane
