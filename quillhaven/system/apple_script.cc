#include "quillhaven/system/apple_script.h"

#include <glib.h>

#include <cstdint>
#include <memory>

#include "quillhaven/platform/text/utf8.h"

namespace quillhaven::system {
namespace {

using platform::ScriptErrorDictionary;

struct GFree {
  void operator()(gchar* text) const { g_free(text); }
};

std::string base64Of(std::string_view bytes) {
  const std::unique_ptr<gchar, GFree> text(g_base64_encode(
      reinterpret_cast<const guchar*>(bytes.data()), bytes.size()));
  return text.get();
}

// Returns an entry of the type asked for, or null.
template <typename Value>
const Value* entryOf(const ScriptErrorDictionary& error, std::string_view key) {
  const auto entry = error.find(key);
  return entry == error.end() ? nullptr : std::get_if<Value>(&entry->second);
}

AppleScriptError errorFrom(ScriptErrorDictionary error) {
  const auto* const number =
      entryOf<std::int64_t>(error, platform::kScriptErrorNumberKey);
  if (number != nullptr && *number == platform::kScriptUserCanceled) {
    return AppleScriptError::userCanceled();
  }
  const auto* const message =
      entryOf<std::string>(error, platform::kScriptErrorBriefMessageKey);
  return AppleScriptError::executionError(
      message != nullptr ? *message : std::string(), std::move(error));
}

}  // namespace

AppleScript::Privileges AppleScript::Privileges::administrator(
    std::optional<std::string> prompt) {
  return Privileges(true, std::move(prompt));
}

AppleScript::Privileges AppleScript::Privileges::user() {
  return Privileges(false, std::nullopt);
}

std::string AppleScript::Privileges::clause() const {
  if (!isAdministrator_) return {};
  std::string clause = "with administrator privileges ";
  if (prompt_) clause.append("with prompt \"").append(*prompt_).append("\"");
  return clause;
}

std::string AppleScript::shellScriptSource(std::string_view command,
                                           const Privileges& privileges) {
  if (!platform::isValidUTF8(command)) throw AppleScriptError::base64Encoding();
  return "    do shell script \"eval $(echo " + base64Of(command) +
         " | base64 --decode)\" " + privileges.clause();
}

AppleEventDescriptor AppleScript::executeShellScript(
    std::string_view command, const Privileges& privileges,
    const Elevation& elevation) {
  std::string source = shellScriptSource(command, privileges);
  const auto script = platform::Script::fromSource(source);
  if (!script) {
    throw AppleScriptError::appleScriptObjectInitialization(std::move(source));
  }
  platform::ScriptOutcome outcome = script->execute(elevation);
  if (outcome.error) throw errorFrom(std::move(*outcome.error));
  return std::move(*outcome.result);
}

}  // namespace quillhaven::system
