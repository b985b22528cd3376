#include "quillhaven/identity/website.h"

#include <mutex>
#include <utility>

#include "quillhaven/identity/internal/desktop_opener.h"
#include "quillhaven/identity/product_configuration.h"
#include "quillhaven/platform/base/fatal_error.h"
#include "quillhaven/platform/url/url_components.h"

namespace quillhaven::identity {
namespace {

constexpr std::string_view kScheme = "https://";
constexpr std::string_view kHelpPath = "/help/";
constexpr std::string_view kTermsPath = "/terms-and-conditions";
// The account's provider, which is the fragment, follows.
constexpr std::string_view kAuthorizeArticle =
    "how-do-i-authorize-quillhaven-for-my-email-account-in-apple-mail-on-"
    "macos-sonoma#";
constexpr std::string_view kAutomationArticle =
    "how-to-set-default-automation-for-your-tasks-reminders-and-send-later";

struct PageEntry {
  std::string_view name;
  std::string_view article;
  std::string_view provider = {};
};

// In the order of their numbers. The first two are no articles.
constexpr PageEntry kPages[] = {
    {"termsAndConditions", ""},
    {"helpCenter", ""},
    {"twoFactorAuthenticationICloud",
     "how-do-i-activate-two-factor-authentication-for-icloud"},
    {"activatePluginsMojaveCatalina",
     "how-do-i-activate-apple-mail-plugins-in-macos-mojave-catalina"},
    {"uninstall", "how-do-i-uninstall-quillhaven"},
    {"compatibilityMode",
     "what-is-compatibility-mode-for-send-later-and-snooze"},
    {"placeholders", "how-to-use-placeholders"},
    {"sendLater",
     "how-do-i-schedule-an-email-with-send-later#send-later-for-apple-mail"},
    {"defaultAutomation", kAutomationArticle},
    {"notifications", "how-do-i-receive-quillhaven-notifications-on-macos"},
    {"privacySettings", "how-do-i-choose-my-privacy-settings"},
    {"preferences", "how-do-i-set-my-preferences-for-quillhaven"},
    {"integrations", "how-do-i-integrate-quillhaven-with-my-favourite-service"},
    {"tags", "how-do-i-add-tags"},
    {"manageSubscription", "how-do-i-manage-my-quillhaven-subscription"},
    {"subscribe", "how-do-i-subscribe-to-a-quillhaven-plan"},
    {"signatures", "how-do-i-create-email-signatures-in-quillhaven-dashboard"},
    {"messageTemplates", "how-do-i-create-message-templates"},
    {"teams", "how-to-create-and-manage-a-team-in-dashboard"},
    {"corruptedPluginMojaveCatalina",
     "incompatible-plug-ins-disabled-macos-10-14-mojave-and-10-15-catalina-"
     "only#fix-corrupted-plugin-mgmt-steps"},
    {"corruptedPluginBigSur",
     "incompatible-plug-ins-disabled-macos-11-big-sur-or-later#fix-corrupted-"
     "plugin-mgmt-steps"},
    {"automation", kAutomationArticle},
    {"cloudScheduling",
     "what-are-the-advantages-of-quillhaven-s-cloud-scheduling-over-macos-"
     "ventura-s-local-scheduling"},
    {"selfTracking", "what-is-self-tracking-and-how-can-i-prevent-it"},
    {"authorizeICloud", kAuthorizeArticle, "icloud"},
    {"authorizeOutlook", kAuthorizeArticle, "outlook"},
    {"authorizeGmail", kAuthorizeArticle, "gmail"},
    {"authorizeOther", kAuthorizeArticle, "imap-pop-exchange"},
    {"authorizeAOL", kAuthorizeArticle, "aol"},
    {"authorizeYahoo", kAuthorizeArticle, "yahoo"},
    {"attachSidebarSonoma",
     "how-do-i-attach-the-quillhaven-sidebar-to-the-apple-mail-window-on-macos-"
     "sonoma"},
    {"useOnSonoma", "how-do-i-use-quillhaven-on-macos-sonoma"},
};
static_assert(std::size(kPages) == Website::kPageCount);

const PageEntry& entryWithRawValue(std::int64_t rawValue) {
  if (rawValue < 0 || rawValue >= Website::kPageCount) {
    platform::fatalError("no page of the web site has the number " +
                         std::to_string(rawValue));
  }
  return kPages[rawValue];
}

const PageEntry& entryOf(Website::Page page) {
  return entryWithRawValue(static_cast<int>(page));
}

std::mutex& openerLock() {
  static std::mutex lock;
  return lock;
}

// Empty for the desktop's. Guarded by openerLock().
Website::Opener& hostOpener() {
  static Website::Opener opener;
  return opener;
}

}  // namespace

Website::Page Website::pageWithRawValue(std::int64_t rawValue) {
  entryWithRawValue(rawValue);
  return static_cast<Page>(rawValue);
}

std::optional<Website::Page> Website::pageWithName(std::string_view name) {
  for (int i = 0; i < kPageCount; ++i) {
    if (kPages[i].name == name) return static_cast<Page>(i);
  }
  return std::nullopt;
}

std::string_view Website::name(Page page) { return entryOf(page).name; }

std::string Website::address(Page page) {
  const PageEntry& entry = entryOf(page);
  const ProductConfiguration& configuration = productConfiguration();
  std::string url(kScheme);
  if (page == Page::termsAndConditions) {
    return url.append(configuration.mainWebsiteHost).append(kTermsPath);
  }
  url.append(configuration.helpCenterHost);
  if (page == Page::helpCenter) return url.append("/");
  return url.append(kHelpPath).append(entry.article).append(entry.provider);
}

bool Website::open(Page page) {
  const std::string url = address(page);
  const auto components = platform::urlComponents(url);
  if (!components || components->host.value_or("").empty()) return false;
  Opener opener;
  {
    const std::lock_guard guard(openerLock());
    opener = hostOpener();
  }
  return opener ? opener(url) : internal::openWithDesktop(url);
}

void Website::setOpener(Opener opener) {
  const std::lock_guard guard(openerLock());
  hostOpener() = std::move(opener);
}

}  // namespace quillhaven::identity
