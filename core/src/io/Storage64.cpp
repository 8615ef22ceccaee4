// Implements io/storage_variant.h for "q9stg64": containers of 64-bit
// blocks. "q9stg32-64" (Storage32_64.cpp) is the same container under
// another scheme name; both use the storage layer of ContainerStorage.cpp.
#include "io/storage_variant.h"

namespace core {

const StorageVariantTraits& storage64_traits() noexcept {
  static std::atomic<std::uint32_t> counter{0};
  static const StorageVariantTraits traits{StorageVariant::Storage64, kLayout64, u"q9stg64",
                                           counter};
  return traits;
}

const StorageVariantTraits& storage_traits(StorageVariant variant) noexcept {
  switch (variant) {
    case StorageVariant::Storage32:
      return storage32_traits();
    case StorageVariant::Storage32_64:
      return storage32_64_traits();
    case StorageVariant::Storage64:
      break;
  }
  return storage64_traits();
}

std::u16string_view storage_scheme_name(StorageVariant variant) noexcept {
  return storage_traits(variant).scheme;
}

}  // namespace core
