// The rules of the item calls and the contract of KeychainBackend, over every
// store.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillhaven/platform/keychain/sealed_file_keychain.h"
#include "quillhaven/platform/keychain/sec_item.h"
#include "quillhaven/platform/keychain/secret_service_keychain.h"
#include "quillhaven/platform/keychain/testing/in_memory_keychain.h"

namespace quillhaven::platform {
namespace {

using namespace std::string_view_literals;

constexpr const char kService[] = "com.example.contract";
constexpr const char kOtherService[] = "com.example.other";

struct Store {
  const char* name;
  std::function<std::shared_ptr<KeychainBackend>(const std::string& folder)>
      make;
};

// Google Test prints a store by its name.
void PrintTo(const Store& store, std::ostream* stream) {
  *stream << store.name;
}

std::shared_ptr<KeychainBackend> makeFileWithPassphrase(
    const std::string& folder) {
  SealedFileOptions options{folder, {}, true};
  options.askPassphrase = [](bool) { return secretBytesFrom("open sesame"); };
  return makeSealedFileKeychain(options);
}

const Store kStores[] = {
    {"InMemory",
     [](const std::string&) {
       return std::make_shared<testing::InMemoryKeychain>();
     }},
    {"SealedFileWithKeyFile",
     [](const std::string& folder) {
       return makeSealedFileKeychain({folder, {}, false});
     }},
    {"SealedFileWithPassphrase", makeFileWithPassphrase},
    {"SecretService",
     [](const std::string&) { return makeSecretServiceKeychain(); }},
};

class KeychainContract : public ::testing::TestWithParam<Store> {
 protected:
  KeychainContract()
      : folder_((std::filesystem::temp_directory_path() /
                 ("quillhaven-contract-" + std::to_string(::getpid())))
                    .string()) {
    setKeychainBackend(GetParam().make(folder_));
    clear();
  }
  ~KeychainContract() override {
    clear();
    setKeychainBackend(nullptr);
    std::filesystem::remove_all(folder_);
  }

  static void clear() {
    for (const char* service : {kService, kOtherService}) {
      SecItemQuery query;
      query.service = service;
      query.matchLimit = SecMatchLimit::kAll;
      (void)secItemDelete(query);
    }
  }

