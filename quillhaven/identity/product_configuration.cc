#include "quillhaven/identity/product_configuration.h"

#include <memory>
#include <mutex>
#include <utility>

#include "quillhaven/platform/base/fatal_error.h"

namespace quillhaven::identity {
namespace {

struct Holder {
  std::mutex lock;
  ProductConfiguration configuration;  // guarded by lock until isUsed
  bool isUsed = false;                 // guarded by lock
};

// Never destroyed: other objects may still ask while the process ends.
Holder& holder() {
  static Holder& instance = *std::make_unique<Holder>().release();
  return instance;
}

}  // namespace

void setProductConfiguration(ProductConfiguration configuration) {
  const std::lock_guard guard(holder().lock);
  if (holder().isUsed) {
    platform::fatalError(
        "the product configuration is replaced after its first use");
  }
  holder().configuration = std::move(configuration);
}

const ProductConfiguration& productConfiguration() {
  const std::lock_guard guard(holder().lock);
  holder().isUsed = true;
  return holder().configuration;
}

}  // namespace quillhaven::identity
