// Value and exception deserialization from the text and binary encodings:
// bad data throws only the library's own exceptions; a value that reads
// writes back, and reads again to an equal value with the same text.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/io.h"
#include "core/list_stream.h"
#include "core/persistence.h"
#include "core/value.h"

namespace {

void check_value(const core::Value& value) {
  core::String text;
  value.toString(text);
  core::Value again;
  core::GenericValue::fromString(text, again);
  if (!again.equals(value)) std::abort();
  core::String text2;
  again.toString(text2);
  if (text != text2) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const bool binary = (data[0] & 1) != 0;
  const bool exception = (data[0] & 2) != 0;

  core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile(bytes));
  std::u16string units(bytes.size() / 2, u'\0');
  if (!units.empty()) std::memcpy(units.data(), bytes.data(), units.size() * sizeof(char16_t));
  core::InterfacePtr<core::IReader> reader(new core::StringReader(core::String(units)));
  core::InterfacePtr<core::ListInPersistenceStorage> storage(new core::ListInPersistenceStorage(
      binary ? core::ListInStream(file.get()) : core::ListInStream(reader.get())));

  if (exception) {
    core::Exception read(u"");
    try {
      read.deserialize(storage.get());
    } catch (const core::ListStreamException&) {
      return 0;
    }
    core::InterfacePtr<core::StringWriter> text(new core::StringWriter);
    core::InterfacePtr<core::ListOutPersistenceStorage> out(
        new core::ListOutPersistenceStorage(core::ListOutStream(text.get())));
    read.serialize(out.get());
    out->writer().close();
    core::InterfacePtr<core::IReader> back(new core::StringReader(text->str()));
    core::InterfacePtr<core::ListInPersistenceStorage> in(
        new core::ListInPersistenceStorage(core::ListInStream(back.get())));
    core::Exception again(u"");
    again.deserialize(in.get());
    if (again.clsid() != read.clsid() || again.descr() != read.descr() ||
        again.categories() != read.categories() ||
        (!read.stackTrace().empty() && again.stackTrace() != read.stackTrace())) {
      std::abort();
    }
    return 0;
  }

  core::Value value;
  try {
    core::GenericValue::deserialize(storage.get(), value);
  } catch (const core::ListStreamException&) {
    return 0;
  }
  check_value(value);
  return 0;
}
