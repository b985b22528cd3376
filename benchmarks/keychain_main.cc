// Measures the keychain store beside libsecret called directly, both on a real
// keychain service on a private bus.
#include <libsecret/secret.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/measure.h"
#include "benchmarks/report.h"
#include "quillhaven/identity/keychain.h"
#include "quillhaven/platform/keychain/keychain_backend.h"
#include "quillhaven/platform/keychain/sealed_file_keychain.h"
#include "quillhaven/platform/keychain/secret_service_keychain.h"
#include "quillhaven/platform/keychain/testing/secret_service_session.h"

namespace quillhaven::benchmarks {
namespace {

constexpr double kLargestRatio = 1.2;
constexpr char kService[] = "com.example.benchmark";
constexpr char kPassword[] = "correct horse battery staple";

using Work = std::function<void()>;

// One thing done through our store and through libsecret.
struct Contest {
  const char* name;
  Work ours;
  Work theirs;
};

void require(bool condition, const char* what) {
  if (condition) return;
  std::cerr << "quillhaven_keychain: " << what << " failed\n";
  std::exit(1);
}

// Wall-clock time, since the work is done by another process.
double secondsFor(const Work& work, int count) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < count; ++i) work();
  const std::chrono::duration<double> passed =
      std::chrono::steady_clock::now() - start;
  return passed.count() / count;
}

const SecretSchema& schema() {
  static const SecretSchema kSchema = [] {
    SecretSchema made{};
    made.name = "com.example.Peer";
    made.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
    made.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
    return made;
  }();
  return kSchema;
}

void storeDirectly(const char* account) {
  require(::secret_password_store_sync(&schema(), SECRET_COLLECTION_DEFAULT,
                                       kService, kPassword, nullptr, nullptr,
                                       "service", kService, "account", account,
                                       nullptr) != FALSE,
          "storing");
}

void clearDirectly(const char* account) {
  require(::secret_password_clear_sync(&schema(), nullptr, nullptr, "service",
                                       kService, "account", account,
                                       nullptr) != FALSE,
          "clearing");
}

void readDirectly() {
  GError* error = nullptr;
  SecretValue* const value = ::secret_password_lookup_binary_sync(
      &schema(), nullptr, &error, "service", kService, "account", "there",
      nullptr);
  require(value != nullptr, "reading");
  keep(std::string(::secret_value_get(value, nullptr)).size());
  ::secret_value_unref(value);
}

// What it takes to tell that an item exists: the number of those that match.
std::size_t searchDirectly(const char* account) {
  GList* const items = ::secret_password_search_sync(
      &schema(), SECRET_SEARCH_NONE, nullptr, nullptr, "service", kService,
      "account", account, nullptr);
  const std::size_t count = ::g_list_length(items);
  ::g_list_free_full(items, ::g_object_unref);
  return count;
}

std::vector<Contest> contests(identity::Keychain& keychain) {
  return {
      {"read", [&] { keep(keychain.password("there", false)->size()); },
       readDirectly},
      {"read what is missing",
       [&] { keep(keychain.password("missing", false) ? 1 : 0); },
       [] {
         keep(::secret_password_lookup_binary_sync(
                  &schema(), nullptr, nullptr, "service", kService, "account",
                  "missing", nullptr) == nullptr
                  ? 1
                  : 0);
       }},
      {"tell that there is one",
       [&] { keep(keychain.existsPassword("there", true) ? 1 : 0); },
       [] { keep(searchDirectly("there")); }},
      {"replace", [&] { keychain.update(kPassword, "there", false); },
       [] { storeDirectly("there"); }},
      {"save a new one and remove it",
       [&] {
         keychain.save(kPassword, "new", false);
         keychain.removePassword("new", false);
       },
       [] {
         require(searchDirectly("new") == 0, "searching");
         storeDirectly("new");
         clearDirectly("new");
       }},
      {"the same, without a look for duplicates",
       [&] {
         keychain.save(kPassword, "new", false);
         keychain.removePassword("new", false);
       },
       [] {
         storeDirectly("new");
         clearDirectly("new");
       }},
  };
}

std::string milliseconds(double seconds) { return threeDigits(seconds * 1000); }

std::vector<std::string> measure(const Contest& contest, int rounds,
                                 int count) {
  std::vector<double> ours;
  std::vector<double> theirs;
  std::vector<double> ratios;
  contest.ours();
  contest.theirs();
  for (int round = 0; round < rounds; ++round) {
    showProgress(contest.name);
    ours.push_back(secondsFor(contest.ours, count));
    theirs.push_back(secondsFor(contest.theirs, count));
    ratios.push_back(ours.back() / theirs.back());
  }
  showProgress("");
  const double ratio = median(ratios);
  return {contest.name, milliseconds(median(ours)),
          milliseconds(median(theirs)), threeDigits(ratio),
          std::string(mark(ratio <= kLargestRatio))};
}

Table measureAll(int rounds, int count) {
  platform::testing::SecretServiceSession session({false, false});
  session.startKeyring();
  platform::setKeychainBackend(platform::makeSecretServiceKeychain());
  identity::Keychain keychain(kService);
  keychain.save(kPassword, "there", false);
  keychain.save(kPassword, "there", true);
  storeDirectly("there");

  Table table;
  table.title = "The keychain service";
  table.caption = "Wall-clock milliseconds of one call, the median of " +
                  std::to_string(rounds) + " rounds of " +
                  std::to_string(count) + ". " + machineDescription();
  table.columns = {"Work", "ours", "libsecret", "ours / libsecret",
                   "at most 1.2"};
  for (const Contest& contest : contests(keychain)) {
    table.rows.push_back(measure(contest, rounds, count));
  }

  // The other store has no peer; beside it stands the service.
  platform::setKeychainBackend(platform::makeSealedFileKeychain(
      {session.folder() + "/sealed", {}, false}));
  keychain.save(kPassword, "there", false);
  table.notes.push_back(
      "The sealed file reads in " +
      milliseconds(secondsFor(
          [&] { keep(keychain.password("there", false)->size()); }, count)) +
      " ms and replaces, with its waits for the disk, in " +
      milliseconds(secondsFor(
          [&] { keychain.update(kPassword, "there", false); }, count)) +
      " ms.");
  platform::setKeychainBackend(nullptr);
  return table;
}

}  // namespace
}  // namespace quillhaven::benchmarks

// quillhaven_keychain [ROUNDS [CALLS [MARKDOWN]]]
int main(int argc, char** argv) {
  using namespace quillhaven::benchmarks;
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 9;
  const int count = argc > 2 ? std::atoi(argv[2]) : 50;
  if (rounds < 1 || count < 1) return 2;
  const Table table = measureAll(rounds, count);
  std::cout << tableAsText(table) << std::endl;
  if (argc <= 3) return 0;
  return writeFile(argv[3], tableAsMarkdown(table)) ? 0 : 1;
}
