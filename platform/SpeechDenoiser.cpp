#include "platform/SpeechDenoiser.h"

#include <speex/speex_preprocess.h>

#include <algorithm>
#include <stdexcept>

namespace quorvane {

struct SpeechDenoiser::State {
  SpeexPreprocessState* preprocess = nullptr;
  ~State() {
    if (preprocess != nullptr) speex_preprocess_state_destroy(preprocess);
  }
};

SpeechDenoiser::SpeechDenoiser(int32_t rate, int32_t strengthDb)
    : state_(std::make_unique<State>()), frame_(std::max(1, (rate + 50) / 100)) {
  state_->preprocess = speex_preprocess_state_init(frame_, rate);
  if (state_->preprocess == nullptr) throw std::runtime_error("The noise suppressor did not start");
  int on = 1;
  int off = 0;
  int level = -std::abs(strengthDb);
  speex_preprocess_ctl(state_->preprocess, SPEEX_PREPROCESS_SET_DENOISE, &on);
  speex_preprocess_ctl(state_->preprocess, SPEEX_PREPROCESS_SET_NOISE_SUPPRESS, &level);
  speex_preprocess_ctl(state_->preprocess, SPEEX_PREPROCESS_SET_AGC, &off);
  speex_preprocess_ctl(state_->preprocess, SPEEX_PREPROCESS_SET_DEREVERB, &off);
}

SpeechDenoiser::~SpeechDenoiser() = default;

void SpeechDenoiser::Process(int16_t* frame) { speex_preprocess_run(state_->preprocess, frame); }

}  // namespace quorvane
