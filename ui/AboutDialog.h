// Help > About: the program's version and the licences of the libraries and programs it
// works with (Qt, FFmpeg, LAME).
#pragma once

#include <QDialog>
#include <QString>

namespace quorvane {

class AboutDialog : public QDialog {
  Q_OBJECT

 public:
  explicit AboutDialog(QWidget* parent);

  // What the dialog says, as plain text.
  QString Text() const;

 private:
  QString html_;
};

}  // namespace quorvane
