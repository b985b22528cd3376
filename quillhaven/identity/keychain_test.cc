#include "quillhaven/identity/keychain.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quillhaven/platform/keychain/sealed_file_keychain.h"
#include "quillhaven/platform/keychain/sec_item.h"
#include "quillhaven/platform/keychain/secret_service_keychain.h"
#include "quillhaven/platform/keychain/testing/in_memory_keychain.h"
#include "quillhaven/platform/keychain/testing/secret_service_session.h"
#include "quillhaven/platform/run_loop/main_queue.h"

namespace quillhaven::identity {
namespace {

using platform::OSStatus;
using platform::testing::InMemoryKeychain;
using platform::testing::SecretServiceSession;
using namespace std::string_view_literals;

using Account = std::optional<std::string_view>;
constexpr const char kService[] = "com.example.identity";

SecretServiceSession& session() {
  static const auto instance = std::make_unique<SecretServiceSession>(
      platform::testing::SessionOptions{false, false});
  return *instance;
}

// Returns the status that `work` fails with, 0 if it does not, 1 for a password
// that cannot be encoded.
template <typename Work>
OSStatus statusOf(const Work& work) {
  try {
    work();
    return 0;
  } catch (const KeychainError& error) {
    return error.errorCode();
  }
}

struct Store {
  const char* name;
  std::function<std::shared_ptr<platform::KeychainBackend>()> make;
};

void PrintTo(const Store& store, std::ostream* stream) {
  *stream << store.name;
}

const Store kStores[] = {
    {"SecretService",
     [] {
       session().startKeyring();
       return platform::makeSecretServiceKeychain();
     }},
    {"SealedFile",
     [] {
       return platform::makeSealedFileKeychain(
           {session().folder() + "/sealed", {}, false});
     }},
};

class KeychainStore : public ::testing::TestWithParam<Store> {
 protected:
  KeychainStore() { platform::setKeychainBackend(GetParam().make()); }
  ~KeychainStore() override {
    (void)statusOf([&] { keychain_.reset(); });
    platform::setKeychainBackend(nullptr);
  }

  OSStatus save(std::string_view password, Account account,
                bool isSynchronizable) {
    return statusOf(
        [&] { keychain_.save(password, account, isSynchronizable); });
  }
  OSStatus update(std::string_view password, Account account,
                  bool isSynchronizable) {
    return statusOf(
        [&] { keychain_.update(password, account, isSynchronizable); });
  }
  OSStatus remove(Account account, bool isSynchronizable) {
    return statusOf(
        [&] { keychain_.removePassword(account, isSynchronizable); });
  }
  OSStatus reset() {
    return statusOf([&] { keychain_.reset(); });
  }

