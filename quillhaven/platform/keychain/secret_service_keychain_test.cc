// What only the Secret Service does: real locks, a service that goes away. Runs
// the contract in the same session.
#include "quillhaven/platform/keychain/secret_service_keychain.h"

#include <gtest/gtest.h>
#include <libsecret/secret.h>

#include <string>
#include <thread>
#include <vector>

#include "quillhaven/platform/keychain/internal/secret_service_status.h"
#include "quillhaven/platform/keychain/sec_item.h"
#include "quillhaven/platform/keychain/testing/secret_service_session.h"
#include "quillhaven/platform/run_loop/internal/glib_pointers.h"

namespace quillhaven::platform {
namespace {

using testing::SecretServiceSession;

// One session for the program: a process keeps one connection to its bus.
SecretServiceSession* session = nullptr;

class Session : public ::testing::Environment {
 public:
  void SetUp() override {
    session_ = std::make_unique<SecretServiceSession>(
        testing::SessionOptions{false, false});
    session = session_.get();
    session->startKeyring();
  }
  void TearDown() override { session_.reset(); }

 private:
  std::unique_ptr<SecretServiceSession> session_;
};

const ::testing::Environment* const kSession =
    ::testing::AddGlobalTestEnvironment(std::make_unique<Session>().release());

class SecretServiceKeychain : public ::testing::Test {
 protected:
  SecretServiceKeychain() {
    setKeychainBackend(makeSecretServiceKeychain());
    query_.service = "com.example.service";
    query_.account = "a";
    query_.valueData = secretBytesFrom("secret");
    query_.returnData = true;
  }
  ~SecretServiceKeychain() override {
    secKeychainSetUserInteractionAllowed(true);
    session->startKeyring();
    query_.matchLimit = SecMatchLimit::kAll;
    query_.account.reset();
    (void)secItemDelete(query_);
    setKeychainBackend(nullptr);
  }

