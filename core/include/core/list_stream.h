// Brace lists: the library's serialization format of nested lists in curly
// braces whose elements are numbers, quoted strings, identifiers and further
// lists.
//
// ListOutStream writes a sequence of calls (begin a list, put values, end the
// list); ListInStream reads the same sequence back. Each is a thin value class
// in front of an interface (IListOutStream, IListInStream), so other encodings
// can be plugged in. The library offers two: text over an IWriter / IReader,
// and a compact binary encoding over an IFile (see doc/brace_list.md).
//
//   core::InterfacePtr<core::StringWriter> text(new core::StringWriter);
//   core::ListOutStream out(text.get());
//   out.putBeginOfList(); out.put(1); out.put(core::String(u"a")); out.putEndOfList();
//   out.close();  // text->str() == u"{1,\"a\"}"
//
// Thread safety: a stream is used by one thread at a time.
//
// Choices of this implementation:
// - float and double are written as the shortest text that reads back as the
//   same double ("0.1", "1e+300", "inf", "-inf", "nan"); a float is widened
//   to double first. Reading accepts any decimal or exponent form.
// - A comma directly before "}" is not tolerated: "{1,}" is malformed.
// - get(String&, def) reads `def` when the list ends where the string is
//   expected (nothing is consumed then): trailing fields may be left out.
// - The binary Numeric payload (kind 22) is its canonical decimal text as a
//   LEB128 length followed by that many ASCII bytes.
// - get() of a string also accepts a bare word (an identifier), white space
//   around it removed.
// - An empty byte block is written as "" (the empty quoted string) in the
//   text encoding, so that it stays an element of its own for skipping and
//   copying. Where bytes are expected, "" reads as an empty block, and so
//   does an empty string of the binary encoding (what a copy of "" into
//   binary gives); every other quoted text is refused there. An empty bare
//   word also reads as an empty block, but skipping and copying refuse a
//   comma before "}" (see above).
// - skipListContent() leaves the closing brace of the skipped list for the
//   caller's getEndOfList().
// - A reading stream never keeps what follows the value or list it read
//   outside any list: once that is complete (and when the stream is
//   destroyed) the source stands right behind it, so another stream can read
//   what follows. The text side reads ahead in blocks only from a reader
//   whose IReader::unread gives units back (StringReader does), and gives
//   them back; from any other reader it takes one unit at a time, holding at
//   most the one character of look-ahead a bare word needs to find its end.
//   The binary side seeks its file back; a peek() outside any list holds
//   its token byte until the stream is destroyed.
#ifndef CORE_LIST_STREAM_H_
#define CORE_LIST_STREAM_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/io.h"
#include "core/iunknown.h"
#include "core/numeric.h"
#include "core/string.h"

namespace core {

// What comes next in a list input (ListInStream::peek).
enum class ListToken {
  End,          // the end of the input
  Comma,        // a comma that getComma() (or the next element) consumes
  BeginOfList,  // "{"
  EndOfList,    // "}"
  Integer,      // binary kinds 1 to 18
  Float,        // binary kinds 19 and 20
  Numeric,      // binary kind 22
  Guid,         // binary kind 21
  String,       // a quoted string; binary kinds 23 to 25
  Bytes,        // binary kinds 26 to 28
  Word,         // text: a bare word, whose type only the reader's request decides
};

// One encoding of the writing side. Implementations throw
// `ListStreamException` ("IDS_LISTSTREAMERROR") for a call that does not fit
// (an end of list with no list open), and pass failures of their writer or
// file through unchanged.
class IListOutStream : public IUnknown {
 public:
  // {0FF0AC06-3CCB-4D9B-8A8B-6D1564E7B446}
  static constexpr GUID kIid = {
      0x0FF0AC06, 0x3CCB, 0x4D9B, {0x8A, 0x8B, 0x6D, 0x15, 0x64, 0xE7, 0xB4, 0x46}};

  virtual void putBeginOfList() = 0;
  virtual void putEndOfList() = 0;
  virtual void putSigned(std::int64_t value) = 0;
  virtual void putUnsigned(std::uint64_t value) = 0;
  virtual void putFloat(float value) = 0;
  virtual void putDouble(double value) = 0;
  virtual void putGuid(const GUID& value) = 0;
  virtual void putString(const char16_t* text, std::size_t count) = 0;
  virtual void putBytes(const void* data, std::size_t count) = 0;
  virtual void putNumeric(const Numeric& value) = 0;
  // Passes everything written so far to the writer or file and flushes it.
  virtual void flush() = 0;
  // Writes what is pending, flushes and releases the writer or file. Further
  // calls throw `ListStreamException` ("IDS_LISTSTREAMERROR").
  virtual void close() = 0;

