#include "cli/track_command.h"

#include <memory>
#include <optional>
#include <string>

#include "cli/command.h"
#include "cli/output.h"
#include "cli/whole_input.h"
#include "quillhaven/platform/url/uuid.h"
#include "quillhaven/strings/tracking_links.h"

namespace quillhaven::cli {
namespace {

using platform::Uuid;

struct TrackOptions {
  std::string action;
  std::optional<std::string> user;
  std::optional<std::string> contact;
  std::string file{kStandardInputPath};
};

struct Identifiers {
  std::optional<Uuid> user;
  std::optional<Uuid> contact;
};

// Reads the value of `option`; returns false when it is no UUID.
bool readIdentifier(const std::string& option,
                    const std::optional<std::string>& text,
                    std::optional<Uuid>& identifier) {
  if (!text) return true;
  identifier = Uuid::fromString(*text);
  if (identifier) return true;
  writeDiagnostics(diagnostic(option + ": \"" + *text +
                              "\" is no UUID (such as "
                              "01234567-89AB-CDEF-0123-456789ABCDEF)"));
  return false;
}

// Returns nothing, having said why, when the options do not fit the action.
std::optional<Identifiers> identifiersFrom(const TrackOptions& options) {
  Identifiers identifiers;
  if (!readIdentifier("--user", options.user, identifiers.user) ||
      !readIdentifier("--contact", options.contact, identifiers.contact)) {
    return std::nullopt;
  }
  const bool takesContact = options.action == "contact";
  if (takesContact && (!identifiers.user || !identifiers.contact)) {
    writeDiagnostics(diagnostic("track contact needs --user and --contact"));
    return std::nullopt;
  }
  if (!takesContact && identifiers.contact) {
    writeDiagnostics(diagnostic("--contact is for track contact"));
    return std::nullopt;
  }
  return identifiers;
}

int track(const TrackOptions& options) {
  const auto identifiers = identifiersFrom(options);
  if (!identifiers) return kWrongUsage;
  WholeReader reader;
  if (!readWholeText(reader, inputNamed(options.file))) return kFailed;
  const auto text = reader.bytes();
  if (options.action == "contains") {
    const bool isThere = strings::containsTrackingURL(text, identifiers->user);
    const int status = writeWhole(isThere ? "true\n" : "false\n");
    return isThere ? status : kFailed;
  }
  return writeWhole(
      options.action == "contact"
          ? strings::addingContactIdToTrackingURLs(text, *identifiers->user,
                                                   *identifiers->contact)
          : strings::addingNoTrackToTrackingURLs(text, identifiers->user));
}

}  // namespace

void addTrackCommand(CommandLine& line) {
  Command command = line.addCommand(
      "track",
      "Find the product's tracking links in a text, usually HTML, or mark "
      "them.");
  const auto options = std::make_shared<TrackOptions>();
  command
      .argument("ACTION", options->action,
                "notrack: opening the links counts as no hit; contact: they "
                "tell who received them; contains: print whether there are "
                "any")
      .required()
      .oneOf({"notrack", "contact", "contains"});
  command.option("--user", "UUID", options->user,
                 "only links of this user; default: of any user");
  command.option("--contact", "UUID", options->contact,
                 "the receiver, for contact, which also needs --user");
  addFileArgument(command, options->file, "the text, in UTF-8");
  command.footer(
      "Examples:\n"
      "  quillhaven track notrack sent.html > shown.html\n"
      "  quillhaven track contact --user 01234567-89AB-CDEF-0123-456789ABCDEF "
      "\\\n"
      "      --contact FEDCBA98-7654-3210-FEDC-BA9876543210 draft.html\n"
      "  quillhaven track contains page.html && echo tracked\n\n"
      "Exit status: 0 done, 1 the text cannot be read or is not UTF-8, and "
      "false of\ncontains, 2 wrong usage.");
  command.does([options] { return track(*options); });
}

}  // namespace quillhaven::cli
