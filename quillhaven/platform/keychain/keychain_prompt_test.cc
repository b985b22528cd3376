// Real prompts: the keychain service asks on a display, and somebody answers.
#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "quillhaven/platform/keychain/sec_item.h"
#include "quillhaven/platform/keychain/secret_service_keychain.h"
#include "quillhaven/platform/keychain/testing/secret_service_session.h"

namespace quillhaven::platform {
namespace {

using testing::ChildProcess;
using testing::SecretServiceSession;

int run(std::vector<std::string> command) {
  ChildProcess child;
  child.start(std::move(command));
  return child.wait();
}

// Types into the prompt once it is shown.
class Typist {
 public:
  // `text` may be empty; `key` ends the prompt.
  Typist(std::string text, std::string key)
      : thread_([this, text = std::move(text), key = std::move(key)] {
          wasAsked_ = answer(text, key);
        }) {}

  // Waits for the answer to be given; false when no prompt came.
  bool wasAsked() {
    thread_.join();
    return wasAsked_;
  }

 private:
  static bool isShown() {
    return run({"xdotool", "search", "--onlyvisible", "--class",
                "gcr-prompter"}) == 0;
  }

  // Waits until a prompt is shown or is no more; false when it takes too long.
  static bool waitUntilShown(bool isWanted, std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (isShown() != isWanted) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      ::poll(nullptr, 0, 20);
    }
    return true;
  }

  static bool answer(const std::string& text, const std::string& key) {
    if (!waitUntilShown(true, std::chrono::seconds(60))) return false;
    // A prompt that does not have the keyboard yet misses what is typed.
    for (int tries = 0; tries < 20; ++tries) {
      run({"xdotool", "key", "ctrl+a"});
      if (!text.empty()) run({"xdotool", "type", text});
      run({"xdotool", "key", key});
      if (waitUntilShown(false, std::chrono::seconds(2))) return true;
    }
    return false;
  }

  bool wasAsked_ = false;
  std::jthread thread_;
};

TEST(KeychainPrompt, UnlocksWhatTheUserAllows) {
  SecretServiceSession session({true, true});
  session.startKeyring();
  setKeychainBackend(makeSecretServiceKeychain());
  SecItemQuery query;
  query.service = "com.example.prompt";
  query.account = "a";
  query.valueData = secretBytesFrom("secret");
  query.returnData = true;
  ASSERT_EQ(secItemAdd(query), 0);

  ASSERT_EQ(secKeychainLock(), 0);
  Typist declines("", "Escape");
  EXPECT_EQ(secKeychainUnlock(), kErrSecUserCanceled);
  EXPECT_TRUE(declines.wasAsked());

  Typist allows(SecretServiceSession::kPassword, "Return");
  EXPECT_EQ(secKeychainUnlock(), 0);
  EXPECT_TRUE(allows.wasAsked());
  // Unlocked: nobody is asked.
  EXPECT_EQ(secKeychainUnlock(), 0);
  EXPECT_EQ(secItemCopyMatching(query).items.size(), 1U);

  // Reading and adding ask by themselves.
  ASSERT_EQ(secKeychainLock(), 0);
  Typist allowsReading(SecretServiceSession::kPassword, "Return");
  const SecItemMatches matches = secItemCopyMatching(query);
  EXPECT_TRUE(allowsReading.wasAsked());
  ASSERT_EQ(matches.items.size(), 1U);
  EXPECT_EQ(viewOf(*matches.items[0].valueData), "secret");

  // So does reading from a keyring that the service has never seen open, of
  // which it knows hashes of attributes only; for attributes as well.
  SecItemQuery attributes = query;
  attributes.account.reset();
  attributes.returnAttributes = true;
  for (const SecItemQuery& each : {query, attributes}) {
    session.startKeyring(false);
    Typist allowsReadingAnew(SecretServiceSession::kPassword, "Return");
    const SecItemMatches anew = secItemCopyMatching(each);
    EXPECT_TRUE(allowsReadingAnew.wasAsked());
    ASSERT_EQ(anew.items.size(), 1U);
    EXPECT_EQ(viewOf(*anew.items[0].valueData), "secret");
    if (each.returnAttributes) {
      EXPECT_EQ(anew.items[0].attributes->account, "a");
    }
  }

  ASSERT_EQ(secKeychainLock(), 0);
  query.account = "b";
  Typist allowsAdding(SecretServiceSession::kPassword, "Return");
  EXPECT_EQ(secItemAdd(query), 0);
  EXPECT_TRUE(allowsAdding.wasAsked());
  EXPECT_EQ(secItemCopyMatching(query).items.size(), 1U);
  setKeychainBackend(nullptr);
}

}  // namespace
}  // namespace quillhaven::platform
