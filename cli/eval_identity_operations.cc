// The operations of `quillhaven eval` on builds, systems and help pages.
#include "cli/eval_operation.h"
#include "quillhaven/identity/bundle_info.h"
#include "quillhaven/identity/operating_system_version.h"
#include "quillhaven/identity/website.h"

namespace quillhaven::cli {
namespace {

using identity::OperatingSystemVersion;
using identity::OSSupport;
using identity::Website;

std::string_view nameOf(OSSupport support) {
  switch (support) {
    case OSSupport::supported:
      return "supported";
    case OSSupport::partiallySupported:
      return "partiallySupported";
    case OSSupport::unsupported:
      break;
  }
  return "unsupported";
}

void namesOfSystem(const Arguments& arguments, JsonWriter& result) {
  const OperatingSystemVersion version{arguments.int64("major"),
                                       arguments.int64("minor"),
                                       arguments.int64("patch")};
  static constexpr struct {
    std::string_view name;
    bool (OperatingSystemVersion::*holds)() const;
  } kProperties[] = {
      {"isHighSierra", &OperatingSystemVersion::isHighSierra},
      {"isHighSierraOrLater", &OperatingSystemVersion::isHighSierraOrLater},
      {"isMojave", &OperatingSystemVersion::isMojave},
      {"isMojaveOrLater", &OperatingSystemVersion::isMojaveOrLater},
      {"isCatalina", &OperatingSystemVersion::isCatalina},
      {"isCatalinaOrLater", &OperatingSystemVersion::isCatalinaOrLater},
      {"isBigSur", &OperatingSystemVersion::isBigSur},
      {"isBigSurOrLater", &OperatingSystemVersion::isBigSurOrLater},
      {"isMonterey", &OperatingSystemVersion::isMonterey},
      {"isMontereyOrLater", &OperatingSystemVersion::isMontereyOrLater},
      {"isVentura", &OperatingSystemVersion::isVentura},
      {"isVenturaOrLater", &OperatingSystemVersion::isVenturaOrLater},
      {"isSonoma", &OperatingSystemVersion::isSonoma},
      {"isSonomaOrLater", &OperatingSystemVersion::isSonomaOrLater},
  };
  result.beginObject();
  for (const auto& property : kProperties) {
    result.key(property.name);
    result.value((version.*property.holds)());
  }
  result.endObject();
}

Website::Page pageNamed(std::string_view name) {
  if (const auto page = Website::pageWithName(name)) return *page;
  throw EvalError(
      std::string("no page is called \"").append(name).append("\""));
}

void addressOfPage(const Arguments& arguments, JsonWriter& result) {
  result.value(Website::address(
      arguments.isString("page")
          ? pageNamed(arguments.string("page"))
          : Website::pageWithRawValue(arguments.int64("page"))));
}

constexpr EvalOperation kOperations[] = {
    {"buildNumber",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(identity::buildNumber(arguments.string("versionString")));
     }},
    {"osSupport",
     [](const Arguments& arguments, JsonWriter& result) {
       result.value(nameOf(identity::osSupport(
           arguments.boolean("isWideframe"), arguments.int64("majorVersion"))));
     }},
    {"operatingSystemVersion", namesOfSystem},
    {"websitePage", addressOfPage},
};

}  // namespace

std::span<const EvalOperation> identityOperations() { return kOperations; }

}  // namespace quillhaven::cli
