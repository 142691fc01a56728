// What the program says about the FFmpeg libraries it decodes with, for its About box.
#pragma once

#include <string>

namespace quorvane {

// The FFmpeg release the libraries come from ("5.1.6-0+deb12u1"), as they report it.
std::string FfmpegVersion();

// The licence the libraries were built under, as they report it ("GPL version 2 or later").
std::string FfmpegLicence();

}  // namespace quorvane
