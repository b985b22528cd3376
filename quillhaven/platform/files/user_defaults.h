// User defaults: named values that last, one property list a suite.
#ifndef QUILLHAVEN_PLATFORM_FILES_USER_DEFAULTS_H_
#define QUILLHAVEN_PLATFORM_FILES_USER_DEFAULTS_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "quillhaven/platform/files/property_list.h"

namespace quillhaven::platform {

// The values of one suite, kept in FOLDER/SUITE.plist. A read looks at the file
// each time and reads it anew when it changed, so changes by other processes
// show at once; it costs a system call, not a pass over the file. A change is
// on the disk when the call returns. Changes of any number of processes follow
// one another (a lock on FOLDER/SUITE.lock), so none undoes another's.
//
// A file that holds no property list (damaged, too large, no dictionary) reads
// as empty, is reported in the log, and is kept as SUITE.plist.damaged (-2, -3
// ...) by the next change. A file that may not be read reads as empty too and
// lets no change through. The file may be a link, and stays one; what is kept
// of a damaged one lies beside the file that it leads to. A read does not see
// that the folder itself was replaced; a change does, and the reads after it.
//
// Copies stand for the same suite and share what they have read. Thread-safe.
class UserDefaults {
 public:
  // The standard defaults of the process, whose suite is the identifier of the
  // main bundle, or the name of the executable where it has none.
  [[nodiscard]] static UserDefaults& standard();

  // Opens a suite in the folder "quillhaven" of the user's configuration
  // folder. Nothing when it cannot be opened: the name cannot be a file's, no
  // configuration folder is known, or what is there may not be read.
  [[nodiscard]] static std::optional<UserDefaults> suite(std::string_view name);

  // The suite `name`, a file name, in `folder`, whatever is there.
  UserDefaults(std::string_view name, const std::string& folder);

  // The path of the file, which need not exist; empty for standard defaults
  // that have no folder to be in.
  [[nodiscard]] const std::string& path() const;

  [[nodiscard]] std::optional<PropertyList> object(std::string_view key) const;

  // True for a number other than 0 and for text that, after blanks, a sign and
  // zeros, goes on with one of "YyTt" or a digit; false for every other value
  // and for none. Text counts since people type "YES".
  [[nodiscard]] bool boolForKey(std::string_view key) const;

  // The value if it has exactly this type, else nothing.
  [[nodiscard]] std::optional<std::int64_t> integerForKey(
      std::string_view key) const;
  [[nodiscard]] std::optional<double> doubleForKey(std::string_view key) const;
  [[nodiscard]] std::optional<std::string> stringForKey(
      std::string_view key) const;
  [[nodiscard]] std::optional<std::string> dataForKey(
      std::string_view key) const;  // bytes

  // All values of the suite.
  [[nodiscard]] PropertyList::Dictionary dictionaryRepresentation() const;

  // Each change throws std::system_error when it could not be made; the file
  // is as it was then. A folder that is missing is made.
  void set(std::string_view key, PropertyList value);
  void removeObject(std::string_view key);

  // Hands all values to `change` and keeps what it makes of them; no other
  // change comes between. `change` must not change the same suite by other
  // means. What it throws goes on to the caller, and nothing is changed.
  void update(const std::function<void(PropertyList::Dictionary&)>& change);

 private:
  class Suite;

  std::shared_ptr<Suite> suite_;
};

}  // namespace quillhaven::platform

#endif  // QUILLHAVEN_PLATFORM_FILES_USER_DEFAULTS_H_
