#include "platform/CaptureSources.h"

#include <algorithm>

#include "platform/PulseConnection.h"

namespace quorvane {

namespace {

struct Listing {
  std::vector<CaptureSource> sources;
  std::string defaultName;
};

void TakeServerInfo(pa_context*, const pa_server_info* info, void* listing) {
  if (info != nullptr && info->default_source_name != nullptr) {
    static_cast<Listing*>(listing)->defaultName = info->default_source_name;
  }
}

void TakeSource(pa_context*, const pa_source_info* info, int last, void* listing) {
  if (last != 0 || info == nullptr) return;
  static_cast<Listing*>(listing)->sources.push_back(
      {info->name, info->description != nullptr ? info->description : info->name,
       info->monitor_of_sink != PA_INVALID_INDEX, false});
}

}  // namespace

std::vector<CaptureSource> ListCaptureSources() {
  PulseConnection connection;
  if (!connection.Connected()) return {};
  Listing listing;
  {
    PulseLock lock(connection);
    connection.Finish(pa_context_get_server_info(connection.Context(), &TakeServerInfo, &listing));
    connection.Finish(pa_context_get_source_info_list(connection.Context(), &TakeSource, &listing));
  }
  for (CaptureSource& source : listing.sources) {
    source.isDefault = source.name == listing.defaultName;
  }
  std::stable_partition(listing.sources.begin(), listing.sources.end(),
                        [](const CaptureSource& source) { return !source.monitor; });
  return listing.sources;
}

}  // namespace quorvane