  Keychain keychain_{kService};
};

INSTANTIATE_TEST_SUITE_P(Stores, KeychainStore, ::testing::ValuesIn(kStores),
                         [](const auto& information) {
                           return information.param.name;
                         });

TEST_P(KeychainStore, TreatsLocalAndSynchronizablePasswordsDifferently) {
  const struct {
    bool isSynchronizable;
    bool existsAfterwards;
    OSStatus secondSave;
    std::string_view password;
  } cases[] = {{false, false, -25299, "first"}, {true, true, 0, "second"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.isSynchronizable);
    EXPECT_EQ(keychain_.password("a", c.isSynchronizable), std::nullopt);
    EXPECT_FALSE(keychain_.existsPassword("a", c.isSynchronizable));
    EXPECT_EQ(update("x", "a", c.isSynchronizable), -25300);
    EXPECT_EQ(remove("a", c.isSynchronizable), 0);

    EXPECT_EQ(save("first", "a", c.isSynchronizable), 0);
    EXPECT_EQ(keychain_.existsPassword("a", c.isSynchronizable),
              c.existsAfterwards);
    EXPECT_EQ(save("second", "a", c.isSynchronizable), c.secondSave);
    EXPECT_EQ(keychain_.password("a", c.isSynchronizable), c.password);
    EXPECT_EQ(update("third", "a", c.isSynchronizable), 0);
    EXPECT_EQ(keychain_.password("a", c.isSynchronizable), "third");
    EXPECT_EQ(keychain_.password("a", !c.isSynchronizable), std::nullopt);
    EXPECT_EQ(remove("a", c.isSynchronizable), 0);
    EXPECT_EQ(keychain_.password("a", c.isSynchronizable), std::nullopt);
  }
}

TEST_P(KeychainStore, TakesTheServiceForAnAbsentAccount) {
  EXPECT_EQ(save("p", std::nullopt, false), 0);
  EXPECT_EQ(keychain_.password(std::nullopt, false), "p");
  EXPECT_EQ(keychain_.password(kService, false), "p");
  EXPECT_EQ(keychain_.password("", false), std::nullopt);  // not absent
  EXPECT_EQ(save("q", "", false), 0);
  EXPECT_EQ(keychain_.password("", false), "q");
  EXPECT_EQ(remove(kService, false), 0);
  EXPECT_EQ(keychain_.password(std::nullopt, false), std::nullopt);
}

TEST_P(KeychainStore, ResetsBothKindsOfItsServiceOnly) {
  Keychain other("com.example.another");
  EXPECT_EQ(reset(), -25300);
  other.save("kept", "a", false);
  EXPECT_EQ(reset(), -25300);
  for (const char* account : {"a", "b"}) {
    EXPECT_EQ(save("p", account, false), 0);
    EXPECT_EQ(save("p", account, true), 0);
  }
  EXPECT_EQ(reset(), 0);
  EXPECT_EQ(keychain_.password("a", false), std::nullopt);
  EXPECT_EQ(keychain_.password("b", true), std::nullopt);
  EXPECT_EQ(reset(), -25300);
  EXPECT_EQ(other.password("a", false), "kept");
  other.reset();
}

TEST_P(KeychainStore, KeepsEveryText) {
  const std::string long64K(65536, 'x');
  const std::string_view passwords[] = {"", "a\0b"sv, "pässwörd \U0001F511",
                                        "line\n", long64K};
  for (const std::string_view password : passwords) {
    SCOPED_TRACE(password.substr(0, 20));
    EXPECT_EQ(save(password, "a", true), 0);
    EXPECT_EQ(keychain_.password("a", true), password);
  }
  // No UTF-8: neither in nor out.
  EXPECT_EQ(save("\xFF", "b", false), 1);
  EXPECT_EQ(save("\xED\xA0\x80", "a", true), 1);
  EXPECT_EQ(update("\xC3", "a", true), 1);
  EXPECT_EQ(keychain_.password("a", true), long64K);
  platform::SecItemQuery query;
  query.service = kService;
  query.account = "binary";
  query.valueData = platform::secretBytesFrom("\xFF\xFE");
  ASSERT_EQ(platform::secItemAdd(query), 0);
  EXPECT_EQ(keychain_.password("binary", false), std::nullopt);

  EXPECT_EQ(statusOf([] { Keychain("").save("p", "a", false); }), -50);
}

TEST_P(KeychainStore, LocksAndUnlocks) {
  EXPECT_EQ(save("p", "a", false), 0);
  const bool isService = GetParam().name == "SecretService"sv;
  // Nobody is there to answer the service's prompt; the key file needs none.
  EXPECT_EQ(statusOf([&] { keychain_.lockUnLock(); }), isService ? -128 : 0);
  EXPECT_EQ(statusOf([&] { (void)keychain_.password("a", false); }),
            isService ? -128 : 0);
  if (isService) session().startKeyring();
  EXPECT_EQ(keychain_.password("a", false), "p");
}

TEST(Keychain, CallsTheKeychainInOrderAndStopsAtTheFirstFailure) {
  std::vector<std::string> calls;
  std::string failing;
  platform::setKeychainBackend(
      std::make_shared<InMemoryKeychain>([&](std::string_view operation) {
        calls.emplace_back(operation);
        return operation == failing ? -25291 : 0;
      }));
  Keychain keychain(kService);
  const auto saveLocal = [&] { keychain.save("p", "l", false); };
  const auto saveSynchronizable = [&] { keychain.save("p", "s", true); };
  const auto saveBroken = [&] { keychain.save("\xFF", "n", true); };
  using Calls = std::vector<std::string>;
  const struct {
    const char* name;
    std::function<void()> work;
    std::string failing;
    OSStatus status;
    Calls calls;
  } cases[] = {
      {"local", saveLocal, "", 0, {"find", "add"}},
      {"local again", saveLocal, "", -25299, {"find", "add"}},
      {"synchronizable", saveSynchronizable, "", 0, {"find", "add"}},
      {"synchronizable again", saveSynchronizable, "", 0, {"find", "update"}},
      {"find fails", saveLocal, "find", -25291, {"find"}},
      {"update fails",
       saveSynchronizable,
       "update",
       -25291,
       {"find", "update"}},
      {"encoding", saveBroken, "", 1, {"find"}},
      {"find before encoding", saveBroken, "find", -25291, {"find"}},
      {"update encodes first",
       [&] { keychain.update("\xFF", "s", true); },
       "update",
       1,
       {}},
      {"remove",
       [&] { keychain.removePassword("x", false); },
       "remove",
       -25291,
       {"remove"}},
      {"lock fails", [&] { keychain.lockUnLock(); }, "lock", -25291, {"lock"}},
      {"unlock fails",
       [&] { keychain.lockUnLock(); },
       "unlock",
       -25291,
       {"lock", "unlock"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    failing = c.failing;
    EXPECT_EQ(statusOf(c.work), c.status);
    EXPECT_EQ(std::exchange(calls, {}), c.calls);
  }
  platform::setKeychainBackend(nullptr);
}

// One that answers for itself, as a host's may.
class CautiousKeychain : public Keychain {
 public:
  using Keychain::Keychain;
  bool existsPassword(Account, bool) override { return true; }
  void update(std::string_view, Account, bool) override { ++updates; }
  int updates = 0;
};

TEST(Keychain, SavesThroughWhatASubclassOverrides) {
  platform::setKeychainBackend(std::make_shared<InMemoryKeychain>());
  CautiousKeychain keychain(kService);
  KeychainAccessing& accessing = keychain;
  accessing.save("p", "a", false);
  EXPECT_EQ(keychain.updates, 1);
  EXPECT_EQ(accessing.password("a", false), std::nullopt);
  platform::setKeychainBackend(nullptr);
}

TEST(Keychain, RunsOnTheMainThreadButForTheLock) {
  std::atomic<int> elsewhere = 0;
  std::atomic<int> locks = 0;
  platform::setKeychainBackend(
      std::make_shared<InMemoryKeychain>([&](std::string_view operation) {
        const bool isLock = operation == "lock" || operation == "unlock";
        if (isLock) ++locks;
        if (isLock == platform::isMainThread()) ++elsewhere;
        return 0;
      }));
  std::atomic<bool> isDone = false;
  std::vector<OSStatus> statuses;
  std::jthread caller([&] {
    Keychain keychain(kService);
    statuses = {
        statusOf([&] { keychain.save("p", "a", true); }),
        statusOf([&] { keychain.save("q", "a", true); }),
        statusOf([&] { EXPECT_EQ(keychain.password("a", true), "q"); }),
        statusOf([&] { keychain.update("r", "b", true); }),
        statusOf([&] { keychain.removePassword("a", true); }),
        statusOf([&] { keychain.reset(); }),
        statusOf([&] { keychain.lockUnLock(); }),
    };
    platform::mainQueueAsync([&] { isDone = true; });
  });
  while (!isDone) ::g_main_context_iteration(nullptr, TRUE);
  caller.join();
  // Errors come back to the caller's thread.
  EXPECT_EQ(statuses, (std::vector<OSStatus>{0, 0, 0, -25300, 0, -25300, 0}));
  EXPECT_EQ(elsewhere, 0);
  EXPECT_EQ(locks, 2);
  platform::setKeychainBackend(nullptr);
}

}  // namespace
}  // namespace quillhaven::identity
