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

// The text, and WAV audio made only when a program asks for it (once).
class TextAndAudio : public QMimeData {
 public:
  TextAndAudio(const std::string& text, std::function<std::string()> wav) : wav_(std::move(wav)) {
    setText(QString::fromStdString(text));
  }

  QStringList formats() const override {
    return QMimeData::formats() << QString::fromLatin1(kWavTypes[0]);
  }

 protected:
  QVariant retrieveData(const QString& type, QMetaType wanted) const override {
    if (type != QLatin1String(kWavTypes[0])) return QMimeData::retrieveData(type, wanted);
    if (!made_) {
      const std::string bytes = wav_();
      bytes_ = QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size()));
      made_ = true;
    }
    return bytes_;
  }

 private:
  std::function<std::string()> wav_;
  mutable bool made_ = false;
  mutable QByteArray bytes_;
};

}  // namespace

void DesktopClipboard::SetTextAndAudio(const std::string& text, std::function<std::string()> wav) {
  QMimeData* data = nullptr;
  if (wav) {
    data = new TextAndAudio(text, std::move(wav));
  } else {
    data = new QMimeData;
    data->setText(QString::fromStdString(text));
  }
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
