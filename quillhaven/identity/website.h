// The product's pages for users: where they are, and opening them.
#ifndef QUILLHAVEN_IDENTITY_WEBSITE_H_
#define QUILLHAVEN_IDENTITY_WEBSITE_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quillhaven::identity {

// The main web site and the help centre, on the hosts of the product
// configuration. Thread-safe.
class Website {
 public:
  // Stored settings and messages hold the numbers, 0 to 31 without gaps.
  enum class Page {
    termsAndConditions = 0,
    helpCenter,
    twoFactorAuthenticationICloud,
    activatePluginsMojaveCatalina,
    uninstall,
    compatibilityMode,
    placeholders,
    sendLater,
    defaultAutomation,
    notifications,
    privacySettings,
    preferences,
    integrations,
    tags,
    manageSubscription,
    subscribe,
    signatures,
    messageTemplates,
    teams,
    corruptedPluginMojaveCatalina,
    corruptedPluginBigSur,
    automation,
    cloudScheduling,
    selfTracking,
    authorizeICloud,
    authorizeOutlook,
    authorizeGmail,
    authorizeOther,
    authorizeAOL,
    authorizeYahoo,
    attachSidebarSonoma,
    useOnSonoma = 31,
  };
  static constexpr int kPageCount = 32;

  // Returns the page with this number; a number that no page has is a fatal
  // error.
  [[nodiscard]] static Page pageWithRawValue(std::int64_t rawValue);

  // Returns the page that is called `name` above, or nothing.
  [[nodiscard]] static std::optional<Page> pageWithName(std::string_view name);

  [[nodiscard]] static std::string_view name(Page page);

  // Returns the address of the page, such as
  // "https://help.quillhaven.example/help/how-to-use-placeholders".
  [[nodiscard]] static std::string address(Page page);

  // Opens the page in the user's browser. Returns false, having done nothing,
  // when its address is no valid URL, which takes an odd host name in the
  // configuration, or when there is nothing to open it with.
  static bool open(Page page);

  // Opens a URL and returns whether there was something to open it with.
  // Called on the thread that opens the page.
  using Opener = std::function<bool(const std::string& url)>;

  // Makes `opener` open all pages from now on; an empty one brings back the
  // desktop's, the program xdg-open.
  static void setOpener(Opener opener);
};

}  // namespace quillhaven::identity

#endif  // QUILLHAVEN_IDENTITY_WEBSITE_H_