 private:
  std::string folder_;
};

INSTANTIATE_TEST_SUITE_P(Stores, KeychainContract, ::testing::ValuesIn(kStores),
                         [](const auto& information) {
                           return information.param.name;
                         });

// Absent, a text, or "nothing given".
using Account = std::optional<std::string>;
using Kind = std::optional<bool>;  // synchronizable

SecItemQuery queryFor(const Account& account, Kind kind,
                      const char* service = kService) {
  SecItemQuery query;
  query.service = service;
  query.account = account;
  query.synchronizable = kind;
  return query;
}

OSStatus add(const Account& account, Kind kind, std::string_view value,
             const char* service = kService) {
  SecItemQuery query = queryFor(account, kind, service);
  query.valueData = secretBytesFrom(value);
  return secItemAdd(query);
}

// The value read, or a number: the status.
std::string get(const Account& account, Kind kind) {
  SecItemQuery query = queryFor(account, kind);
  query.matchLimit = SecMatchLimit::kOne;
  query.returnData = true;
  const SecItemMatches matches = secItemCopyMatching(query);
  if (matches.status != kErrSecSuccess) return std::to_string(matches.status);
  if (matches.items.size() != 1) return "not one item";
  return std::string(viewOf(matches.items[0].valueData.value()));
}

std::vector<std::string> accounts(const SecItemQuery& query) {
  SecItemQuery all = query;
  all.matchLimit = SecMatchLimit::kAll;
  all.returnAttributes = true;
  std::vector<std::string> found;
  for (const SecItemResult& item : secItemCopyMatching(all).items) {
    EXPECT_FALSE(item.valueData);
    EXPECT_EQ(item.attributes->service, kService);
    found.push_back(item.attributes->account +
                    (item.attributes->isSynchronizable ? "*" : ""));
  }
  std::ranges::sort(found);
  return found;
}

TEST_P(KeychainContract, ReadsBackEveryValue) {
  const std::string long64K(65536, 'x');
  const std::string_view values[] = {"secret", "", "a\0b"sv, "\xFF\xFE\x80"sv,
                                     "pässwörd\n",
                                     // Quotes and markup of the ways it takes.
                                     "'\";<b>&amp;%s$(x)\\", long64K};
  for (const std::string_view value : values) {
    SCOPED_TRACE(value.substr(0, 20));
    EXPECT_EQ(add("a", false, value), 0);
    EXPECT_EQ(get("a", false), value);
    SecItemChange change;
    change.valueData = secretBytesFrom("changed");
    EXPECT_EQ(secItemUpdate(queryFor("a", false), change), 0);
    EXPECT_EQ(get("a", false), "changed");
    change.valueData = secretBytesFrom(value);
    EXPECT_EQ(secItemUpdate(queryFor("a", false), change), 0);
    EXPECT_EQ(get("a", false), value);
    EXPECT_EQ(secItemDelete(queryFor("a", false)), 0);
    EXPECT_EQ(get("a", false), "-25300");
  }
}

TEST_P(KeychainContract, TellsItemsApartByServiceAccountAndKind) {
  const struct {
    Account account;
    Kind kind;
    const char* service;
    OSStatus status;
  } steps[] = {
      {"a", false, kService, 0},
      {"a", false, kService, kErrSecDuplicateItem},
      {"a", std::nullopt, kService, kErrSecDuplicateItem},  // absent: local
      {"a", true, kService, 0},
      {"a", true, kService, kErrSecDuplicateItem},
      {"A", false, kService, 0},  // case counts
      {"a ", false, kService, 0},
      {"", false, kService, 0},
      {std::nullopt, false, kService, kErrSecDuplicateItem},  // absent: empty
      {"a", false, kOtherService, 0},
      {"ä\U0001F511", false, kService, 0},
  };
  int number = 0;
  for (const auto& step : steps) {
    SCOPED_TRACE(++number);
    EXPECT_EQ(add(step.account, step.kind, "v" + std::to_string(number),
                  step.service),
              step.status);
  }
  EXPECT_EQ(get("a", false), "v1");
  EXPECT_EQ(get("a", std::nullopt), "v1");
  EXPECT_EQ(get("a", true), "v4");
  EXPECT_EQ(get("A", false), "v6");
  EXPECT_EQ(get("A", true), "-25300");
  EXPECT_EQ(get("", false), "v8");
  EXPECT_EQ(get("ä\U0001F511", false), "v11");
  EXPECT_EQ(accounts(queryFor(std::nullopt, std::nullopt)),
            (std::vector<std::string>{"", "A", "a", "a ", "ä\U0001F511"}));
  EXPECT_EQ(accounts(queryFor(std::nullopt, true)),
            std::vector<std::string>{"a*"});
}

TEST_P(KeychainContract, ReturnsWhatTheQueryAsksFor) {
  ASSERT_EQ(add("a", true, "value"), 0);
  for (const bool wantsData : {false, true}) {
    for (const bool wantsAttributes : {false, true}) {
      SCOPED_TRACE(wantsData * 2 + wantsAttributes);
      SecItemQuery query = queryFor("a", true);
      query.returnData = wantsData;
      query.returnAttributes = wantsAttributes;
      const SecItemMatches matches = secItemCopyMatching(query);
      EXPECT_EQ(matches.status, 0);
      // Without a return key the platform says yes and hands out nothing.
      ASSERT_EQ(matches.items.size(), wantsData || wantsAttributes ? 1U : 0U);
      if (matches.items.empty()) continue;
      EXPECT_EQ(matches.items[0].valueData.has_value(), wantsData);
      EXPECT_EQ(matches.items[0].attributes.has_value(), wantsAttributes);
    }
  }
  EXPECT_EQ(secItemCopyMatching(queryFor("b", true)).status,
            kErrSecItemNotFound);
}

TEST_P(KeychainContract, SelectsByAccessibility) {
  SecItemQuery query = queryFor("a", true);
  query.accessible = SecAttrAccessible::kAlways;
  ASSERT_EQ(secItemAdd(query), 0);
  ASSERT_EQ(add("b", true, ""), 0);
  EXPECT_EQ(secItemAdd(queryFor("a", true)), kErrSecDuplicateItem);

  SecItemQuery always = queryFor(std::nullopt, true);
  always.accessible = SecAttrAccessible::kAlways;
  EXPECT_EQ(accounts(always), std::vector<std::string>{"a*"});
  SecItemQuery wanted = queryFor("a", true);
  wanted.returnAttributes = true;
  const auto items = secItemCopyMatching(wanted).items;
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].attributes->accessible, SecAttrAccessible::kAlways);

  always.account = "b";
  EXPECT_EQ(secItemUpdate(always, {}), kErrSecItemNotFound);
}

