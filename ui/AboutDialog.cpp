#include "ui/AboutDialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTextDocument>
#include <QVBoxLayout>
#include <QtGlobal>

#include "platform/FfmpegLibraries.h"
#include "platform/ProgramFile.h"
#include "ui/DialogButtons.h"

namespace quorvane {

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("AboutDialog");
  setWindowTitle("About Quorvane Audio");
  const QString lame = QString::fromStdString(FindOnPath("lame"));
  html_ = QString(
              "<h3>Quorvane Audio %1</h3>"
              "<p>The Timeline Audio Editor: edits the spoken narration of a slide "
              "presentation.</p>"
              "<p>It is built on these, each under its own licence:</p>"
              "<ul>"
              "<li><b>Qt %2</b>, the window toolkit: GNU Lesser General Public License, "
              "version 3.</li>"
              "<li><b>FFmpeg %3</b> (libavformat, libavcodec, libswresample, libavutil), which "
              "decodes compressed WAV files: %4.</li>"
              "<li><b>LAME</b>, run as a program of its own to read and write MP3 tracks "
              "(%5): GNU Lesser General Public License, version 2 or later.</li>"
              "</ul>")
              .arg(QUORVANE_VERSION, qVersion(), QString::fromStdString(FfmpegVersion()),
                   QString::fromStdString(FfmpegLicence()).toHtmlEscaped(),
                   lame.isEmpty() ? QString("not installed") : lame.toHtmlEscaped());
  auto* column = new QVBoxLayout(this);
  auto* text = new QLabel(html_, this);
  text->setObjectName("AboutLbl");
  text->setTextFormat(Qt::RichText);
  text->setWordWrap(true);
  text->setFixedWidth(text->fontMetrics().averageCharWidth() * 60);
  column->addWidget(text);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  QPushButton* aboutQt = buttons->addButton("About &Qt...", QDialogButtonBox::ActionRole);
  aboutQt->setObjectName("AboutQtBtn");
  connect(aboutQt, &QPushButton::clicked, this, [this] { QMessageBox::aboutQt(this); });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  column->addWidget(buttons);
  FixDialogSize(*this);
}

QString AboutDialog::Text() const {
  QTextDocument document;
  document.setHtml(html_);
  return document.toPlainText();
}

}  // namespace quorvane
