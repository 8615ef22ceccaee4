// The library's compiled message bundles ("basalt"), embedded at build time.
#ifndef CORE_SRC_BASE_MESSAGE_DATA_H_
#define CORE_SRC_BASE_MESSAGE_DATA_H_

#include <cstddef>

namespace core::detail {

// An ICU common data package holding the root, English and Russian bundles.
extern const unsigned char kBasaltData[];
extern const std::size_t kBasaltDataSize;

}  // namespace core::detail

#endif  // CORE_SRC_BASE_MESSAGE_DATA_H_
