#include "quillhaven/identity/product_configuration.h"

#include <gtest/gtest.h>

namespace quillhaven::identity {
namespace {

// One test, since the configuration is the process's own and is used once.
TEST(ProductConfiguration, IsReplacedBeforeTheFirstUseOnly) {
  ProductConfiguration configuration;
  configuration.productDomain = "other.example";
  setProductConfiguration(configuration);
  configuration.productDomain = "another.example";
  setProductConfiguration(configuration);
  EXPECT_EQ(productConfiguration().productDomain, "another.example");
  EXPECT_EQ(productConfiguration().trackingSubdomain, "track");
  EXPECT_DEATH(setProductConfiguration({}), "after its first use");
  EXPECT_EQ(productConfiguration().productDomain, "another.example");
}

}  // namespace
}  // namespace quillhaven::identity
