#include "cli/gallery/exhibits.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QVBoxLayout>
#include <QVariantAnimation>
#include <functional>

#include "quillhaven/ui/alerts.h"
#include "quillhaven/ui/animating_text_field.h"
#include "quillhaven/ui/color_button_cell.h"
#include "quillhaven/ui/colored_background_view.h"
#include "quillhaven/ui/colored_popover_view.h"
#include "quillhaven/ui/hyper_text_field.h"
#include "quillhaven/ui/icons.h"
#include "quillhaven/ui/images.h"
#include "quillhaven/ui/palette.h"

namespace quillhaven::gallery {
namespace {

constexpr int kFadeMiddle = 125;  // milliseconds
constexpr int kHeadingPixels = 22;
constexpr int kSampleDistance = 16;
constexpr float kCaptionOpacity = 0.65F;
constexpr int kGrayOfBrightText = 150;
constexpr QColor kInk(32, 36, 40);

// Adds `sample` to a column of samples with a caption below each.
void addSample(QGridLayout& grid, int column, QWidget* sample,
               const QString& caption) {
  grid.setHorizontalSpacing(kSampleDistance);
  grid.addWidget(sample, 0, column, Qt::AlignLeft | Qt::AlignBottom);
  auto* const label = new QLabel(caption, sample->parentWidget());
  QPalette quiet = label->palette();
  QColor text = quiet.color(QPalette::WindowText);
  text.setAlphaF(kCaptionOpacity);
  quiet.setColor(QPalette::WindowText, text);
  label->setPalette(quiet);
  grid.addWidget(label, 1, column, Qt::AlignLeft | Qt::AlignTop);
}

QWidget* makeTextField(QWidget* parent) {
  auto* const exhibit = new QWidget(parent);
  auto* const column = new QVBoxLayout(exhibit);
  auto* const field = new ui::AnimatingTextField(exhibit);
  QFont large = exhibit->font();
  large.setPixelSize(kHeadingPixels);
  field->setFont(large);
  field->setStringValue(QStringLiteral("Three messages to answer"));
  auto* const colored = new ui::AnimatingTextField(exhibit);
  colored->setFont(exhibit->font());
  QFont ownFont = exhibit->font();
  ownFont.setItalic(true);
  colored->setFont(ownFont);
  colored->setTextColor(ui::royalDarkControl());
  colored->setTextAlignment(Qt::AlignRight);
  colored->setStringValue(QStringLiteral("aligned right, in a colour"));
  auto* const button = new QPushButton(QStringLiteral("Change Text"), exhibit);
  QObject::connect(button, &QPushButton::clicked, field, [field] {
    const QString done = QStringLiteral("All answered, well done");
    field->setStringValue(field->stringValue() == done
                              ? QStringLiteral("Three messages to answer")
                              : done);
  });
  column->addWidget(field);
  column->addWidget(colored);
  column->addWidget(button, 0, Qt::AlignLeft);
  return exhibit;
}

QWidget* makeBackgrounds(QWidget* parent) {
  auto* const exhibit = new QWidget(parent);
  auto* const grid = new QGridLayout(exhibit);
  int next = 0;
  const auto add =
      [&](const char* caption,
          const std::function<void(ui::ColoredBackgroundView&)>& prepare) {
        auto* const view = new ui::ColoredBackgroundView(exhibit);
        view->setFixedSize(100, 80);
        prepare(*view);
        addSample(*grid, next++, view, QString::fromUtf8(caption));
      };
  add("at first", [](auto&) {});
  add("two halves", [](auto& view) {
    view.setTopBackgroundColor(ui::mintControl());
    view.setBottomBackgroundColor(ui::sandBackground());
  });
  add("top of 24", [](auto& view) {
    view.setTopSectionHeight(24);
    view.setTopBackgroundColor(ui::royalControl());
    view.setBottomBackgroundColor(ui::royalBackground());
  });
  add("separator", [](auto& view) {
    view.setTopSectionHeight(24);
    view.setTopSeparator(true);
  });
  add("bottom only", [](auto& view) {
    view.setTopBackgroundColor(QColor());
    view.setBottomBackgroundColor(ui::rustControl());
  });
  return exhibit;
}

QWidget* makeButtons(QWidget* parent) {
  auto* const exhibit = new QWidget(parent);
  auto* const grid = new QGridLayout(exhibit);
  int next = 0;
  const auto add =
      [&](const char* caption,
          const std::function<void(ui::ColorButtonCell&)>& prepare) {
        auto* const button =
            new ui::ColorButtonCell(QStringLiteral("Upgrade"), exhibit);
        button->setBezelColor(ui::mintDarkControl());
        button->setTitleColor(Qt::white);
        prepare(*button);
        addSample(*grid, next++, button, QString::fromUtf8(caption));
      };
  add("enabled", [](auto&) {});
  add("pressed", [](auto& button) { button.setDown(true); });
  add("disabled", [](auto& button) { button.setEnabled(false); });
  add("padding 12", [](auto& button) { button.setPadding(12); });
  add("radius 11", [](auto& button) { button.setCornerRadius(11); });
  add("no bezel", [](auto& button) {
    button.resetBezelColor();
    button.resetTitleColor();
  });
  return exhibit;
}

QWidget* makeLink(QWidget* parent) {
  auto* const exhibit = new QWidget(parent);
  auto* const row = new QHBoxLayout(exhibit);
  auto* const link =
      new ui::HyperTextField(QStringLiteral("Visit the help centre"), exhibit);
  link->setHref(QStringLiteral("https://help.quillhaven.example/"));
  row->addWidget(link);
  row->addStretch();
  return exhibit;
}

// What a popover holds.
void fillPopover(ui::ColoredPopoverView& view) {
  auto* const column = new QVBoxLayout(&view);
  column->setContentsMargins(20, 12, 20, 20);
  auto* const title = new QLabel(QStringLiteral("Reminder set"), &view);
  QFont bold = title->font();
  bold.setBold(true);
  title->setFont(bold);
  auto* const text = new QLabel(
      QStringLiteral("We bring the message back\non Monday morning."), &view);
  // The sections have these colours in every appearance.
  for (QLabel* label : {title, text}) {
    QPalette dark = label->palette();
    dark.setColor(QPalette::WindowText, kInk);
    label->setPalette(dark);
  }
  column->addWidget(title);
  column->addSpacing(12);
  column->addWidget(text);
  column->addStretch();
  view.setTopSectionHeight(40);
  view.setBottomBackgroundColor(ui::sandBackground());
  if (const auto badge =
          ui::quillhavenUtilitiesImage(ui::image_names::checkmarkBadge)) {
    view.setBadgeImage(QPixmap::fromImage(*badge));
  }
}

QWidget* makePopoverView(QWidget* parent) {
  auto* const exhibit = new QWidget(parent);
  auto* const row = new QHBoxLayout(exhibit);
  auto* const button = new QPushButton(QStringLiteral("Show Popover"), exhibit);
  QObject::connect(button, &QPushButton::clicked, button, [button] {
    QWidget* const popover = makePopover(button).release();  // closes itself
    popover->setAttribute(Qt::WA_DeleteOnClose);
    popover->move(button->mapToGlobal(QPoint(0, button->height())));
    popover->show();
  });
  row->addWidget(button);
  row->addWidget(
      new QLabel(QStringLiteral("Drag its lower edge to resize it."), exhibit));
  row->addStretch();
  return exhibit;
}

QWidget* makePalette(QWidget* parent) {
  const struct {
    const char* name;
    const QColor& (*color)();
  } colors[] = {
      {"mintControl", ui::mintControl},
      {"royalControl", ui::royalControl},
      {"rustControl", ui::rustControl},
      {"sandControl", ui::sandControl},
      {"mintDarkControl", ui::mintDarkControl},
      {"royalDarkControl", ui::royalDarkControl},
      {"rustDarkControl", ui::rustDarkControl},
      {"sandDarkControl", ui::sandDarkControl},
      {"mintDarkerControl", ui::mintDarkerControl},
      {"royalDarkerControl", ui::royalDarkerControl},
      {"rustDarkerControl", ui::rustDarkerControl},
      {"sandDarkerControl", ui::sandDarkerControl},
      {"mintBackground", ui::mintBackground},
      {"royalBackground", ui::royalBackground},
      {"rustBackground", ui::rustBackground},
      {"sandBackground", ui::sandBackground},
      {"noteBackgrond", ui::noteBackgrond},
      {"taskBackgrond", ui::taskBackgrond},
  };
  auto* const exhibit = new QWidget(parent);
  auto* const grid = new QGridLayout(exhibit);
  int next = 0;
  for (const auto& entry : colors) {
    const QColor& color = entry.color();
    auto* const swatch = new QLabel(QString::fromLatin1(entry.name), exhibit);
    swatch->setAutoFillBackground(true);
    swatch->setAlignment(Qt::AlignCenter);
    swatch->setMinimumSize(140, 32);
    QPalette palette = swatch->palette();
    palette.setColor(QPalette::Window, color);
    // On the two that let the window shine through its own text is right.
    if (color.alpha() == 255) {
      const bool isBright = qGray(color.rgb()) < kGrayOfBrightText;
      palette.setColor(QPalette::WindowText,
                       isBright ? QColor(Qt::white) : kInk);
    }
    swatch->setPalette(palette);
    grid->addWidget(swatch, next / 4, next % 4);
    ++next;
  }
  return exhibit;
}

QWidget* makeImages(QWidget* parent) {
  auto* const exhibit = new QWidget(parent);
  auto* const grid = new QGridLayout(exhibit);
  int next = 0;
  const auto add = [&](const QPixmap& pixmap, const char* caption) {
    auto* const label = new QLabel(exhibit);
    label->setPixmap(pixmap);
    addSample(*grid, next++, label, QString::fromUtf8(caption));
  };
  const QImage demo = ui::demoImage();
  const QImage badge =
      ui::quillhavenUtilitiesImage(ui::image_names::checkmarkBadge)
          .value_or(QImage());
  const QPixmap badgePixmap = QPixmap::fromImage(badge);
  add(QPixmap::fromImage(demo), "demoImage");
  add(QPixmap::fromImage(ui::badged(demo, badge)), "badged");
  if (const auto small =
          ui::imageByScalingProportionallyToSize(demo, QSizeF(32, 48))) {
    add(QPixmap::fromImage(*small), "fitted to 32 by 48");
  }
  const double ratio = exhibit->devicePixelRatioF();
  const QIcon icon = ui::quillhavenIcon(QIcon(badgePixmap));
  add(icon.pixmap(QSize(96, 96), ratio), "quillhavenIcon, 96");
  add(icon.pixmap(QSize(32, 32), ratio), "32");
  add(ui::remindersBadgedAppIcon().pixmap(QSize(64, 64), ratio),
      "remindersBadgedAppIcon");
  return exhibit;
}

QWidget* makeAlerts(QWidget* parent) {
  auto* const exhibit = new QWidget(parent);
  auto* const row = new QHBoxLayout(exhibit);
  auto* const button = new QPushButton(QStringLiteral("Show Alert"), exhibit);
  auto* const answer = new QLabel(exhibit);
  QObject::connect(button, &QPushButton::clicked, answer, [button, answer] {
    const auto alert = makeAlert(nullptr);
    const int response = ui::runModalSheet(*alert, button->window());
    answer->setText(QStringLiteral("It returned %1.").arg(response));
  });
  row->addWidget(button);
  row->addWidget(answer);
  row->addStretch();
  return exhibit;
}

}  // namespace

const Exhibit kExhibits[kExhibitCount] = {
    {QStringLiteral("animating-text-field"),
     QStringLiteral("AnimatingTextField"), makeTextField},
    {QStringLiteral("colored-background-view"),
     QStringLiteral("ColoredBackgroundView"), makeBackgrounds},
    {QStringLiteral("color-button-cell"), QStringLiteral("ColorButtonCell"),
     makeButtons},
    {QStringLiteral("hyper-text-field"), QStringLiteral("HyperTextField"),
     makeLink},
    {QStringLiteral("colored-popover-view-button"),
     QStringLiteral("ColoredPopoverView"), makePopoverView},
    {QStringLiteral("palette"), QStringLiteral("Palette"), makePalette},
    {QStringLiteral("images"), QStringLiteral("Images and icons"), makeImages},
    {QStringLiteral("alert-button"), QStringLiteral("runModalSheet"),
     makeAlerts},
};

std::unique_ptr<QWidget> makePopover(QWidget* parent) {
  auto popover = std::make_unique<QWidget>(parent, Qt::Popup);
  popover->setContentsMargins(1, 1, 1, 1);
  auto* const column = new QVBoxLayout(popover.get());
  column->setContentsMargins(0, 0, 0, 0);
  auto* const view = new ui::ColoredPopoverView(popover.get());
  fillPopover(*view);
  view->setResizablePopover(popover.get());
  column->addWidget(view);
  popover->resize(240, 150);
  return popover;
}

std::unique_ptr<QMessageBox> makeAlert(QWidget* parent) {
  auto alert = std::make_unique<QMessageBox>(parent);
  alert->setIconPixmap(ui::applicationIcon().pixmap(QSize(48, 48)));
  alert->setText(QStringLiteral("Discard the draft?"));
  alert->setInformativeText(
      QStringLiteral("It has not been sent, and cannot be brought back."));
  for (const char* title : {"Discard", "Keep", "Cancel"}) {
    alert->addButton(QLatin1String(title), QMessageBox::ActionRole);
  }
  return alert;
}

void holdFade(QWidget& exhibit) {
  auto* const field = exhibit.findChild<ui::AnimatingTextField*>();
  auto* const button = exhibit.findChild<QPushButton*>();
  if (field == nullptr || button == nullptr) return;
  button->click();
  auto* const fade = field->findChild<QVariantAnimation*>();
  if (fade == nullptr) return;
  fade->pause();
  fade->setCurrentTime(kFadeMiddle);
}

}  // namespace quillhaven::gallery
