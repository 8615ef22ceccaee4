// Brace-list binary reading: any input either reads or throws the library's
// own exception, without allocating for lengths beyond the input; what reads
// is copied out in the binary encoding, and that copy reads and copies again
// to exactly itself. The copy also goes through text and back.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/io.h"
#include "core/list_stream.h"

namespace {

bool copy_binary(std::string_view bytes, std::string& out) {
  core::InterfacePtr<core::MemoryFile> source(new core::MemoryFile(bytes));
  core::InterfacePtr<core::MemoryFile> target(new core::MemoryFile);
  core::ListInStream in(source.get());
  core::ListOutStream copy(target.get());
  try {
    core::copy_list_stream(in, copy);
    copy.close();
  } catch (const core::ListStreamException&) {
    return false;
  }
  out = target->bytes();
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string first;
  if (!copy_binary(std::string_view(reinterpret_cast<const char*>(data), size), first)) return 0;
  std::string second;
  if (!copy_binary(first, second) || first != second) std::abort();

  // Into text and read again. An empty byte block has no characters of its
  // own in the text form, so a document holding one may be refused there.
  core::InterfacePtr<core::MemoryFile> source(new core::MemoryFile(first));
  core::InterfacePtr<core::StringWriter> text(new core::StringWriter);
  core::ListInStream in(source.get());
  core::ListOutStream out(text.get());
  core::copy_list_stream(in, out);
  out.close();
  core::InterfacePtr<core::IReader> reader(new core::StringReader(text->str()));
  core::InterfacePtr<core::StringWriter> again(new core::StringWriter);
  core::ListInStream textIn(reader.get());
  core::ListOutStream textOut(again.get());
  try {
    core::copy_list_stream(textIn, textOut);
  } catch (const core::ListStreamException&) {
  }
  return 0;
}
