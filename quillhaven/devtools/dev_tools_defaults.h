// The switches of the Develop menu in user defaults, for those who act on them.
#ifndef QUILLHAVEN_DEVTOOLS_DEV_TOOLS_DEFAULTS_H_
#define QUILLHAVEN_DEVTOOLS_DEV_TOOLS_DEFAULTS_H_

#include "quillhaven/platform/files/user_defaults.h"

namespace quillhaven::devtools {

// Keys of booleans. An absent one reads as false; nothing registers defaults.

// Whether the host shows the menu at all.
inline constexpr char kShowMenuKey[] = "QHDevelopShowMenu";
// Web developer tools are on.
inline constexpr char kEnableDevToolsKey[] = "QHDevelopEnableDevTools";
// The cache of the web components is cleared automatically.
inline constexpr char kAutoClearCacheKey[] =
    "QHDevelopWebComponentsAutoClearCache";
// The session token is injected again after a reload.
inline constexpr char kReInjectTokenKey[] =
    "QHDevelopWebComponentsReInjectTokenOnReload";
inline constexpr char kDebugTrackingDetailsKey[] =
    "QHDevelopWebComponentsDebugTrackingDetails";
// Bodies of backend calls are logged.
inline constexpr char kLogBackendRequestBodyKey[] =
    "QHDevelopLogBackendRequestBody";
inline constexpr char kLogBackendResponseBodyKey[] =
    "QHDevelopLogBackendResponseBody";
// Logging is off. The menu reads these two; its delegate writes them.
inline constexpr char kDisableMailLogsKey[] = "QHDevelopDisableMailLogs";
inline constexpr char kDisableQuillhavenLogsKey[] =
    "QHDevelopDisableQuillhavenLogs";
// The swizzling profiler runs from the next launch on.
inline constexpr char kEnableSwizzlingProfilerKey[] =
    "QHDevelopEnableSwizzlingProfiler";

// Keys of strings, absolute URLs: the server in use in place of the usual one
// (absent: the usual one), and the one chosen last.
inline constexpr char kWebComponentsBaseURLKey[] =
    "QHDevelopWebComponentsBaseURL";
inline constexpr char kWebComponentsRecentBaseURLKey[] =
    "QHDevelopWebComponentsRecentBaseURL";
inline constexpr char kCheckoutBaseURLKey[] = "QHDevelopCheckoutBaseURL";
inline constexpr char kCheckoutRecentBaseURLKey[] =
    "QHDevelopCheckoutRecentBaseURL";

// Keys of data: the bookmark (platform/files/security_scoped_bookmark.h) of a
// local folder that serves as a server.
inline constexpr char kWebComponentsBookmarkKey[] =
    "QHDevelopWebComponentsBaseURLSecBookmark";
inline constexpr char kCheckoutBookmarkKey[] =
    "QHDevelopCheckoutBaseURLSecBookmark";

// Read and write one key each. Writing throws as UserDefaults does.
// Thread-safe.
[[nodiscard]] bool devToolsEnabled(const platform::UserDefaults& defaults);
void setDevToolsEnabled(platform::UserDefaults& defaults, bool isEnabled);
[[nodiscard]] bool swizzlingProfilerEnabled(
    const platform::UserDefaults& defaults);
void setSwizzlingProfilerEnabled(platform::UserDefaults& defaults,
                                 bool isEnabled);
[[nodiscard]] bool logBackendRequestBody(
    const platform::UserDefaults& defaults);
void setLogBackendRequestBody(platform::UserDefaults& defaults, bool isLogged);
[[nodiscard]] bool logBackendResponseBody(
    const platform::UserDefaults& defaults);
void setLogBackendResponseBody(platform::UserDefaults& defaults, bool isLogged);
[[nodiscard]] bool showQuillhavenDevelopMenu(
    const platform::UserDefaults& defaults);
void setShowQuillhavenDevelopMenu(platform::UserDefaults& defaults,
                                  bool isShown);

}  // namespace quillhaven::devtools

#endif  // QUILLHAVEN_DEVTOOLS_DEV_TOOLS_DEFAULTS_H_
