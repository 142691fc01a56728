#include "ui/ShowHelp.h"

#include <QDesktopServices>
#include <QUrl>
#include <filesystem>

#include "platform/ProgramFile.h"

namespace quorvane {

std::string ManualPath() {
  const std::filesystem::path installed =
      std::filesystem::path(ProgramFolder()) / "../share/doc/quorvane-audio/manual.html";
  if (std::filesystem::exists(installed)) return std::filesystem::canonical(installed).string();
  const std::filesystem::path source =
      std::filesystem::path(QUORVANE_SOURCE_DIR) / "docs/manual.html";
  return std::filesystem::exists(source) ? source.string() : std::string();
}

bool ShowHelp() {
  const std::string manual = ManualPath();
  return !manual.empty() &&
         QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(manual)));
}

}  // namespace quorvane
