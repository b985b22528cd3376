#include "quillhaven/devtools/dev_tools_defaults.h"

namespace quillhaven::devtools {

using platform::UserDefaults;

bool devToolsEnabled(const UserDefaults& defaults) {
  return defaults.boolForKey(kEnableDevToolsKey);
}

void setDevToolsEnabled(UserDefaults& defaults, bool isEnabled) {
  defaults.set(kEnableDevToolsKey, isEnabled);
}

bool swizzlingProfilerEnabled(const UserDefaults& defaults) {
  return defaults.boolForKey(kEnableSwizzlingProfilerKey);
}

void setSwizzlingProfilerEnabled(UserDefaults& defaults, bool isEnabled) {
  defaults.set(kEnableSwizzlingProfilerKey, isEnabled);
}

bool logBackendRequestBody(const UserDefaults& defaults) {
  return defaults.boolForKey(kLogBackendRequestBodyKey);
}

void setLogBackendRequestBody(UserDefaults& defaults, bool isLogged) {
  defaults.set(kLogBackendRequestBodyKey, isLogged);
}

bool logBackendResponseBody(const UserDefaults& defaults) {
  return defaults.boolForKey(kLogBackendResponseBodyKey);
}

void setLogBackendResponseBody(UserDefaults& defaults, bool isLogged) {
  defaults.set(kLogBackendResponseBodyKey, isLogged);
}

bool showQuillhavenDevelopMenu(const UserDefaults& defaults) {
  return defaults.boolForKey(kShowMenuKey);
}

void setShowQuillhavenDevelopMenu(UserDefaults& defaults, bool isShown) {
  defaults.set(kShowMenuKey, isShown);
}

}  // namespace quillhaven::devtools
