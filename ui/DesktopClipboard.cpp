#include "ui/DesktopClipboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace quorvane {

std::string DesktopClipboard::Text() const {
  return QGuiApplication::clipboard()->text().toStdString();
}

void DesktopClipboard::SetText(const std::string& text) {
  QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

void DesktopClipboard::Clear() { QGuiApplication::clipboard()->clear(); }

namespace {

// The names programs give WAV audio on the clipboard; the first is offered.
const char* const kWavTypes[] = {"audio/wav", "audio/x-wav"};

}  // namespace

void DesktopClipboard::SetTextAndAudio(const std::string& text, const std::string& wav) {
  auto* data = new QMimeData;
  data->setText(QString::fromStdString(text));
  if (!wav.empty())
    data->setData(kWavTypes[0], QByteArray(wav.data(), static_cast<qsizetype>(wav.size())));
  QGuiApplication::clipboard()->setMimeData(data);  // the clipboard owns it
}

std::string DesktopClipboard::Audio() const {
  const QMimeData* data = QGuiApplication::clipboard()->mimeData();
  if (data == nullptr) return "";
  for (const char* type : kWavTypes) {
    if (data->hasFormat(type)) return data->data(type).toStdString();
  }
  return "";
}

}  // namespace quorvane
