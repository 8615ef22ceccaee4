// What tells the container variants apart above the block layer: the block
// layout, the scheme name and the counter of instance URLs. Each variant's
// unit defines its own: storage.cpp "q9stg" (32-bit blocks), Storage64.cpp
// "q9stg64" and Storage32_64.cpp "q9stg32-64" (both 64-bit blocks; the
// storage layer in ContainerStorage.cpp serves all three alike).
#ifndef CORE_SRC_IO_STORAGE_VARIANT_H_
#define CORE_SRC_IO_STORAGE_VARIANT_H_

#include <atomic>
#include <cstdint>
#include <string_view>

#include "core/interface_ptr.h"
#include "core/scheme.h"
#include "core/storage.h"
#include "io/chain_in_file.h"

namespace core {

struct StorageVariantTraits {
  StorageVariant variant;
  const BlockLayout& layout;
  std::u16string_view scheme;
  // The last instance number given out; the next open takes one more.
  std::atomic<std::uint32_t>& counter;
};

const StorageVariantTraits& storage32_traits() noexcept;
const StorageVariantTraits& storage32_64_traits() noexcept;
const StorageVariantTraits& storage64_traits() noexcept;
const StorageVariantTraits& storage_traits(StorageVariant variant) noexcept;

namespace detail {
// The scheme that opens the streams of open containers of `variant` by
// their instance URLs; registered by the scheme registry at start.
InterfacePtr<IScheme> make_storage_scheme(StorageVariant variant);
}  // namespace detail

}  // namespace core

#endif  // CORE_SRC_IO_STORAGE_VARIANT_H_