 protected:
  ~IListOutStream() override = default;
};

// One encoding of the reading side. Every malformed input raises
// ListStreamException ("IDS_LISTSTREAMERROR") and nothing else; failures of
// the reader or file pass through unchanged.
class IListInStream : public IUnknown {
 public:
  // {5B1E0A73-9C24-4D6F-8E17-3A90C4F2D5B8}
  static constexpr GUID kIid = {
      0x5B1E0A73, 0x9C24, 0x4D6F, {0x8E, 0x17, 0x3A, 0x90, 0xC4, 0xF2, 0xD5, 0xB8}};

  virtual void getBeginOfList() = 0;
  virtual void getEndOfList() = 0;
  virtual bool getComma() = 0;
  virtual ListToken peek() = 0;
  // An integer as its sign and magnitude (-0 may come as negative).
  virtual void getInteger(bool& negative, std::uint64_t& magnitude) = 0;
  virtual double getDouble() = 0;
  virtual float getFloat() = 0;
  virtual GUID getGuid() = 0;
  virtual void getString(String& out) = 0;
  virtual void getBytes(std::string& out) = 0;
  virtual void getNumeric(Numeric& out) = 0;
  virtual void skipListContent(String* saved) = 0;
  // Code units (text) or bytes (binary) consumed so far.
  virtual std::uint64_t position() = 0;

 protected:
  ~IListInStream() override = default;
};

// The text encoding over `writer` (acquired).
CORE_EXPORT InterfacePtr<IListOutStream> create_text_list_out_stream(IWriter* writer);
// The binary encoding over `file` (acquired), from its current position.
CORE_EXPORT InterfacePtr<IListOutStream> create_binary_list_out_stream(IFile* file);
// The reading sides; a null reader or file throws `ListStreamException`
// ("IDS_LISTSTREAMERROR"), as does every call of a writing side over null.
CORE_EXPORT InterfacePtr<IListInStream> create_text_list_in_stream(IReader* reader);
CORE_EXPORT InterfacePtr<IListInStream> create_binary_list_in_stream(IFile* file);

// Writes brace lists. Copies share the implementation.
//
// Output reaches the writer or file on flush() and close(); a stream that is
// destroyed without close() closes itself and drops any failure of doing so.
class CORE_EXPORT ListOutStream {
 public:
  // The text encoding over `writer`.
  explicit ListOutStream(IWriter* writer);
  // The binary encoding over `file`, from its current position.
  explicit ListOutStream(IFile* file);
  // Wraps `stream`, taking a reference.
  explicit ListOutStream(IListOutStream* stream);
  ListOutStream(const ListOutStream&) = default;
  ListOutStream& operator=(const ListOutStream&) = default;
  ~ListOutStream();

  // Detaches the implementation, lets it finish and release its writer.
  // Calling close() again does nothing; other calls after it throw
  // `ListStreamException` ("IDS_LISTSTREAMERROR").
  void close();
  void flush();

  void putBeginOfList() { impl()->putBeginOfList(); }
  void putEndOfList() { impl()->putEndOfList(); }

  void put(bool value) { impl()->putUnsigned(value ? 1 : 0); }
  void put(signed char value) { impl()->putSigned(value); }
  void put(short value) { impl()->putSigned(value); }
  void put(int value) { impl()->putSigned(value); }
  void put(long value) { impl()->putSigned(value); }
  void put(long long value) { impl()->putSigned(value); }
  void put(unsigned char value) { impl()->putUnsigned(value); }
  void put(unsigned short value) { impl()->putUnsigned(value); }
  void put(unsigned int value) { impl()->putUnsigned(value); }
  void put(unsigned long value) { impl()->putUnsigned(value); }
  void put(unsigned long long value) { impl()->putUnsigned(value); }
  void put(float value) { impl()->putFloat(value); }
  void put(double value) { impl()->putDouble(value); }
  // The code unit as an unsigned number.
  void put(char16_t value) { impl()->putUnsigned(value); }
  void put(const GUID& value) { impl()->putGuid(value); }
  void put(const String& value) { impl()->putString(value.data(), value.size()); }
  // A null text writes the empty string.
  void put(const char16_t* text);
  // Stops early at a zero code unit.
  void put(const char16_t* text, std::size_t count);
  // The bytes of `bytes`, as a byte block.
  void put(std::string_view bytes) { impl()->putBytes(bytes.data(), bytes.size()); }
  void put(const char* bytes) { put(std::string_view(bytes == nullptr ? "" : bytes)); }
  void put(const std::string& bytes) { put(std::string_view(bytes)); }
  void put(const void* data, std::size_t count) { impl()->putBytes(data, count); }
  void put(const Numeric& value) { impl()->putNumeric(value); }
  // The file's content from its current position to its end, as bytes.
  void put(IFile* file);
  // The bytes the object writes through IFileEx::writeTo.
  void put(IFileEx* object);
  // One element of a bit vector, as a bool.
  void put(std::vector<bool>::reference bit) { put(static_cast<bool>(bit)); }

