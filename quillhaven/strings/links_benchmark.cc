#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "quillhaven/strings/digests.h"
#include "quillhaven/strings/encodings.h"
#include "quillhaven/strings/locations.h"
#include "quillhaven/strings/testing/newsletter.h"
#include "quillhaven/strings/tracking_links.h"

namespace quillhaven::strings {
namespace {

using platform::Uuid;
using testing_support::newsletter;

std::size_t sizeOf(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}

void setBytes(benchmark::State& state, std::size_t size) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

void BM_AddingNoTrack(benchmark::State& state) {
  const std::string text = newsletter(sizeOf(state));
  for (auto _ : state) {
    benchmark::DoNotOptimize(addingNoTrackToTrackingURLs(text));
  }
  setBytes(state, text.size());
}
BENCHMARK(BM_AddingNoTrack)->Range(1 << 10, 1 << 20);

void BM_AddingContactId(benchmark::State& state) {
  const std::string text = newsletter(sizeOf(state));
  const Uuid user = *Uuid::fromString(testing_support::kNewsletterUser);
  for (auto _ : state) {
    benchmark::DoNotOptimize(addingContactIdToTrackingURLs(text, user, Uuid()));
  }
  setBytes(state, text.size());
}
BENCHMARK(BM_AddingContactId)->Range(1 << 10, 1 << 20);

// Looks through the whole text in vain.
void BM_ContainsTrackingURL(benchmark::State& state) {
  const std::string text = newsletter(sizeOf(state), false);
  for (auto _ : state) benchmark::DoNotOptimize(containsTrackingURL(text));
  setBytes(state, text.size());
}
BENCHMARK(BM_ContainsTrackingURL)->Range(1 << 10, 1 << 20);

template <std::string_view (*piece)()>
void BM_HostileText(benchmark::State& state) {
  std::string text;
  while (text.size() < sizeOf(state)) text += piece();
  for (auto _ : state) {
    benchmark::DoNotOptimize(addingNoTrackToTrackingURLs(text));
  }
  setBytes(state, text.size());
}
std::string_view schemes() { return "https://"; }
std::string_view labels() { return "https://track."; }
std::string_view halfLinks() { return "https://track.quillhaven.test/b2/"; }
BENCHMARK(BM_HostileText<schemes>)->Range(1 << 18, 1 << 20);
BENCHMARK(BM_HostileText<labels>)->Range(1 << 18, 1 << 20);
BENCHMARK(BM_HostileText<halfLinks>)->Range(1 << 18, 1 << 20);

void BM_Sha256(benchmark::State& state) {
  const std::string bytes(sizeOf(state), 'x');
  for (auto _ : state) benchmark::DoNotOptimize(sha256(bytesOf(bytes)));
  setBytes(state, bytes.size());
}
BENCHMARK(BM_Sha256)->Range(64, 1 << 20);

void BM_HmacSha256(benchmark::State& state) {
  const std::string bytes(sizeOf(state), 'x');
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        hmac(bytes, HMACAlgorithm::SHA256, bytesOf("key")));
  }
  setBytes(state, bytes.size());
}
BENCHMARK(BM_HmacSha256)->Range(64, 1 << 20);

template <std::string (*encode)(std::span<const std::byte>)>
void BM_Encoding(benchmark::State& state) {
  const std::string bytes = newsletter(sizeOf(state));
  for (auto _ : state) benchmark::DoNotOptimize(encode(bytesOf(bytes)));
  setBytes(state, bytes.size());
}
BENCHMARK(BM_Encoding<hexDigest>)->Range(1 << 10, 1 << 20);
BENCHMARK(BM_Encoding<base64URLEncodedString>)->Range(1 << 10, 1 << 20);

void BM_IsQuickStartGuideURL(benchmark::State& state) {
  constexpr std::string_view kUrl =
      "https://www.quillhaven.example/pages/start";
  for (auto _ : state) benchmark::DoNotOptimize(isQuickStartGuideURL(kUrl));
}
BENCHMARK(BM_IsQuickStartGuideURL);

}  // namespace
}  // namespace quillhaven::strings
