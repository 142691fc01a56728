// A picture area that paints from an image it keeps (persistent drawing), with shapes and
// lines laid over it that move without touching the image: the cursor and play marks, the
// mouse line, the marker frames.
#pragma once

#include <QColor>
#include <QPixmap>
#include <QRect>
#include <QWidget>
#include <memory>
#include <vector>

namespace quorvane {

// A rectangle outline or a vertical line drawn over the picture.
struct OverlayShape {
  QRect bounds;  // a line is a rectangle of width 1
  QColor border;
  bool visible = true;
  bool isLine = false;

  void MoveToX(int x) { bounds.moveLeft(x); }
};

class PictureBox : public QWidget {
 public:
  explicit PictureBox(QWidget* parent, const QColor& background = Qt::white);

  // The kept image, as large as the widget; draw into it, then call update() or repaint().
  QPixmap& Image() { return image_; }
  const QPixmap& Image() const { return image_; }
  void Clear();
  QColor Background() const { return background_; }
  void SetBackground(const QColor& colour);

  // Shapes are owned by the picture and drawn in the order they were added.
  OverlayShape& AddShape(const QRect& bounds, const QColor& border, bool isLine = false);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  // The image has the widget's size at the screen's pixel ratio.
  bool ImageFits() const;

  QPixmap image_;
  QColor background_;
  std::vector<std::unique_ptr<OverlayShape>> shapes_;
};

}  // namespace quorvane
