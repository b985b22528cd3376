#include "quillhaven/devtools/plan_tier_credentials.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/files/testing/temporary_folder.h"
#include "quillhaven/platform/keychain/keychain_backend.h"
#include "quillhaven/platform/keychain/sealed_file_keychain.h"
#include "quillhaven/platform/keychain/testing/in_memory_keychain.h"

namespace quillhaven::devtools {
namespace {

using platform::OSStatus;

class PlanTierCredentials : public ::testing::Test {
 protected:
  PlanTierCredentials() {
    platform::setKeychainBackend(platform::makeSealedFileKeychain(
        {.folder = folder_.path(), .askPassphrase = {}}));
  }
  ~PlanTierCredentials() override { platform::setKeychainBackend(nullptr); }

  static std::size_t itemsOf(int tier) {
    platform::SecItemQuery query = _keychainSearchDictionaryForPlanTier(tier);
    query.matchLimit = platform::SecMatchLimit::kAll;
    return secItemCopyMatching(query).items.size();
  }

  OSStatus status = 1;

 private:
  const platform::testing::TemporaryFolder folder_;
};

TEST_F(PlanTierCredentials, HaveAServiceATier) {
  const std::string prefix = "com.quillhaven.mailplugin.develop.account.";
  const struct {
    int tier;
    std::optional<std::string_view> name;
    std::string word;
  } cases[] = {{-1, std::nullopt, "(null)"}, {0, "Sprout", "sprout"},
               {1, "Grove", "grove"},        {2, "Canopy", "canopy"},
               {3, "Forest", "forest"},      {4, std::nullopt, "(null)"}};
  for (const auto& c : cases) {
    EXPECT_EQ(planTierName(c.tier), c.name);
    EXPECT_EQ(_keychainServiceNameForPlanTier(c.tier), prefix + c.word);
  }
}

TEST_F(PlanTierCredentials, ReplaceWhatTheTierHas) {
  EXPECT_FALSE(_keychainAccountCredentialsForPlanTier(1, status));
  EXPECT_EQ(status, -25300);
  EXPECT_FALSE(keychainAccountForPlanTier(1, status));
  EXPECT_EQ(status, -25300);

  const AccountCredentials all[] = {{"a@example.com", "pässword"},
                                    {"b@example.com", ""},
                                    {"b@example.com", "third"},
                                    {"", "x"}};
  for (const AccountCredentials& credentials : all) {
    SCOPED_TRACE(*credentials.password);
    EXPECT_TRUE(_saveKeychainAccountCredentials(credentials, 1, status));
    EXPECT_EQ(status, 0);
    EXPECT_EQ(itemsOf(1), 1U);
    EXPECT_EQ(_keychainAccountCredentialsForPlanTier(1, status), credentials);
    EXPECT_EQ(keychainAccountForPlanTier(1, status), credentials.account);
    EXPECT_EQ(status, 0);
  }
  for (const int other : {0, 2, 3, 4}) EXPECT_EQ(itemsOf(other), 0U);
}

TEST_F(PlanTierCredentials, LackAPasswordThatIsNoText) {
  platform::SecItemQuery item;
  item.service = _keychainServiceNameForPlanTier(3);
  item.account = "a@example.com";
  item.valueData = platform::secretBytesFrom("\xFF");
  ASSERT_EQ(secItemAdd(item), 0);
  EXPECT_EQ(_keychainAccountCredentialsForPlanTier(3, status),
            (AccountCredentials{"a@example.com", std::nullopt}));
  EXPECT_EQ(status, 0);
}

// Which calls reach the store, and which status is the outcome.
TEST_F(PlanTierCredentials, TellTheLastStatus) {
  const struct {
    std::string_view failing;
    OSStatus failure;
    bool isSaved;
    std::string calls;
  } cases[] = {{"", 0, true, "find update "},
               {"update", -25293, false, "find update "},
               // Unreadable, so a new one is added: the service has one.
               {"find", -25308, true, "find add "},
               {"find", -25300, true, "find add "}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.failing);
    std::string calls;
    bool isRecording = false;
    platform::setKeychainBackend(
        std::make_shared<platform::testing::InMemoryKeychain>(
            [&](std::string_view operation) {
              if (!isRecording) return OSStatus{0};
              calls += std::string(operation) + " ";
              return operation == c.failing ? c.failure : OSStatus{0};
            }));
    ASSERT_TRUE(_saveKeychainAccountCredentials({"a", "b"}, 0, status));
    isRecording = true;
    EXPECT_EQ(_saveKeychainAccountCredentials({"c", "d"}, 0, status),
              c.isSaved);
    EXPECT_EQ(status, c.isSaved ? 0 : c.failure);
    EXPECT_EQ(calls, c.calls);
  }
}

}  // namespace
}  // namespace quillhaven::devtools
