// What the fuzz targets that drive random calls share: a reader of the
// input's bytes and the entry that either reads the input as a brace list or
// makes calls from it.
#ifndef CORE_FUZZ_FUZZ_INPUT_H_
#define CORE_FUZZ_FUZZ_INPUT_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/exception.h"
#include "core/string.h"
#include "core/value.h"

namespace core::fuzz {

// The input's bytes one at a time; zeros once they run out.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  bool empty() const { return position_ >= size_; }
  std::uint8_t next() { return position_ < size_ ? data_[position_++] : 0; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t position_ = 0;
};

// With the first byte odd, reads the rest as the brace-list text of a value;
// otherwise hands the rest to `calls`. Only the library's own exceptions may
// escape a reading.
template <class Calls>
int calls_or_brace_list(const std::uint8_t* data, std::size_t size, Calls calls) {
  if (size < 1) return 0;
  if ((data[0] & 1) != 0) {
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    try {
      Value read;
      GenericValue::fromString(String::fromUtf8(text), read);
    } catch (const Exception&) {
    }
    return 0;
  }
  Input in(data + 1, size - 1);
  calls(in);
  return 0;
}

}  // namespace core::fuzz

#endif  // CORE_FUZZ_FUZZ_INPUT_H_
