#include "quillhaven/system/launch_on_startup.h"

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <system_error>

#include "quillhaven/platform/files/login_items.h"

namespace quillhaven::system {
namespace {

using platform::Bundle;
using platform::LoginItem;
using platform::LoginItemList;

// How the names of the product's applications begin, also of earlier ones.
constexpr std::string_view kProductName = "Quillhaven";

// Does what may fail; callers of this file cannot be told.
template <typename Work>
void attempt(const Work& work) {
  try {
    work();
  } catch (const std::system_error&) {
  }
}

bool isCopy(const std::string& path, const Bundle& bundle) {
  const Bundle other(path);
  const auto identifier = other.bundleIdentifier();
  return identifier && identifier == bundle.bundleIdentifier();
}

void enable(const LoginItemList& list, const Bundle& bundle) {
  bool isRegistered = false;
  for (LoginItem& item : list.items()) {
    const auto [path, error] = item.resolve();
    if (error != 0 && error != platform::kLoginItemNotThere) continue;
    if (path == bundle.bundlePath()) {
      isRegistered = true;
      attempt([&, &entry = item] {
        if (!entry.isHidden()) list.setHidden(entry, true);
        if (!entry.isEnabled()) list.setEnabled(entry, true);
      });
    } else if (item.displayName().starts_with(kProductName) ||
               (path && isCopy(*path, bundle))) {
      attempt([&] { list.remove(item); });
    }
  }
  if (!isRegistered) attempt([&] { list.insertLast(bundle, true); });
}

void disable(const LoginItemList& list, const Bundle& bundle) {
  for (const LoginItem& item : list.items()) {
    const auto [path, error] = item.resolve();
    if (error != 0 || !path) continue;
    struct stat status {};
    const bool exists = ::stat(path->c_str(), &status) == 0;
    if (!exists || isCopy(*path, bundle)) {
      attempt([&] { list.remove(item); });
    }
  }
}

}  // namespace

void QHSetLaunchOnStartup(bool enabled, const platform::Bundle& bundle) {
  const auto list = LoginItemList::open();
  if (!list || bundle.bundlePath().empty()) return;
  if (enabled) {
    enable(*list, bundle);
  } else {
    disable(*list, bundle);
  }
}

}  // namespace quillhaven::system
