// What a component does at start and all the time: reading the information of
// bundles and single defaults. libplist does the former beside us.
#include <benchmark/benchmark.h>
#include <plist/plist.h>
#include <sys/stat.h>

#include <string>

#include "quillhaven/platform/files/property_list.h"
#include "quillhaven/platform/files/testing/temporary_folder.h"
#include "quillhaven/platform/files/user_defaults.h"

namespace quillhaven::platform {
namespace {

using Dictionary = PropertyList::Dictionary;

// An information property list of an application, `count` document types long.
PropertyList informationWith(std::int64_t count) {
  PropertyList::Array types;
  for (std::int64_t i = 0; i < count; ++i) {
    types.emplace_back(Dictionary{
        {"CFBundleTypeName", "Message " + std::to_string(i)},
        {"CFBundleTypeExtensions", PropertyList::Array{"eml", "emlx"}},
        {"LSHandlerRank", "Default"},
        {"LSTypeIsPackage", false}});
  }
  return Dictionary{{"CFBundleIdentifier", "com.quillhaven.app"},
                    {"CFBundleShortVersionString", "7.2"},
                    {"CFBundleVersion", "1234"},
                    {"QuillhavenEnvironment", "Release"},
                    {"Wideframe", true},
                    {"QHExtensionVersionID", 6},
                    {"CFBundleDocumentTypes", std::move(types)}};
}

std::string inBinary(const std::string& xml) {
  plist_t node = nullptr;
  plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &node);
  char* bytes = nullptr;
  std::uint32_t size = 0;
  plist_to_bin(node, &bytes, &size);
  std::string binary(bytes, size);
  std::free(bytes);
  plist_free(node);
  return binary;
}

// Keys that the dictionary of libplist puts into one bucket.
std::string collidingKeys(std::int64_t count) {
  std::string xml = "<plist><dict>";
  for (std::int64_t i = 0; i < count; ++i) {
    xml += "<key>";
    for (int bit = 0; bit < 16; ++bit) xml += (i >> bit & 1) != 0 ? "Ez" : "FY";
    xml += "</key><true/>";
  }
  return xml + "</dict></plist>";
}

void readOurs(benchmark::State& state, const std::string& bytes) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(propertyListFromBytes(bytes));
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(bytes.size()));
}

void readLibplist(benchmark::State& state, const std::string& bytes) {
  for (auto _ : state) {
    plist_t node = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()),
                      &node);
    benchmark::DoNotOptimize(node);
    plist_free(node);
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(bytes.size()));
}

void BM_ReadXML(benchmark::State& state) {
  readOurs(state, *xmlFromPropertyList(informationWith(state.range(0))));
}
void BM_ReadXMLWithLibplist(benchmark::State& state) {
  readLibplist(state, *xmlFromPropertyList(informationWith(state.range(0))));
}
void BM_ReadBinary(benchmark::State& state) {
  readOurs(state,
           inBinary(*xmlFromPropertyList(informationWith(state.range(0)))));
}
void BM_ReadBinaryWithLibplist(benchmark::State& state) {
  readLibplist(state,
               inBinary(*xmlFromPropertyList(informationWith(state.range(0)))));
}
BENCHMARK(BM_ReadXML)->Arg(2)->Arg(1000);
BENCHMARK(BM_ReadXMLWithLibplist)->Arg(2)->Arg(1000);
BENCHMARK(BM_ReadBinary)->Arg(2)->Arg(1000);
BENCHMARK(BM_ReadBinaryWithLibplist)->Arg(2)->Arg(1000);

void BM_ReadCollidingKeys(benchmark::State& state) {
  readOurs(state, collidingKeys(state.range(0)));
}
void BM_ReadCollidingKeysWithLibplist(benchmark::State& state) {
  readLibplist(state, collidingKeys(state.range(0)));
}
BENCHMARK(BM_ReadCollidingKeys)->Arg(5000)->Arg(20000);
BENCHMARK(BM_ReadCollidingKeysWithLibplist)->Arg(5000)->Arg(20000);

// A suite of fifty values in a folder as deep as a user's.
class DefaultsBenchmark : public benchmark::Fixture {
 protected:
  testing::TemporaryFolder folder_;
  UserDefaults defaults_{"com.quillhaven.mailplugin",
                         folder_.path("home/user/.config/quillhaven")};

  void fill() {
    defaults_.update([](Dictionary& values) {
      for (int i = 0; i < 50; ++i) {
        values.insert_or_assign("QHSetting" + std::to_string(i), i % 2 == 0);
      }
    });
  }
};

BENCHMARK_F(DefaultsBenchmark, BM_BoolForKey)(benchmark::State& state) {
  fill();
  for (auto _ : state) {
    benchmark::DoNotOptimize(defaults_.boolForKey("QHSetting24"));
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK_F(DefaultsBenchmark, BM_BoolForAbsentKey)(benchmark::State& state) {
  fill();
  for (auto _ : state) {
    benchmark::DoNotOptimize(defaults_.boolForKey("QHNoSuchSetting"));
  }
  state.SetItemsProcessed(state.iterations());
}

// The least that looking at the file by its path would cost.
BENCHMARK_F(DefaultsBenchmark, BM_StatOfTheFile)(benchmark::State& state) {
  fill();
  struct stat status {};
  for (auto _ : state) {
    benchmark::DoNotOptimize(::stat(defaults_.path().c_str(), &status));
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK_F(DefaultsBenchmark, BM_Set)(benchmark::State& state) {
  fill();
  std::int64_t number = 0;
  for (auto _ : state) defaults_.set("number", ++number);
}

}  // namespace
}  // namespace quillhaven::platform
