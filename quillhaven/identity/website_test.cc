#include "quillhaven/identity/website.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "quillhaven/platform/files/testing/temporary_folder.h"

namespace quillhaven::identity {
namespace {

using Page = Website::Page;

constexpr std::string_view kHelp = "https://help.quillhaven.example/help/";

TEST(Website, EveryPageHasItsAddress) {
  const std::string authorize =
      "how-do-i-authorize-quillhaven-for-my-email-account-in-apple-mail-on-"
      "macos-sonoma#";
  const std::pair<std::string_view, std::string> articles[] = {
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
      {"defaultAutomation",
       "how-to-set-default-automation-for-your-tasks-reminders-and-send-later"},
      {"notifications", "how-do-i-receive-quillhaven-notifications-on-macos"},
      {"privacySettings", "how-do-i-choose-my-privacy-settings"},
      {"preferences", "how-do-i-set-my-preferences-for-quillhaven"},
      {"integrations",
       "how-do-i-integrate-quillhaven-with-my-favourite-service"},
      {"tags", "how-do-i-add-tags"},
      {"manageSubscription", "how-do-i-manage-my-quillhaven-subscription"},
      {"subscribe", "how-do-i-subscribe-to-a-quillhaven-plan"},
      {"signatures",
       "how-do-i-create-email-signatures-in-quillhaven-dashboard"},
      {"messageTemplates", "how-do-i-create-message-templates"},
      {"teams", "how-to-create-and-manage-a-team-in-dashboard"},
      {"corruptedPluginMojaveCatalina",
       "incompatible-plug-ins-disabled-macos-10-14-mojave-and-10-15-catalina-"
       "only#fix-corrupted-plugin-mgmt-steps"},
      {"corruptedPluginBigSur",
       "incompatible-plug-ins-disabled-macos-11-big-sur-or-later#fix-corrupted-"
       "plugin-mgmt-steps"},
      {"automation",
       "how-to-set-default-automation-for-your-tasks-reminders-and-send-later"},
      {"cloudScheduling",
       "what-are-the-advantages-of-quillhaven-s-cloud-scheduling-over-macos-"
       "ventura-s-local-scheduling"},
      {"selfTracking", "what-is-self-tracking-and-how-can-i-prevent-it"},
      {"authorizeICloud", authorize + "icloud"},
      {"authorizeOutlook", authorize + "outlook"},
      {"authorizeGmail", authorize + "gmail"},
      {"authorizeOther", authorize + "imap-pop-exchange"},
      {"authorizeAOL", authorize + "aol"},
      {"authorizeYahoo", authorize + "yahoo"},
      {"attachSidebarSonoma",
       "how-do-i-attach-the-quillhaven-sidebar-to-the-apple-mail-window-on-"
       "macos-sonoma"},
      {"useOnSonoma", "how-do-i-use-quillhaven-on-macos-sonoma"},
  };
  EXPECT_EQ(Website::address(Page::termsAndConditions),
            "https://www.quillhaven.example/terms-and-conditions");
  EXPECT_EQ(Website::address(Page::helpCenter),
            "https://help.quillhaven.example/");
  int rawValue = 2;
  for (const auto& [name, article] : articles) {
    SCOPED_TRACE(name);
    const Page page = Website::pageWithRawValue(rawValue++);
    EXPECT_EQ(Website::address(page), std::string(kHelp) + article);
    EXPECT_EQ(Website::name(page), name);
    EXPECT_EQ(Website::pageWithName(name), page);
  }
  EXPECT_EQ(rawValue, Website::kPageCount);
  // The names in the code and those in the table are two lists.
  EXPECT_EQ(Website::name(Page::automation), "automation");
  EXPECT_EQ(Website::name(Page::attachSidebarSonoma), "attachSidebarSonoma");
  EXPECT_FALSE(Website::pageWithName("Tags"));
  for (const int number : {-1, 32, 1000}) {
    EXPECT_DEATH((void)Website::pageWithRawValue(number), "no page");
  }
}

TEST(Website, OpensWithTheHostsOpenerOrTheDesktops) {
  std::string opened;
  Website::setOpener([&opened](const std::string& url) {
    opened = url;
    return true;
  });
  EXPECT_TRUE(Website::open(Page::tags));
  EXPECT_EQ(opened, std::string(kHelp) + "how-do-i-add-tags");
  Website::setOpener({});

  // A desktop whose opener writes down what it is given.
  const platform::testing::TemporaryFolder folder;
  ASSERT_EQ(::mkfifo(folder.path("told").c_str(), 0600), 0);
  folder.writeProgram("xdg-open",
                      "#!/bin/sh\nprintf '%s|%s\\n' \"$#\" \"$1\" > '" +
                          folder.path("told") + "'\n");
  const std::string path = std::getenv("PATH");
  ::setenv("PATH", (folder.path() + ":" + path).c_str(), 1);
  EXPECT_TRUE(Website::open(Page::sendLater));
  EXPECT_EQ(folder.read("told"),
            "1|" + std::string(kHelp) +
                "how-do-i-schedule-an-email-with-send-later#send-later-for-"
                "apple-mail\n");
  ::setenv("PATH", folder.path("empty").c_str(), 1);
  EXPECT_FALSE(Website::open(Page::tags));
  ::setenv("PATH", path.c_str(), 1);
}

}  // namespace
}  // namespace quillhaven::identity
