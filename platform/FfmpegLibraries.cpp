#include "platform/FfmpegLibraries.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/avutil.h>
}

namespace quorvane {

std::string FfmpegVersion() { return av_version_info(); }

std::string FfmpegLicence() { return avcodec_license(); }

}  // namespace quorvane
