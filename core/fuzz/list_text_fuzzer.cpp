// Brace-list text reading: any input either reads or throws the library's
// own exception; what reads is copied out as canonical text, which must read
// again. The text form does not carry the kinds of bare words, so a copy may
// take a word differently from the one before (Base64 "0000" reads back as
// the integer 0); the copies must still settle within four rounds.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "core/date.h"
#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/io.h"
#include "core/list_stream.h"
#include "core/numeric.h"

namespace {

// Copies a whole text document into canonical text; false when it is
// refused.
bool canonical(const core::String& text, std::u16string& out) {
  core::InterfacePtr<core::IReader> reader(new core::StringReader(text));
  core::InterfacePtr<core::StringWriter> writer(new core::StringWriter);
  core::ListInStream in(reader.get());
  core::ListOutStream copy(writer.get());
  try {
    core::copy_list_stream(in, copy);
    copy.close();
  } catch (const core::ListStreamException&) {
    return false;
  }
  out = writer->text();
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::u16string units(size / 2, u'\0');
  if (!units.empty()) std::memcpy(units.data(), data, units.size() * sizeof(char16_t));

  // Skipping must agree with reading on where the first list ends.
  {
    core::InterfacePtr<core::IReader> reader(new core::StringReader(core::String(units)));
    core::ListInStream in(reader.get());
    try {
      in.getBeginOfList();
      core::String saved;
      in.skipAndSaveListContent(saved);
      in.getEndOfList();
    } catch (const core::ListStreamException&) {
    }
  }

  // A number, then a date, read from the front of the text: each reads or
  // throws, and a number that reads writes back and reads again as itself.
  {
    core::InterfacePtr<core::IReader> reader(new core::StringReader(core::String(units)));
    core::Numeric number;
    core::Date date;
    try {
      number.fromStream(reader.get());
      core::InterfacePtr<core::StringWriter> writer(new core::StringWriter);
      number.toStream(writer.get());
      core::InterfacePtr<core::IReader> again(new core::StringReader(writer->str()));
      core::Numeric read;
      read.fromStream(again.get());
      if (read != number) std::abort();
      date.fromStream(reader.get());
    } catch (const core::Exception&) {
      // ListStreamException, or NumericException for digits beyond the range.
    }
  }

  std::u16string current;
  if (!canonical(core::String(units), current)) return 0;
  for (int round = 0; round < 4; ++round) {
    std::u16string next;
    if (!canonical(core::String(current), next)) std::abort();
    if (next == current) return 0;
    current = std::move(next);
  }
  std::abort();
}
