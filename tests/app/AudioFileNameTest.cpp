#include "app/AudioFileName.h"

#include <gtest/gtest.h>

namespace quorvane {
namespace {

TEST(IsAudioFileName, LooksAtTheTextAfterTheLastPoint) {
  EXPECT_TRUE(IsAudioFileName("slide1.wav"));
  EXPECT_TRUE(IsAudioFileName("/a.b/Slide 2.MP3"));
  EXPECT_TRUE(IsAudioFileName("x.WaV"));
  EXPECT_FALSE(IsAudioFileName("slide.wav.txt"));
  EXPECT_FALSE(IsAudioFileName("notes.ogg"));
  EXPECT_FALSE(IsAudioFileName("   "));
  EXPECT_FALSE(IsAudioFileName("trailing."));
  EXPECT_EQ(LowerEnding("Track3.MP3", 4), ".mp3");
  EXPECT_EQ(LowerEnding("ab", 3), "ab");
}

}  // namespace
}  // namespace quorvane
