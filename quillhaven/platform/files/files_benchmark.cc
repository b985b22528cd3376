// What a component does at start and all the time: reading the information of
// bundles and single defaults; libplist does the former beside us. And setting
// permissions of whole trees, beside chmod.
#include <benchmark/benchmark.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "quillhaven/platform/files/file_attributes.h"
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

// A tree of files in memory, fifty to a folder and fifty folders to a folder.
class AttributesBenchmark : public benchmark::Fixture {
 public:
  void SetUp(benchmark::State& state) override {
    constexpr std::int64_t kCount = 50;
    const char* const memory = "/dev/shm";
    std::error_code ignored;
    folder_ = std::filesystem::is_directory(memory, ignored)
                  ? std::filesystem::path(memory)
                  : std::filesystem::temp_directory_path();
    folder_ /= "quillhaven-" + std::to_string(::getpid());
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      const auto folder = folder_ / std::to_string(i / kCount / kCount) /
                          std::to_string(i / kCount % kCount);
      if (i % kCount == 0) std::filesystem::create_directories(folder);
      ::mknod((folder / std::to_string(i)).c_str(), S_IFREG | 0600, 0);
    }
  }
  void TearDown(benchmark::State& state) override {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
    state.SetItemsProcessed(state.iterations() * state.range(0));
  }

 protected:
  // Permissions other than those of the last call.
  mode_t otherMode() { return mode_ = mode_ == 0755 ? 0700 : 0755; }

  std::filesystem::path folder_;

 private:
  mode_t mode_ = 0700;
};

BENCHMARK_DEFINE_F(AttributesBenchmark, BM_SetAttributes)
(benchmark::State& state) {
  for (auto _ : state) {
    setFileAttributesRecursively({.posixPermissions = otherMode()}, folder_);
  }
}
BENCHMARK_REGISTER_F(AttributesBenchmark, BM_SetAttributes)
    ->Arg(1000)
    ->Arg(100'000)
    ->UseRealTime();

// Another program, whose start takes about a millisecond.
BENCHMARK_DEFINE_F(AttributesBenchmark, BM_Chmod)(benchmark::State& state) {
  for (auto _ : state) {
    const std::string command = std::string("chmod -R ") +
                                (otherMode() == 0755 ? "0755 " : "0700 ") +
                                folder_.string();
    if (std::system(command.c_str()) != 0) state.SkipWithError("chmod failed");
  }
}
BENCHMARK_REGISTER_F(AttributesBenchmark, BM_Chmod)
    ->Arg(1000)
    ->Arg(100'000)
    ->UseRealTime();

}  // namespace
}  // namespace quillhaven::platform
