#include "ui/ShowHelp.h"

#include <QDesktopServices>
#include <QProcess>
#include <QTextBrowser>
#include <QUrl>
#include <cstdlib>
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

bool BrowserFound() {
  if (FindOnPath("xdg-open").empty()) return false;
  const char* browser = std::getenv("BROWSER");
  if (browser != nullptr && *browser != '\0') return true;
  const std::string query = FindOnPath("xdg-mime");
  if (query.empty()) return false;
  QProcess process;
  process.start(QString::fromStdString(query), {"query", "default", "text/html"});
  if (!process.waitForFinished(3000)) {
    process.kill();
    process.waitForFinished();
    return false;
  }
  return process.exitCode() == 0 && !process.readAllStandardOutput().trimmed().isEmpty();
}

QWidget* ShowManualWindow(const std::string& manual, QWidget& owner) {
  auto* window = owner.findChild<QTextBrowser*>("ManualWindow", Qt::FindDirectChildrenOnly);
  if (window == nullptr) {
    window = new QTextBrowser(&owner);
    window->setWindowFlag(Qt::Window);
    window->setObjectName("ManualWindow");
    window->setOpenExternalLinks(false);
    window->resize(760, 820);
  }
  window->setSource(QUrl::fromLocalFile(QString::fromStdString(manual)));
  window->setWindowTitle(window->documentTitle());
  window->show();
  window->raise();
  window->activateWindow();
  return window;
}

bool ShowHelp(QWidget& owner) {
  const std::string manual = ManualPath();
  if (manual.empty()) return false;
  if (BrowserFound() &&
      QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(manual)))) {
    return true;
  }
  ShowManualWindow(manual, owner);
  return true;
}

}  // namespace quorvane