TEST_P(KeychainContract, ChangesAccountAndValueAtOnce) {
  ASSERT_EQ(add("old", false, "1"), 0);
  ASSERT_EQ(add("taken", false, "2"), 0);
  ASSERT_EQ(add("new", true, "3"), 0);  // of the other kind: not in the way
  SecItemQuery query = queryFor("old", std::nullopt);
  query.matchLimit = SecMatchLimit::kOne;
  query.returnData = query.returnAttributes = true;  // mean nothing here
  EXPECT_EQ(secItemUpdate(query, {"taken", secretBytesFrom("9")}),
            kErrSecDuplicateItem);
  EXPECT_EQ(get("old", false), "1");
  EXPECT_EQ(get("taken", false), "2");

  EXPECT_EQ(secItemUpdate(query, {"new", secretBytesFrom("4")}), 0);
  EXPECT_EQ(get("new", false), "4");
  EXPECT_EQ(get("new", true), "3");
  EXPECT_EQ(get("old", false), "-25300");
  EXPECT_EQ(secItemUpdate(query, {"new", std::nullopt}), kErrSecItemNotFound);

  // To the account it has, and all at once to one.
  EXPECT_EQ(secItemUpdate(queryFor("new", false), {"new", std::nullopt}), 0);
  EXPECT_EQ(secItemUpdate(queryFor(std::nullopt, false), {"x", std::nullopt}),
            kErrSecDuplicateItem);
  EXPECT_EQ(accounts(queryFor(std::nullopt, false)),
            (std::vector<std::string>{"new", "taken"}));
}

TEST_P(KeychainContract, DeletesWhatTheQuerySelects) {
  const auto fill = [] {
    clear();
    for (const char* account : {"a", "b"}) {
      for (const bool kind : {false, true}) {
        ASSERT_EQ(add(account, kind, ""), 0);
      }
    }
    ASSERT_EQ(add("a", false, "kept", kOtherService), 0);
  };
  using Limit = std::optional<SecMatchLimit>;
  const struct {
    Account account;
    Kind kind;
    Limit limit;
    std::vector<std::string> local, synchronizable;
  } cases[] = {
      {"a", false, std::nullopt, {"b"}, {"a*", "b*"}},
      {"a", true, std::nullopt, {"a", "b"}, {"b*"}},
      {"a", std::nullopt, std::nullopt, {"b"}, {"a*", "b*"}},
      {std::nullopt, std::nullopt, std::nullopt, {}, {"a*", "b*"}},
      {std::nullopt, true, SecMatchLimit::kAll, {"a", "b"}, {}},
      // What clears a service takes both kinds.
      {std::nullopt, std::nullopt, SecMatchLimit::kAll, {}, {}},
      {"a", std::nullopt, SecMatchLimit::kAll, {"b"}, {"b*"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    fill();
    SecItemQuery query = queryFor(c.account, c.kind);
    query.matchLimit = c.limit;
    EXPECT_EQ(secItemDelete(query), 0);
    EXPECT_EQ(accounts(queryFor(std::nullopt, false)), c.local);
    EXPECT_EQ(accounts(queryFor(std::nullopt, true)), c.synchronizable);
    EXPECT_EQ(secItemDelete(query), kErrSecItemNotFound);
  }
  fill();
  SecItemQuery one = queryFor(std::nullopt, false);
  one.matchLimit = SecMatchLimit::kOne;
  EXPECT_EQ(secItemDelete(one), 0);
  EXPECT_EQ(accounts(queryFor(std::nullopt, false)).size(), 1U);
  EXPECT_EQ(secItemDelete(queryFor("a", false, kOtherService)), 0);
}

TEST_P(KeychainContract, RefusesWhatIsNoQuery) {
  const std::string cut = "a\xC3";
  const std::string withNul("a\0b", 3);
  SecItemQuery queries[4] = {queryFor("a", false, ""),
                             queryFor("a", false, cut.c_str()),
                             queryFor(cut, false), queryFor(withNul, false)};
  for (SecItemQuery& query : queries) {
    SCOPED_TRACE(&query - queries);
    query.returnData = true;
    EXPECT_EQ(secItemAdd(query), kErrSecParam);
    EXPECT_EQ(secItemCopyMatching(query).status, kErrSecParam);
    EXPECT_EQ(secItemUpdate(query, {}), kErrSecParam);
    EXPECT_EQ(secItemDelete(query), kErrSecParam);
  }
  ASSERT_EQ(add("a", false, ""), 0);
  EXPECT_EQ(secItemUpdate(queryFor("a", false), {cut, std::nullopt}),
            kErrSecParam);
}

}  // namespace
}  // namespace quillhaven::platform
