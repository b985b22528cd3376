// What a deployment of the product decides: its host names and tracking names.
#ifndef QUILLHAVEN_IDENTITY_PRODUCT_CONFIGURATION_H_
#define QUILLHAVEN_IDENTITY_PRODUCT_CONFIGURATION_H_

#include <string>
#include <vector>

namespace quillhaven::identity {

// The names are host names and labels (RFC 1123, section 2.1) as they stand in
// links: without scheme, port or dot at the end. The defaults serve examples
// and tests; they reach no server (RFC 2606).
struct ProductConfiguration {
  // The domain of the diagnostic-consent and quick-start pages.
  std::string productDomain = "quillhaven.example";
  // The sub-domain of diagnostic-consent pages besides "beta" and "edge".
  std::string diagnosticSubdomain = "internal";

  // The first label of a tracking host besides "beta" and the user.
  std::string trackingSubdomain = "track";
  // A tracking host is any of these names with any of the endings. An ending
  // is a top-level domain, with the path that begins its links where they have
  // one.
  std::vector<std::string> trackingDomainNames = {"quillhaven"};
  std::vector<std::string> trackingDomainEndings = {"example/tracking/hit",
                                                    "test"};

  // Where users of the platform's vendor manage their accounts.
  std::string accountManagementHost = "account.example";
  std::string mainWebsiteHost = "www.quillhaven.example";
  std::string helpCenterHost = "help.quillhaven.example";
};

// Replaces the configuration for the whole process. To be called before
// anything of the library uses it: a call after the first use, which some
// results would already rest on, is a fatal error. Thread-safe.
void setProductConfiguration(ProductConfiguration configuration);

// Returns the configuration of the process, which stays as it is from the first
// call on. Thread-safe.
[[nodiscard]] const ProductConfiguration& productConfiguration();

}  // namespace quillhaven::identity

#endif  // QUILLHAVEN_IDENTITY_PRODUCT_CONFIGURATION_H_
