// Implements io/storage_variant.h for "q9stg32-64": the 64-bit container of
// Storage64.cpp under its second scheme name, with its own instance counter.
#include "io/storage_variant.h"

namespace core {

const StorageVariantTraits& storage32_64_traits() noexcept {
  static std::atomic<std::uint32_t> counter{0};
  static const StorageVariantTraits traits{StorageVariant::Storage32_64, kLayout64, u"q9stg32-64",
                                           counter};
  return traits;
}

}  // namespace core
