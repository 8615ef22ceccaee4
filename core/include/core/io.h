// The character and byte streams the library reads and writes through, and
// their in-memory implementations.
//
// IWriter is a sink of UTF-16 code units, IReader a source of them; IFile is
// a seekable sequence of bytes. MemoryFile, StringWriter and StringReader keep
// everything in memory; Utf8FileWriter and Utf8FileReader put UTF-16 text
// into, and take it out of, an IFile as UTF-8.
//
//   core::InterfacePtr<core::StringWriter> out(new core::StringWriter);
//   out->write(u"abc", 3);
//   out->str();  // u"abc"
//
// Thread safety: the objects are reference counted with atomic counts and may
// be released from any thread, but one stream must be used by one thread at a
// time.
#ifndef CORE_IO_H_
#define CORE_IO_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/export.h"
#include "core/guid.h"
#include "core/iunknown.h"
#include "core/string.h"

namespace core {

// A sink of UTF-16 code units.
class IWriter : public IUnknown {
 public:
  // {6D3A1C0E-5B2F-4E71-9A64-2C8F0B7D13A5}
  static constexpr GUID kIid = {
      0x6D3A1C0E, 0x5B2F, 0x4E71, {0x9A, 0x64, 0x2C, 0x8F, 0x0B, 0x7D, 0x13, 0xA5}};

  // Appends `count` code units. Failures are the implementation's own
  // exceptions (IOException for real files).
  virtual void write(const char16_t* text, std::size_t count) = 0;
  // Passes everything written so far on to the final destination.
  virtual void flush() = 0;

 protected:
  ~IWriter() override = default;
};

// A source of UTF-16 code units.
class IReader : public IUnknown {
 public:
  // {1F8B4E62-7C3D-4A95-B0E1-9D2A6C5F4738}
  static constexpr GUID kIid = {
      0x1F8B4E62, 0x7C3D, 0x4A95, {0xB0, 0xE1, 0x9D, 0x2A, 0x6C, 0x5F, 0x47, 0x38}};

  // Reads up to `count` code units into `buffer` and returns how many were
  // read; 0 only at the end of the input.
  virtual std::size_t read(char16_t* buffer, std::size_t count) = 0;
  // Gives back the last `count` units that read() returned, so that the next
  // read() returns them again, and returns true. A reader that cannot give
  // units back returns false and keeps its position; so does every reader
  // asked for more units than it has returned. unread(0) tells whether the
  // reader gives back at all. The default gives back nothing.
  virtual bool unread(std::size_t count) {
    (void)count;
    return false;
  }

 protected:
  ~IReader() override = default;
};

// A seekable sequence of bytes with a current position.
class IFile : public IUnknown {
 public:
  // {A47C2D19-3E60-4B8F-8D25-71F0E9B6C34A}
  static constexpr GUID kIid = {
      0xA47C2D19, 0x3E60, 0x4B8F, {0x8D, 0x25, 0x71, 0xF0, 0xE9, 0xB6, 0xC3, 0x4A}};

  // Reads up to `count` bytes at the current position, advancing it; returns
  // how many were read, 0 only at the end.
  virtual std::size_t read(void* buffer, std::size_t count) = 0;
  // Writes `count` bytes at the current position, advancing it and growing
  // the file when it passes the end.
  virtual void write(const void* data, std::size_t count) = 0;
  // Moves the current position; a position beyond the end is allowed (a
  // later write fills the gap with zero bytes, a read returns 0).
  virtual void seek(std::uint64_t position) = 0;
  virtual std::uint64_t position() = 0;
  virtual std::uint64_t length() = 0;
  virtual void flush() = 0;
  // The file's URL, for messages.
  virtual String url() = 0;

 protected:
  ~IFile() override = default;
};

// An object that stores itself as a block of bytes (see ListOutStream::put
// and ListInStream::get of IFileEx*).
class IFileEx : public IUnknown {
 public:
  // {C2E95B07-8A1D-4F36-9E4C-05B7D3A8F162}
  static constexpr GUID kIid = {
      0xC2E95B07, 0x8A1D, 0x4F36, {0x9E, 0x4C, 0x05, 0xB7, 0xD3, 0xA8, 0xF1, 0x62}};

  // Writes the object's bytes at the file's current position.
  virtual void writeTo(IFile* file) = 0;
  // Replaces the object's content by the bytes from the file's current
  // position to its end (as writeTo wrote them).
  virtual void readFrom(IFile* file) = 0;

 protected:
  ~IFileEx() override = default;
};

// An IFile over a growable byte buffer. Its URL is "memory:".
class CORE_EXPORT MemoryFile final : public UnknownImpl<IFile> {
 public:
  MemoryFile() = default;
  // A file holding `bytes`, positioned at its start.
  explicit MemoryFile(std::string_view bytes);

  std::size_t read(void* buffer, std::size_t count) override;
  void write(const void* data, std::size_t count) override;
  void seek(std::uint64_t position) override;
  std::uint64_t position() override { return position_; }
  std::uint64_t length() override { return bytes_.size(); }
  void flush() override {}
  String url() override;

  // The whole content.
  const std::string& bytes() const noexcept { return bytes_; }

 private:
  std::string bytes_;
  std::uint64_t position_ = 0;
};

// An IWriter that collects the text in memory.
class CORE_EXPORT StringWriter final : public UnknownImpl<IWriter> {
 public:
  StringWriter() = default;
  void write(const char16_t* text, std::size_t count) override;
  void flush() override {}
  // Everything written so far.
  String str() const { return String(std::u16string_view(text_)); }
  const std::u16string& text() const noexcept { return text_; }

 private:
  std::u16string text_;
};

// An IReader over a text held in memory.
class CORE_EXPORT StringReader final : public UnknownImpl<IReader> {
 public:
  explicit StringReader(const String& text) : text_(text) {}
  std::size_t read(char16_t* buffer, std::size_t count) override;
  bool unread(std::size_t count) override;

 private:
  String text_;
  std::size_t position_ = 0;
};

// An IWriter that appends its text as UTF-8 to an IFile (acquired). Text is
// buffered: it reaches the file on flush() and on destruction. A lone
// surrogate is written as U+FFFD.
class CORE_EXPORT Utf8FileWriter final : public UnknownImpl<IWriter> {
 public:
  explicit Utf8FileWriter(IFile* file);
  ~Utf8FileWriter() override;
  void write(const char16_t* text, std::size_t count) override;
  void flush() override;

 private:
  void put(char32_t code);

  IFile* file_;
  std::string buffer_;
  char16_t high_ = 0;  // a high surrogate waiting for its low half
};

// An IReader that reads UTF-8 from an IFile (acquired) from its current
// position. A byte-order mark at the start is skipped; every malformed
// sequence reads as U+FFFD.
class CORE_EXPORT Utf8FileReader final : public UnknownImpl<IReader> {
 public:
  explicit Utf8FileReader(IFile* file);
  ~Utf8FileReader() override;
  std::size_t read(char16_t* buffer, std::size_t count) override;

 private:
  bool fill();

  IFile* file_;
  std::vector<unsigned char> bytes_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool eof_ = false;
  bool started_ = false;
  char16_t low_ = 0;  // the low half of a pair whose high half was returned
};

}  // namespace core

#endif  // CORE_IO_H_
