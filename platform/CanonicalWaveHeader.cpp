#include "platform/CanonicalWaveHeader.h"

#include "platform/RiffIds.h"

namespace quorvane {

namespace {

void Put32(unsigned char* at, uint32_t value) {
  at[0] = static_cast<unsigned char>(value);
  at[1] = static_cast<unsigned char>(value >> 8);
  at[2] = static_cast<unsigned char>(value >> 16);
  at[3] = static_cast<unsigned char>(value >> 24);
}

}  // namespace

std::array<unsigned char, kCanonicalHeaderBytes> CanonicalWaveHeader(int32_t channels,
                                                                     int32_t sampleRate,
                                                                     int32_t bits, int64_t frames,
                                                                     uint32_t trailingBytes) {
  std::array<unsigned char, kCanonicalHeaderBytes> header{};
  const uint32_t frameSize = static_cast<uint32_t>(channels * bits / 8);
  const uint32_t dataSize = static_cast<uint32_t>(frames) * frameSize;
  unsigned char* h = header.data();
  for (int i = 0; i < 4; ++i) h[i] = static_cast<unsigned char>(kRiffId[i]);
  const uint32_t trailing = trailingBytes == 0 ? 0 : DataPadBytes(dataSize) + trailingBytes;
  Put32(h + 4, dataSize + 36 + trailing);
  for (int i = 0; i < 4; ++i) h[8 + i] = static_cast<unsigned char>(kWaveId[i]);
  for (int i = 0; i < 4; ++i) h[12 + i] = static_cast<unsigned char>(kFormatId[i]);
  Put32(h + 16, 16);
  h[20] = 1;
  h[21] = 0;
  h[22] = static_cast<unsigned char>(channels);
  h[23] = 0;
  Put32(h + 24, static_cast<uint32_t>(sampleRate));
  Put32(h + 28, static_cast<uint32_t>(sampleRate) * frameSize);
  h[32] = static_cast<unsigned char>(frameSize);
  h[33] = 0;
  h[34] = static_cast<unsigned char>(bits);
  h[35] = 0;
  for (int i = 0; i < 4; ++i) h[36 + i] = static_cast<unsigned char>(kDataId[i]);
  Put32(h + 40, dataSize);
  return header;
}

}  // namespace quorvane
