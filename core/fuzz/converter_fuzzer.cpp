// Feeds random bytes, cut into random pieces, to the stream reader of
// several encodings; only the library's own exceptions may come out.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/converter.h"
#include "core/exception.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char16_t* const kEncodings[] = {u"UTF-8",     u"UTF-16",      u"UTF-32",
                                               u"Shift_JIS", u"ISO-2022-JP", u"windows-1251",
                                               u"GB18030",   u"BOCU-1",      u"SCSU"};
  if (size < 2) return 0;
  const auto encoding = data[0] % (sizeof kEncodings / sizeof kEncodings[0]);
  const size_t piece = data[1] % 17 + 1;
  data += 2;
  size -= 2;
  try {
    core::StreamConverterToUnicode reader(kEncodings[encoding]);
    std::vector<char16_t> room(piece + 1);
    const char* next = reinterpret_cast<const char*>(data);
    const char* const end = next + size;
    while (next != end) {
      const char* source = next;
      const char* const stop = next + std::min(piece, static_cast<size_t>(end - next));
      while (source != stop) {
        char16_t* target = room.data();
        reader.widen(source, static_cast<size_t>(stop - source), target, room.size());
      }
      next = stop;
    }
    const char* flush = nullptr;
    char16_t* target = room.data();
    reader.widen(flush, 0, target, room.size());
  } catch (const core::Exception&) {
  }
  return 0;
}
