// The sheets of the Develop menu, and what is done with what they are given.
#include <QDialog>
#include <QFile>
#include <QFileDialog>
#include <QFont>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVariant>
#include <algorithm>
#include <utility>

#include "quillhaven/devtools/dev_tools.h"
#include "quillhaven/devtools/internal/dev_tools_private.h"
#include "quillhaven/devtools/internal/input_sheet.h"
#include "quillhaven/devtools/internal/server_address.h"
#include "quillhaven/devtools/plan_tier_credentials.h"
#include "quillhaven/platform/files/security_scoped_bookmark.h"
#include "quillhaven/platform/text/character_set.h"
#include "quillhaven/ui/alerts.h"

namespace quillhaven::devtools {
namespace {

using internal::InputSheetLayout;

constexpr int kURLFieldTag = 1000;
constexpr int kURLFieldWidth = 250;    // points, at least
constexpr int kLoginFieldWidth = 200;  // points, at least
// Of a small control beside a regular one.
constexpr double kSmallFontScale = 11.0 / 13.0;

std::string trimmed(const std::string& text) {
  return std::string(
      platform::CharacterSet::whitespaceAndNewlines().trimmed(text));
}

QString unlocalized(const char* text) {
  return QHDevTools::unlocalizedStringForString(QString::fromUtf8(text));
}

QLabel* newLabel(const char* text, QLineEdit* field) {
  auto* const label = new QLabel(unlocalized(text));
  label->setTextFormat(Qt::PlainText);
  label->setBuddy(field);  // for assistive technology
  return label;
}

QLineEdit* newField(const char* placeholder) {
  auto* const field = new QLineEdit;
  field->setPlaceholderText(unlocalized(placeholder));
  return field;
}

// Return belongs to the default button alone, whatever has the focus.
QPushButton* newButton(const char* title) {
  auto* const button = new QPushButton(unlocalized(title));
  button->setAutoDefault(false);
  return button;
}

void makeSmall(QPushButton& button) {
  QFont font = button.font();
  if (font.pointSizeF() > 0) {
    font.setPointSizeF(font.pointSizeF() * kSmallFontScale);
  } else {
    font.setPixelSize(std::max(1, qRound(font.pixelSize() * kSmallFontScale)));
  }
  button.setFont(font);
}

void endSheet(const QWidget& sender, int response) {
  if (auto* const sheet = qobject_cast<QDialog*>(sender.window())) {
    sheet->done(response);
  }
}

}  // namespace

std::unique_ptr<QDialog> QHDevTools::_inputSheetWindowForType(
    InputSheetType type, std::vector<QLineEdit*>& textFields) {
  auto sheet = std::make_unique<QDialog>(
      nullptr, Qt::Sheet | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
  auto* const layout = new InputSheetLayout(sheet.get());
  layout->setSizeConstraint(QLayout::SetFixedSize);
  QObject* const context = &d_->context;
  textFields.clear();

  if (type == InputSheetType::kServerURL) {
    QLineEdit* const url = newField("Server URL");
    url->setProperty(internal::kTagProperty, kURLFieldTag);
    QPushButton* const choose = newButton("Choose Local Folder\u2026");
    makeSmall(*choose);
    layout->addRow(newLabel("URL:", url), url, kURLFieldWidth, choose);
    QObject::connect(choose, &QPushButton::clicked, context,
                     [this, choose] { chooseLocalFolder(*choose); });
    textFields = {url};
  } else if (type == InputSheetType::kLogin) {
    QLineEdit* const email = newField("Email Address");
    QLineEdit* const password = newField("");
    password->setEchoMode(QLineEdit::Password);
    layout->addRow(newLabel("Email:", email), email, kLoginFieldWidth, nullptr);
    layout->addRow(newLabel("Password:", password), password, kLoginFieldWidth,
                   nullptr);
    textFields = {email, password};
  }

  QPushButton* const accept =
      newButton(type == InputSheetType::kLogin ? "Login" : "Set");
  accept->setDefault(true);  // Return
  QPushButton* const cancel = newButton("Cancel");
  cancel->setShortcut(Qt::Key_Escape);
  layout->setButtons(cancel, accept);
  QObject::connect(accept, &QPushButton::clicked, context,
                   [this, accept] { acceptInputSheet(*accept); });
  QObject::connect(cancel, &QPushButton::clicked, context,
                   [this, cancel] { cancelInputSheet(*cancel); });
  if (!textFields.empty()) textFields.front()->setFocus();
  return sheet;
}

void QHDevTools::acceptInputSheet(QWidget& sender) {
  endSheet(sender, kSheetAccepted);
}

void QHDevTools::cancelInputSheet(QWidget& sender) {
  endSheet(sender, kSheetCancelled);
}

void QHDevTools::Private::beginSheet(std::unique_ptr<QDialog> sheet,
                                     std::function<void(int)> ended) {
  const auto host = delegate.lock();
  QWidget* const window =
      host ? host->windowForAttachingSheetsForDevTools(owner) : nullptr;
  if (!window) return;

  QDialog* const shown = sheet.release();  // now the window's, and ours
  shown->setParent(window->window(), shown->windowFlags());
  shown->setWindowModality(Qt::WindowModal);
  std::erase_if(sheets, [](const auto& gone) { return gone.isNull(); });
  sheets.emplace_back(shown);
  QObject::connect(shown, &QDialog::finished, &context,
                   [this, shown, ended = std::move(ended)](int response) {
                     std::erase(sheets, shown);
                     shown->deleteLater();
                     // Last: the handler may end this object.
                     ended(response);
                   });
  shown->open();
}

void QHDevTools::_showChooseServerURLSheetWithDefaultURL(
    std::optional<std::string_view> defaultURL, ServerType type,
    ServerURLSheetHandler completionHandler) {
  std::vector<QLineEdit*> fields;
  auto sheet = _inputSheetWindowForType(InputSheetType::kServerURL, fields);
  QLineEdit* const url = fields.at(0);
  if (defaultURL) {
    url->setText(QString::fromUtf8(defaultURL->data(),
                                   static_cast<qsizetype>(defaultURL->size())));
  }
  d_->beginSheet(
      std::move(sheet),
      [this, url, type, handler = std::move(completionHandler)](int response) {
        d_->endURLSheet(response, trimmed(url->text().toStdString()), type,
                        handler);
      });
}

void QHDevTools::Private::endURLSheet(int response, const std::string& text,
                                      ServerType type,
                                      const ServerURLSheetHandler& handler) {
  const auto address = internal::serverAddressFromText(text);
  const auto url =
      address ? std::optional(address->absoluteString) : std::nullopt;

  if (response == kSheetAccepted && (!address || address->isLocal()) &&
      !(address && address->path && internal::isReadable(*address->path))) {
    const QPointer<QObject> alive(&context);
    runErrorAlert(
        unlocalized("No read permissions to folder"),
        unlocalized("Mail does not have read permissions to '%@'. "
                    "Make sure to use the Choose\u2026 button for "
                    "file URLs.")
            .replace(QLatin1String("%@"), QString::fromStdString(text)));
    if (alive && handler) handler(kSheetFolderUnreadable, url);
    return;
  }

  if (response == kSheetAccepted && address->isFileURL) {
    const auto bookmark =
        platform::securityScopedBookmarkForPath(*address->path);
    const bool isKnown =
        type == ServerType::kWebComponents || type == ServerType::kCheckout;
    if (bookmark && isKnown) {
      const ServerKeys& keys = type == ServerType::kWebComponents
                                   ? kWebComponentsKeys
                                   : kCheckoutKeys;
      write(userDefaults, keys.bookmark,
            platform::PropertyList::Data{*bookmark});
    }
  }
  if (handler) handler(response, url);
}

void QHDevTools::_showLoginSheetWithCompletionHandler(
    LoginSheetHandler completionHandler) {
  std::vector<QLineEdit*> fields;
  auto sheet = _inputSheetWindowForType(InputSheetType::kLogin, fields);
  d_->beginSheet(std::move(sheet),
                 [email = fields.at(0), password = fields.at(1),
                  handler = std::move(completionHandler)](int response) {
                   if (!handler) return;
                   handler(response, email->text().toStdString(),
                           password->text().toStdString());
                 });
}

void QHDevTools::chooseLocalFolder(QWidget& sender) {
  const QPointer<QWidget> view(&sender);
  // The panel goes with the sheet, should that go while it is open.
  const QPointer<QFileDialog> panel(new QFileDialog(sender.window()));
  panel->setFileMode(QFileDialog::Directory);
  panel->setOption(QFileDialog::ShowDirsOnly);
  const int response = panel->exec();
  if (!panel) return;
  const QStringList chosen = panel->selectedFiles();
  panel->deleteLater();
  if (response != QDialog::Accepted || chosen.isEmpty() || !view) return;

  const std::string path = QFile::encodeName(chosen.first()).toStdString();
  auto* const field = qobject_cast<QLineEdit*>(
      internal::viewWithTag(*view->window(), kURLFieldTag));
  if (field) {
    field->setText(QString::fromStdString(internal::folderURLFromPath(path)));
  }
  endSheet(*view, kSheetAccepted);
}

void QHDevTools::Private::runErrorAlert(const QString& message,
                                        const QString& informativeText) {
  const auto alert =
      internal::makeAlert(QMessageBox::Warning, alertIcon, message,
                          informativeText, {unlocalized("OK")});
  ui::runModal(*alert);
}

void QHDevTools::doQuickLogin(QAction& sender) {
  const int tier = sender.data().toInt();
  platform::OSStatus status = platform::kErrSecSuccess;
  static_cast<void>(_keychainAccountCredentialsForPlanTier(tier, status));
  if (status == platform::kErrSecSuccess) {
    _loginAccountWithPlanTier(tier);
  } else {
    setLoginCredentials(sender);
  }
}

void QHDevTools::setLoginCredentials(QAction& sender) {
  _showLoginSheetWithCompletionHandler(
      [this, tier = sender.data().toInt()](
          int response, const std::string& email, const std::string& password) {
        if (response != kSheetAccepted) return;
        platform::OSStatus status = platform::kErrSecSuccess;
        if (_saveKeychainAccountCredentials({trimmed(email), trimmed(password)},
                                            tier, status)) {
          _loginAccountWithPlanTier(tier);
          return;
        }
        d_->runErrorAlert(
            unlocalized("Keychain Error"),
            unlocalized("Unable to save account in Keychain: %d")
                .replace(QLatin1String("%d"), QString::number(status)));
      });
}

void QHDevTools::_loginAccountWithPlanTier(int tier) {
  platform::OSStatus status = platform::kErrSecSuccess;
  const AccountCredentials credentials =
      _keychainAccountCredentialsForPlanTier(tier, status)
          .value_or(AccountCredentials{});
  const QPointer<QObject> alive(&d_->context);
  d_->tellDelegate(&QHDevToolsDelegate::logoutAllWebComponentViewsForDevTools);
  if (!alive) return;
  if (const auto host = d_->delegate.lock()) {
    host->loginWithEmail(*this, credentials.account, credentials.password);
  }
}

void QHDevTools::Private::resolveBookmark(const ServerKeys& keys) {
  const auto bookmark = userDefaults.dataForKey(keys.bookmark);
  if (!bookmark) return;
  const auto resolved = platform::resolveSecurityScopedBookmark(*bookmark);
  if (!resolved || resolved->isStale ||
      !platform::startAccessingSecurityScopedResource(resolved->path)) {
    remove(userDefaults, {keys.bookmark, keys.baseURL, keys.recentBaseURL});
  }
}

void QHDevTools::_resolveWebComponentsSecurityScopedBookmark() {
  d_->resolveBookmark(kWebComponentsKeys);
}

void QHDevTools::_resolveCheckoutSecurityScopedBookmark() {
  d_->resolveBookmark(kCheckoutKeys);
}

}  // namespace quillhaven::devtools
