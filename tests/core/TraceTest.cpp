#include "core/Trace.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace quorvane {
namespace {

class CollectingViewer : public TraceViewer {
 public:
  explicit CollectingViewer(std::vector<std::string>* lines) : lines_(lines) {}
  void Send(const std::string& bytes) override { lines_->push_back(bytes); }

 private:
  std::vector<std::string>* lines_;
};

class TraceTest : public ::testing::Test {
 protected:
  void SetUp() override { SetTraceProgramName("quorvane-audio"); }
  void TearDown() override { SetTraceViewerSearch(nullptr); }
  std::vector<std::string> lines;
};

TEST_F(TraceTest, JoinsValuesAndArrayElementsWithTabs) {
  SetTraceViewerSearch([this] { return std::make_unique<CollectingViewer>(&lines); });
  Trace("A", 3, std::vector<std::string>{"x", "y"});
  Trace("Main: Command line is ", std::string("\"/tmp/p.ini\""));
  Trace(2.5, -7L, true, std::vector<int>{1, 2});
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0], "quorvane-audio: A\t3\tx\ty");
  EXPECT_EQ(lines[1], "quorvane-audio: Main: Command line is \t\"/tmp/p.ini\"");
  EXPECT_EQ(lines[2], "quorvane-audio: 2.5\t-7\tTrue\t1\t2");
}

TEST_F(TraceTest, WithoutAViewerSearchesOnceAndSendsNothing) {
  int searches = 0;
  SetTraceViewerSearch([&searches]() -> std::unique_ptr<TraceViewer> {
    ++searches;
    return nullptr;
  });
  for (int i = 0; i < 100; ++i) Trace("line", i);
  EXPECT_EQ(searches, 1);
  EXPECT_EQ(TraceViewerSearchCount(), 1);
  EXPECT_FALSE(TraceViewerPresent());
}

TEST_F(TraceTest, AViewerStartedLaterIsNotFound) {
  bool viewerRunning = false;
  SetTraceViewerSearch([&]() -> std::unique_ptr<TraceViewer> {
    if (!viewerRunning) return nullptr;
    return std::make_unique<CollectingViewer>(&lines);
  });
  Trace("before");
  viewerRunning = true;
  Trace("after");
  EXPECT_TRUE(lines.empty());
}

TEST_F(TraceTest, ProgramNamePrefixesEveryLine) {
  SetTraceViewerSearch([this] { return std::make_unique<CollectingViewer>(&lines); });
  SetTraceProgramName("quorvane-audio-batch");
  Trace("FileWriteWavePart: Enter");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], "quorvane-audio-batch: FileWriteWavePart: Enter");
}

}  // namespace
}  // namespace quorvane
