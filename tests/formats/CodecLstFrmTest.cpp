#include "formats/CodecLstFrm.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace quorvane {
namespace {

std::array<std::string, 4> Lookup(const CodecLstFrm& form, int16_t tag) {
  std::array<std::string, 4> fields;
  form.GetCodedInfo(tag, fields[0], fields[1], fields[2], fields[3]);
  return fields;
}

using Fields = std::array<std::string, 4>;

TEST(CodecLstFrm, FindsTagsBySignedDecimalKeyAndKnowsWhenTheTableLacksOne) {
  const CodecLstFrm form;
  EXPECT_EQ(Lookup(form, 85), (Fields{"0055", "WAVE_FORMAT_MPEGLAYER3", "Not specified.",
                                      "ISO/MPEG Layer 3 format tag"}));
  EXPECT_EQ(Lookup(form, -24314),
            (Fields{"A106", "WAVE_FORMAT_AAC", "Not specified.", "MPEG-4 AAC"}));
  EXPECT_EQ(Lookup(form, static_cast<int16_t>(0xB000)),
            (Fields{"b000", "WAVE_FORMAT_WMSP2", "Microsoft Corporation",
                    "Windows Media real-time voice"}));
  EXPECT_EQ(Lookup(form, 0)[1], "WAVE_FORMAT_UNKNOWN");
  // "Tag1" must not be taken for "Tag10" or the other way round.
  EXPECT_EQ(Lookup(form, 1)[1], "WAVE_FORMAT_PCM");
  EXPECT_EQ(Lookup(form, 10)[1], "WAVE_FORMAT_WMSP1");
  // A tag the table lacks.
  const Fields unknown{"????", "Unknown", "Unknown", "Unknown"};
  EXPECT_EQ(Lookup(form, 0x1234), unknown);
  EXPECT_EQ(Lookup(form, -1), unknown);
}

}  // namespace
}  // namespace quorvane
