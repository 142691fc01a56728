#include "editing/HighPassFilter.h"

#include <cmath>
#include <complex>
#include <numbers>

namespace quorvane {

HighPassFilter::HighPassFilter(double cutOffHz, int32_t rate) : rate_(rate) {
  constexpr int kPoles = 8;
  const double w0 = 2 * std::numbers::pi * cutOffHz / rate;
  const double cosine = std::cos(w0);
  for (int k = 0; k < kPoles / 2; ++k) {
    // The quality factors of an eight-pole Butterworth filter's pole pairs.
    const double q = 1.0 / (2.0 * std::cos((2 * k + 1) * std::numbers::pi / (2 * kPoles)));
    const double alpha = std::sin(w0) / (2 * q);
    const double a0 = 1 + alpha;
    Section& section = sections_[static_cast<size_t>(k)];
    section.b0 = (1 + cosine) / 2 / a0;
    section.b1 = -(1 + cosine) / a0;
    section.b2 = section.b0;
    section.a1 = -2 * cosine / a0;
    section.a2 = (1 - alpha) / a0;
  }
}

double HighPassFilter::Next(double sample) {
  for (Section& s : sections_) {
    const double out = s.b0 * sample + s.z1;
    s.z1 = s.b1 * sample - s.a1 * out + s.z2;
    s.z2 = s.b2 * sample - s.a2 * out;
    sample = out;
  }
  return sample;
}

double HighPassFilter::GainDb(double hz) const {
  const std::complex<double> z = std::polar(1.0, 2 * std::numbers::pi * hz / rate_);
  const std::complex<double> inverse = 1.0 / z;
  std::complex<double> gain = 1.0;
  for (const Section& s : sections_) {
    gain *= (s.b0 + s.b1 * inverse + s.b2 * inverse * inverse) /
            (1.0 + s.a1 * inverse + s.a2 * inverse * inverse);
  }
  return 20 * std::log10(std::abs(gain));
}

}  // namespace quorvane