  SecItemQuery query_;
};

TEST_F(SecretServiceKeychain, TellsLockedFromMissing) {
  query_.synchronizable = true;
  query_.accessible = SecAttrAccessible::kAlways;
  // A service that starts with a locked keyring knows less of it than one that
  // has locked it: only hashes of attributes.
  for (const bool isStartedLocked : {false, true}) {
    SCOPED_TRACE(isStartedLocked);
    ASSERT_EQ(secItemAdd(query_), 0);
    if (isStartedLocked) {
      session->startKeyring(false);
    } else {
      EXPECT_EQ(secKeychainLock(), 0);
    }
    EXPECT_EQ(secKeychainLock(), 0);

    // Nobody can show the prompt, so the service takes it for dismissed.
    for (const bool mayAsk : {true, false}) {
      SCOPED_TRACE(mayAsk);
      secKeychainSetUserInteractionAllowed(mayAsk);
      const OSStatus refused =
          mayAsk ? kErrSecUserCanceled : kErrSecInteractionNotAllowed;
      EXPECT_EQ(secItemCopyMatching(query_).status, refused);
      EXPECT_EQ(secItemUpdate(query_, {{}, secretBytesFrom("x")}), refused);
      EXPECT_EQ(secItemDelete(query_), refused);
      EXPECT_EQ(secKeychainUnlock(), refused);
      SecItemQuery other = query_;
      other.account = "b";
      EXPECT_EQ(secItemAdd(other), refused);
      // What it knows without its secrets.
      EXPECT_EQ(secItemAdd(query_), kErrSecDuplicateItem);
      EXPECT_EQ(secItemCopyMatching(other).status, kErrSecItemNotFound);
      SecItemQuery attributes = query_;
      attributes.accessible.reset();
      attributes.returnData = false;
      attributes.returnAttributes = true;
      const auto found = secItemCopyMatching(attributes).items;
      ASSERT_EQ(found.size(), 1U);
      EXPECT_EQ(*found[0].attributes,
                (KeychainItemAttributes{"com.example.service", "a", true,
                                        SecAttrAccessible::kAlways}));
      // Whose account it is, a hash does not tell.
      attributes.account.reset();
      EXPECT_EQ(secItemCopyMatching(attributes).status,
                isStartedLocked ? refused : 0);
    }
    // Everything is as it was.
    secKeychainSetUserInteractionAllowed(true);
    session->startKeyring();
    const auto items = secItemCopyMatching(query_).items;
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(viewOf(*items[0].valueData), "secret");
    EXPECT_EQ(secItemDelete(query_), 0);
  }
}

TEST_F(SecretServiceKeychain, FindsItsWayAfterTheServiceStartedAgain) {
  ASSERT_EQ(secItemAdd(query_), 0);
  session->startKeyring();
  EXPECT_EQ(secItemCopyMatching(query_).items.size(), 1U);
  session->startKeyring();
  EXPECT_EQ(secItemUpdate(query_, {{}, secretBytesFrom("new")}), 0);
  session->startKeyring();
  SecItemQuery other = query_;
  other.account = "b";
  EXPECT_EQ(secItemAdd(other), 0);
  EXPECT_EQ(viewOf(*secItemCopyMatching(query_).items[0].valueData), "new");
}

TEST_F(SecretServiceKeychain, SaysThatThereIsNoService) {
  ASSERT_TRUE(hasSecretService());
  EXPECT_EQ(keychainBackend()->name(), "secret-service");
  session->stopKeyring();
  EXPECT_FALSE(hasSecretService());
  EXPECT_EQ(secItemAdd(query_), kErrSecNotAvailable);
  EXPECT_EQ(secItemCopyMatching(query_).status, kErrSecNotAvailable);
  EXPECT_EQ(secItemDelete(query_), kErrSecNotAvailable);
  EXPECT_EQ(secKeychainLock(), kErrSecNotAvailable);
  setKeychainBackend(nullptr);
  EXPECT_EQ(keychainBackend()->name(), "sealed-file");
}

TEST_F(SecretServiceKeychain, SaysThatThereIsNoDefaultKeychain) {
  session->stopKeyring();
  const std::string home = session->folder() + "/other";
  std::string old = ::g_getenv("HOME");
  ::g_setenv("HOME", home.c_str(), TRUE);
  session->startKeyring(false);
  ::g_setenv("HOME", old.c_str(), TRUE);
  EXPECT_EQ(secItemAdd(query_), kErrSecNoDefaultKeychain);
  EXPECT_EQ(secKeychainLock(), kErrSecNoDefaultKeychain);
  EXPECT_EQ(secKeychainUnlock(), kErrSecNoDefaultKeychain);
  EXPECT_EQ(secItemCopyMatching(query_).status, kErrSecItemNotFound);
}

TEST_F(SecretServiceKeychain, LeavesItemsOfOthersAlone) {
  // The schema's name is all that tells theirs from ours.
  SecretSchema schema{};
  schema.name = "com.example.Theirs";
  schema.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
  schema.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
  const internal::GHashTablePtr attributes(::secret_attributes_build(
      &schema, "service", "com.example.service", "account", "a", nullptr));
  SecretValue* const theirs = ::secret_value_new("theirs", -1, "text/plain");
  ASSERT_TRUE(::secret_service_store_sync(nullptr, &schema, attributes.get(),
                                          nullptr, "theirs", theirs, nullptr,
                                          nullptr));
  ::secret_value_unref(theirs);
  EXPECT_EQ(secItemCopyMatching(query_).status, kErrSecItemNotFound);
  ASSERT_EQ(secItemAdd(query_), 0);
  query_.matchLimit = SecMatchLimit::kAll;
  query_.account.reset();
  EXPECT_EQ(secItemDelete(query_), 0);
  SecretValue* const found = ::secret_service_lookup_sync(
      nullptr, &schema, attributes.get(), nullptr, nullptr);
  ASSERT_NE(found, nullptr);
  EXPECT_STREQ(::secret_value_get_text(found), "theirs");
  ::secret_value_unref(found);
}

TEST_F(SecretServiceKeychain, ThreadsThatAddTheSameItemMakeOne) {
  for (int round = 0; round < 5; ++round) {
    std::vector<OSStatus> statuses(4);
    {
      std::vector<std::jthread> threads;
      for (OSStatus& status : statuses) {
        threads.emplace_back([&] { status = secItemAdd(query_); });
      }
    }
    EXPECT_EQ(std::count(statuses.begin(), statuses.end(), 0), 1);
    EXPECT_EQ(
        std::count(statuses.begin(), statuses.end(), kErrSecDuplicateItem), 3);
    EXPECT_EQ(secItemDelete(query_), 0);
    EXPECT_EQ(secItemDelete(query_), kErrSecItemNotFound);
  }
}

TEST_F(SecretServiceKeychain, PassesOverItemsThatGoMeanwhile) {
  constexpr int kGoing = 20;
  SecItemQuery all = query_;
  all.account.reset();
  all.valueData.reset();
  all.matchLimit = SecMatchLimit::kAll;
  for (const bool isSearch : {true, false}) {
    SCOPED_TRACE(isSearch);
    for (int i = 0; i < kGoing; ++i) {
      query_.account = std::to_string(i);
      ASSERT_EQ(secItemAdd(query_), 0);
    }
    query_.account = "stays";
    ASSERT_EQ(secItemAdd(query_), 0);
    const std::jthread other([one = query_]() mutable {
      for (int i = kGoing; i-- > 0;) {
        one.account = std::to_string(i);
        const OSStatus status = secItemDelete(one);
        EXPECT_TRUE(status == 0 || status == kErrSecItemNotFound) << status;
      }
    });
    for (std::size_t left = kGoing + 1; isSearch && left > 1;) {
      left = secItemCopyMatching(all).items.size();
      ASSERT_GE(left, 1U);
      EXPECT_EQ(secItemUpdate(all, {{}, secretBytesFrom("new")}), 0);
    }
    EXPECT_EQ(secItemDelete(all), 0);
    EXPECT_EQ(secItemCopyMatching(query_).status, kErrSecItemNotFound);
  }
}

TEST_F(SecretServiceKeychain, UnlocksWhatIsNotLockedWithoutAsking) {
  secKeychainSetUserInteractionAllowed(false);
  EXPECT_EQ(secKeychainUnlock(), 0);
}

TEST(KeychainStatusFrom, KnowsTheErrorsOfEveryLayer) {
  const struct {
    GQuark domain;
    int code;
    OSStatus status;
  } cases[] = {
      {SECRET_ERROR, SECRET_ERROR_IS_LOCKED, kErrSecInteractionNotAllowed},
      {SECRET_ERROR, SECRET_ERROR_NO_SUCH_OBJECT, kErrSecItemNotFound},
      {SECRET_ERROR, SECRET_ERROR_PROTOCOL, kErrSecNotAvailable},
      {SECRET_ERROR, SECRET_ERROR_INVALID_FILE_FORMAT, kErrSecInvalidKeychain},
      {G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_OBJECT, kErrSecItemNotFound},
      {G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD, kErrSecItemNotFound},
      {G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN, kErrSecNotAvailable},
      {G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY, kErrSecNotAvailable},
      {G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED, kErrSecAuthFailed},
      {G_IO_ERROR, G_IO_ERROR_FAILED, kErrSecNotAvailable},
      {G_IO_ERROR, G_IO_ERROR_CLOSED, kErrSecNotAvailable},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(::g_quark_to_string(c.domain)) + " " +
                 std::to_string(c.code));
    const internal::GErrorPtr error(
        ::g_error_new_literal(c.domain, c.code, "text"));
    EXPECT_EQ(internal::keychainStatusFrom(*error, kErrSecItemNotFound),
              c.status);
  }
}

}  // namespace
}  // namespace quillhaven::platform
