// Writing JSON by hand for the batch tool's output: strings escaped as JSON wants them,
// line breaks and all kept in the value.
#pragma once

#include <string>
#include <string_view>

namespace quorvane {

// The text as a quoted JSON string. Bytes that are not valid UTF-8 become U+FFFD so that
// the output is always valid JSON.
std::string JsonString(std::string_view text);

}  // namespace quorvane
