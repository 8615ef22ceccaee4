// Implements internal/throw.h: the shared throwers.
#include "internal/throw.h"

#include <string>

#include "core/exception_classes.h"
#include "core/string.h"

namespace core::detail {

void throw_list_stream_error() { throw ListStreamException(); }

void throw_illegal_argument(long long value) {
  throw IllegalArgumentException(String::fromUtf8(std::to_string(value)));
}

}  // namespace core::detail