  IListOutStream* get() const noexcept { return impl_.get(); }

 private:
  IListOutStream* impl() const {
    if (!impl_) throwClosed();
    return impl_.get();
  }
  [[noreturn]] static void throwClosed();

  InterfacePtr<IListOutStream> impl_;
};

// Reads brace lists. Copies share the implementation. A null reader, file
// or stream gives a stream every call of which throws `ListStreamException`
// ("IDS_LISTSTREAMERROR"), as ListOutStream does.
//
// Every malformed input (a missing brace or comma, text where a number is
// expected, a number out of the requested type's range, the end of the input
// inside a list or string, a binary length beyond the remaining bytes)
// throws `ListStreamException` ("IDS_LISTSTREAMERROR"). The position after a
// failure is unspecified: discard the stream.
class CORE_EXPORT ListInStream {
 public:
  explicit ListInStream(IReader* reader);
  explicit ListInStream(IFile* file);
  explicit ListInStream(IListInStream* stream);

  // Restart reading on a new source.
  void reinit(IReader* reader);
  void reinit(IFile* file);
  void reinit(IListInStream* stream);

  void getBeginOfList() { impl()->getBeginOfList(); }
  void getEndOfList() { impl()->getEndOfList(); }
  // Consumes a comma and returns true when one comes next; false otherwise.
  // Value reads consume the comma between elements themselves.
  bool getComma() { return impl()->getComma(); }
  // What comes next, consuming nothing (white space aside).
  ListToken peek() { return impl()->peek(); }

  void get(bool& value);
  void get(signed char& value);
  void get(short& value);
  void get(int& value);
  void get(long& value);
  void get(long long& value);
  void get(unsigned char& value);
  void get(unsigned short& value);
  void get(unsigned int& value);
  void get(unsigned long& value);
  void get(unsigned long long& value);
  void get(float& value);
  void get(double& value);
  void get(char16_t& value);
  void get(GUID& value);
  void get(String& value);
  // A string of at most size - 1 units, zero terminated; a longer string
  // throws `ListStreamException` ("IDS_LISTSTREAMERROR"). REQUIRES: size > 0.
  void get(char16_t* text, std::size_t size);
  // As get(String&), but when the list ends where the string is expected,
  // `value` becomes `def` and nothing is consumed.
  void get(String& value, const char16_t* def);
  void get(String& value, const String& def);
  // A byte block.
  void get(std::string& bytes);
  // A byte block of exactly `count` bytes; another length throws.
  void get(void* data, std::size_t count);
  void get(Numeric& value);
  // Writes the byte block at the file's current position.
  void get(IFile* file);
  // Hands the byte block to IFileEx::readFrom.
  void get(IFileEx* object);
  void get(std::vector<bool>::reference bit);

  // Skips the rest of the current list; its closing brace is left for
  // getEndOfList().
  void skipListContent();
  // The same, appending the skipped text (white space and commas included,
  // the comma after an element already read too; for the binary encoding,
  // the text form of the skipped elements) to `saved`.
  void skipAndSaveListContent(String& saved);

  // Code units (text) or bytes (binary) consumed so far.
  std::uint64_t position();

  IListInStream* get() const noexcept { return impl_.get(); }

 private:
  IListInStream* impl() const {
    if (!impl_) throwClosed();
    return impl_.get();
  }
  [[noreturn]] static void throwClosed();
  template <class T>
  void getSignedAs(T& value);
  template <class T>
  void getUnsignedAs(T& value);

  InterfacePtr<IListInStream> impl_;
};

// Copies every element of `in` to `out` up to the end of the input, keeping
// the structure: text into binary, binary into text, or the same encoding
// into itself. A bare word of the text encoding is taken, in this order, as
// an integer, a decimal number, a GUID, a floating-point number (exponent
// forms, "inf", "nan") or Base64 bytes; a word that is none of these throws
// `ListStreamException` ("IDS_LISTSTREAMERROR"), as does a list left open at the end of the input.
CORE_EXPORT void copy_list_stream(ListInStream& in, ListOutStream& out);

}  // namespace core

#endif  // CORE_LIST_STREAM_H_
