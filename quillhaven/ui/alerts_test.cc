#include "quillhaven/ui/alerts.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDeadlineTimer>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <chrono>
#include <functional>
#include <memory>

#include "quillhaven/ui/internal/synchronous_sheet.h"

namespace quillhaven::ui {
namespace {

// An alert with three buttons, as a menu or a sheet would make it.
class Alert : public QMessageBox {
 public:
  Alert() {
    for (const char* title : {"Relaunch", "Later", "Cancel"}) {
      titled.append(addButton(title, QMessageBox::ActionRole));
    }
    setText("Question");
  }

  QList<QPushButton*> titled;
};

// Does `act` as soon as the alert is shown; ends one that never is.
void whenShown(QMessageBox& alert, std::function<void()> act) {
  constexpr std::chrono::seconds kLimit(20);
  const QDeadlineTimer deadline(kLimit);
  auto* const timer = new QTimer(qApp);
  QObject::connect(
      timer, &QTimer::timeout, timer, [&alert, act, timer, deadline] {
        if (deadline.hasExpired()) {
          timer->deleteLater();
          timer->stop();
          alert.done(0);
          FAIL() << "the alert is not shown";
        }
        if (!alert.isVisible() || alert.windowHandle() == nullptr ||
            !alert.windowHandle()->isExposed()) {
          return;
        }
        timer->deleteLater();
        timer->stop();
        act();
      });
  timer->start(1);
}

void click(QPushButton* button) { QTest::mouseClick(button, Qt::LeftButton); }

TEST(RunModalSheet, ReturnsThePlaceOfTheButton) {
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    QWidget window;
    window.show();
    Alert alert;
    whenShown(alert, [&] {
      EXPECT_EQ(alert.parentWidget(), &window);
      EXPECT_EQ(alert.windowModality(), Qt::WindowModal);
      EXPECT_EQ(alert.windowFlags() & Qt::Sheet, Qt::Sheet);
      click(alert.titled.at(i));
    });
    EXPECT_EQ(runModalSheet(alert, &window), 1000 + i);
    EXPECT_FALSE(alert.isVisible());
    EXPECT_EQ(alert.parentWidget(), nullptr);
  }
}

TEST(RunModalSheet, AnswersReturnAndEscape) {
  const struct {
    Qt::Key key;
    int expected;
  } cases[] = {{Qt::Key_Return, 1000}, {Qt::Key_Escape, 1002}};
  for (const auto& c : cases) {
    QWidget window;
    window.show();
    Alert alert;
    whenShown(alert, [&] { QTest::keyClick(&alert, c.key); });
    EXPECT_EQ(runModalSheet(alert, &window), c.expected);
  }
}

// Roles change the places at which a desktop shows the buttons.
TEST(RunModalSheet, CountsButtonsInTheOrderOfAdding) {
  using Role = QMessageBox::ButtonRole;
  constexpr Role kRoles[] = {QMessageBox::RejectRole, QMessageBox::HelpRole,
                             QMessageBox::AcceptRole,
                             QMessageBox::DestructiveRole};
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    QMessageBox alert;
    QList<QPushButton*> buttons;
    for (const Role role : kRoles) {
      buttons.append(alert.addButton(QString("Button"), role));
    }
    whenShown(alert, [&] { click(buttons.at(i)); });
    EXPECT_EQ(runModal(alert), 1000 + i);
  }
}

TEST(RunModalSheet, MakesAnAlertWithoutButtonsOneWithOK) {
  QMessageBox alert;
  whenShown(alert, [&] {
    ASSERT_EQ(alert.buttons().size(), 1);
    QTest::mouseClick(alert.buttons().first(), Qt::LeftButton);
  });
  EXPECT_EQ(runModal(alert), 1000);
}

TEST(RunModalSheet, EndsWhenItsWindowIsDestroyed) {
  auto window = std::make_unique<QWidget>();
  window->show();
  Alert alert;
  whenShown(alert, [&] { window.reset(); });
  EXPECT_EQ(runModalSheet(alert, window.get()), kAlertAborted);
  EXPECT_FALSE(alert.isVisible());
}

TEST(RunModalSheet, EndsWhenItIsClosedByCode) {
  QWidget window;
  window.show();
  Alert alert;
  whenShown(alert, [&] { alert.done(0); });
  EXPECT_EQ(runModalSheet(alert, &window), kAlertAborted);
}

TEST(RunModalSheet, RunsAgainAndInItself) {
  QWidget window;
  window.show();
  Alert outer;
  Alert inner;
  whenShown(outer, [&] {
    whenShown(inner, [&] { click(inner.titled.at(1)); });
    EXPECT_EQ(runModalSheet(inner, &outer), 1001);
    click(outer.titled.at(2));
  });
  EXPECT_EQ(runModalSheet(outer, &window), 1002);
  whenShown(outer, [&] { click(outer.titled.at(0)); });
  EXPECT_EQ(runModalSheet(outer, &window), 1000);
}

TEST(StopSynchronousSheet, TakesOtherSendersAsSaid) {
  Alert alert;
  QPushButton stranger;
  const struct {
    const QObject* sender;
    int expected;
  } cases[] = {{&stranger, 1000}, {alert.titled.at(2), 1002}};
  for (const auto& c : cases) {
    internal::SynchronousSheet sheet(alert);
    QTimer::singleShot(0, &sheet, [&] {
      sheet.stopSynchronousSheet(&alert);  // no button: does nothing
      sheet.stopSynchronousSheet(nullptr);
      QTimer::singleShot(0, &sheet,
                         [&] { sheet.stopSynchronousSheet(c.sender); });
    });
    EXPECT_EQ(sheet.run(), c.expected);
  }
}

}  // namespace
}  // namespace quillhaven::ui
