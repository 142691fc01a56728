#include "ui/DesktopClipboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace quorvane {

std::string DesktopClipboard::Text() const {
  return QGuiApplication::clipboard()->text().toStdString();
}

void DesktopClipboard::SetText(const std::string& text) {
  QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

void DesktopClipboard::Clear() { QGuiApplication::clipboard()->clear(); }

}  // namespace quorvane
