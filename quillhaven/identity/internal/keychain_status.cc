#include "quillhaven/identity/internal/keychain_status.h"

#include <algorithm>
#include <functional>
#include <iterator>

#include "quillhaven/platform/base/localization.h"

namespace quillhaven::identity::internal {
namespace {

using platform::localizationKey;

// The documented codes that item and keychain calls can answer with, from the
// greatest to the least.
constexpr struct {
  std::int32_t status;
  const char* message;
} kMessages[] = {
    {0, localizationKey("No error occurred.")},
    {-4, localizationKey("The keychain does not offer this function.")},
    {-34, localizationKey("The disk is full.")},
    {-36, localizationKey("Reading or writing the keychain failed.")},
    {-49, localizationKey("The keychain is already open for writing.")},
    {-50, localizationKey("An argument of the call is not valid.")},
    {-61, localizationKey("Writing to the keychain is not permitted.")},
    {-108, localizationKey("There is not enough memory.")},
    {-128, localizationKey("The user declined.")},
    {-909, localizationKey("The request is not valid.")},
    {-2070, localizationKey("A part of the keychain failed.")},
    {-25240,
     localizationKey("The access list of the item has an unusual form.")},
    {-25243, localizationKey("The item has no access list.")},
    {-25244, localizationKey("The owner of the item may not be changed.")},
    {-25256, localizationKey("The format of the item is not supported.")},
    {-25257, localizationKey("The format of the item is not known.")},
    {-25258,
     localizationKey("The key must be wrapped before it leaves the keychain.")},
    {-25260, localizationKey("A passphrase is required.")},
    {-25261, localizationKey("The reference to the password is not valid.")},
    {-25291, localizationKey("No keychain can be reached.")},
    {-25292, localizationKey("The keychain can only be read.")},
    {-25293, localizationKey("The user name or the passphrase is wrong.")},
    {-25294, localizationKey("There is no such keychain.")},
    {-25295, localizationKey("The keychain is damaged.")},
    {-25296, localizationKey("A keychain of this name exists already.")},
    {-25297, localizationKey("This callback is registered already.")},
    {-25298, localizationKey("The callback is not valid.")},
    {-25299, localizationKey("The item exists in the keychain already.")},
    {-25300, localizationKey("There is no such item in the keychain.")},
    {-25301, localizationKey("The buffer is too small for the data.")},
    {-25302, localizationKey("The data is too large for the item.")},
    {-25303, localizationKey("The item has no such attribute.")},
    {-25304, localizationKey("The reference to the item is not valid.")},
    {-25305, localizationKey("The reference to the search is not valid.")},
    {-25306, localizationKey("There is no such class of items.")},
    {-25307, localizationKey("There is no default keychain.")},
    {-25308,
     localizationKey("The user would have to be asked, which is not allowed.")},
    {-25309, localizationKey("The attribute can only be read.")},
    {-25310, localizationKey("The keychain has another version.")},
    {-25311, localizationKey("This size of key is not allowed.")},
    {-25312, localizationKey("The module that stores items is missing.")},
    {-25313, localizationKey("The module for certificates is missing.")},
    {-25314, localizationKey("The module for policies is missing.")},
    {-25315, localizationKey("The user has to be asked.")},
    {-25316, localizationKey("The data of the item is not available.")},
    {-25317, localizationKey("The data of the item cannot be changed.")},
    {-25318, localizationKey("The chain of certificates could not be made.")},
    {-25319, localizationKey("The preferences domain is not valid.")},
    {-25320,
     localizationKey("The user cannot be asked while the computer sleeps.")},
    {-26275, localizationKey("The data of the item cannot be decoded.")},
    {-34018,
     localizationKey("The program lacks an entitlement for the keychain.")},
    {-34020,
     localizationKey("The program may not use this function of the keychain.")},
};

static_assert(std::ranges::is_sorted(kMessages, std::ranges::greater(),
                                     [](const auto& m) { return m.status; }));

}  // namespace

const char* keychainStatusKey(std::int32_t status) {
  const auto* const found =
      std::ranges::lower_bound(kMessages, status, std::ranges::greater(),
                               [](const auto& m) { return m.status; });
  const bool isKnown = found != std::end(kMessages) && found->status == status;
  return isKnown ? found->message : nullptr;
}

}  // namespace quillhaven::identity::internal
