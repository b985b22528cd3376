// The window of a sheet that asks for one or two lines of text.
#ifndef QUILLHAVEN_DEVTOOLS_INTERNAL_INPUT_SHEET_H_
#define QUILLHAVEN_DEVTOOLS_INTERNAL_INPUT_SHEET_H_

#include <QDialog>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QList>
#include <QPushButton>
#include <QString>
#include <memory>
#include <vector>

namespace quillhaven::devtools::internal {

// Rows of a label, a field and perhaps a button, and below them, at the
// trailing end, the buttons that end the sheet. Distances in points.
class InputSheetLayout final : public QLayout {
 public:
  explicit InputSheetLayout(QWidget* window);

  // Takes part in the layout from now on; `button` may be null.
  void addRow(QLabel* label, QLineEdit* field, int minimumFieldWidth,
              QPushButton* button);
  void setButtons(QPushButton* cancel, QPushButton* accept);

  void addItem(QLayoutItem* item) override;
  [[nodiscard]] int count() const override;
  [[nodiscard]] QLayoutItem* itemAt(int index) const override;
  QLayoutItem* takeAt(int index) override;
  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSize() const override;
  [[nodiscard]] Qt::Orientations expandingDirections() const override;
  void setGeometry(const QRect& rect) override;

 private:
  struct Row {
    QLabel* label;
    QLineEdit* field;
    int minimumFieldWidth;
    QPushButton* button;
  };

  // Where the label and the field of each row are in a sheet of this width.
  struct RowFrames {
    QRect label;
    QRect field;
    QRect button;
  };
  [[nodiscard]] std::vector<RowFrames> rowFrames(int width) const;
  void take(QWidget* widget);

  std::vector<std::unique_ptr<QLayoutItem>> items_;
  std::vector<Row> rows_;
  QPushButton* cancel_ = nullptr;
  QPushButton* accept_ = nullptr;
};

// The dynamic property that numbers a view for others to find it by.
inline constexpr char kTagProperty[] = "tag";

// Returns the view inside `window` that has this tag; null if there is none.
[[nodiscard]] QWidget* viewWithTag(const QWidget& window, int tag);

}  // namespace quillhaven::devtools::internal

#endif  // QUILLHAVEN_DEVTOOLS_INTERNAL_INPUT_SHEET_H_
