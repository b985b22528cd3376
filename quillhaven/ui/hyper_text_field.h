// A label that shows a link and opens it.
#ifndef QUILLHAVEN_UI_HYPER_TEXT_FIELD_H_
#define QUILLHAVEN_UI_HYPER_TEXT_FIELD_H_

#include <QLabel>
#include <QString>
#include <memory>

namespace quillhaven::ui {

// A label that opens `href` when the left mouse button goes down on it. Before
// it is first shown its text gets the look of a link: underlined, in
// royalControl(). The text is plain. Main thread only.
class HyperTextField : public QLabel {
  Q_OBJECT
  Q_PROPERTY(QString href READ href WRITE setHref NOTIFY hrefChanged)

 public:
  explicit HyperTextField(QWidget* parent = nullptr);
  explicit HyperTextField(const QString& text, QWidget* parent = nullptr);
  ~HyperTextField() override;

  // The address that is opened, by the desktop's program for it; empty at
  // first. When it is clicked it must be a URL as RFC 3986 writes it, relative
  // ones included, else that is a fatal error.
  [[nodiscard]] QString href() const;

 public Q_SLOTS:
  void setHref(const QString& href);

 Q_SIGNALS:
  void hrefChanged(const QString& href);

 protected:
  bool event(QEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  class Private;

  std::unique_ptr<Private> d;
};

}  // namespace quillhaven::ui

#endif  // QUILLHAVEN_UI_HYPER_TEXT_FIELD_H_
