// Takes the input as a sealed file, as a key file, and as the list of items
// inside a seal that opens.
#include <string>
#include <string_view>

#include "fuzz/fuzz_target.h"
#include "quillhaven/platform/keychain/internal/keychain_records.h"
#include "quillhaven/platform/keychain/internal/sealed_format.h"

namespace quillhaven::fuzz {
namespace {

using namespace platform;

// Made once: random, but nothing depends on which it is.
const SecretBytes& masterKey() {
  static const SecretBytes kKey =
      *internal::masterKeyFromKeyFile(viewOf(internal::newKeyFile()));
  return kKey;
}

void checkFile(std::string_view bytes) {
  const auto header = internal::headerFromBytes(bytes);
  if (header) {
    require(bytes.size() > internal::SealedHeader::kSize, "a seal follows");
    require(header->derivation.operations <= internal::kMaximumOperations &&
                header->derivation.memoryInKibibytes <=
                    internal::kMaximumMemoryInKibibytes,
            "a header asks for no more than the bounds");
    require(!internal::fits(*header, masterKey()), "nobody guesses a key");
  }
  require(!internal::open(bytes, masterKey()), "nobody forges a seal");
  (void)internal::masterKeyFromKeyFile(bytes);
}

void checkRecords(std::string_view list) {
  const auto records = internal::recordsFromBytes(list);
  if (!records) return;
  for (const auto& record : *records) {
    requireUTF8(record.service);
    requireUTF8(record.account);
    require(!record.service.empty(), "every item has a service");
  }
  const auto written = internal::bytesFromRecords(*records);
  require(written && viewOf(*written) == list, "a list is written in one way");
}

void checkSeal(std::string_view list) {
  static const auto kDerivation =
      internal::newDerivation(internal::KeySource::kKeyFile);
  const std::string file = internal::seal(kDerivation, masterKey(), list);
  const auto header = internal::headerFromBytes(file);
  require(header && header->derivation == kDerivation, "a header reads back");
  require(internal::fits(*header, masterKey()), "a key fits what it sealed");
  const auto opened = internal::open(file, masterKey());
  require(opened && viewOf(*opened) == list, "a seal opens to what is in it");
}

}  // namespace
}  // namespace quillhaven::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  using namespace quillhaven::fuzz;
  const std::string_view input = inputBytes(data, size);
  checkFile(input);
  checkRecords(input);
  checkSeal(input);
  return 0;
}
