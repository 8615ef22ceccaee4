// Conversion of text between UTF-16 and named byte encodings.
//
// Text inside the library is UTF-16; files, network data and URL escapes are
// bytes in some encoding ("UTF-8", "windows-1251", "KOI8-R", ...). Converter
// converts whole strings; StreamConverterToUnicode and
// StreamConverterFromUnicode convert a stream piece by piece over the
// caller's buffers; EncodingTester tells whether a text can be written in an
// encoding. The conversions are ICU's.
//
//   std::string bytes = core::Converter(u"windows-1251").narrow(u"Привет");
//   core::String text = core::Converter::utf8().widen(utf8_bytes);
//
//   core::StreamConverterToUnicode reader(u"KOI8-R");
//   reader.widen(in, in_length, out, out_capacity);   // as often as needed
//   reader.widen(nullptr, 0, out, out_capacity);      // end of input: flush
//
// Failures: a name ICU cannot open throws `ConverterException` (code 1,
// "IDS_CNVERROR_BADNAME"); input that cannot be converted throws
// `ConverterException` (code 2, "IDS_CNVERROR_BADDATA"); the name follows the
// message as " 'name'": the name the caller gave, or for bad data the
// converter's name() (the name given, except for a stream writer).
//
// Thread safety: a Converter may be used from several threads at once (the
// shared instances system(), utf8() and ascii() are meant for that). A
// stream converter keeps state between calls and must be used by one thread
// at a time; its copies share that state.
#ifndef CORE_CONVERTER_H_
#define CORE_CONVERTER_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "core/export.h"
#include "core/ref_ptr.h"
#include "core/string.h"

namespace core {

// The naming standards of standardName().
enum class EncodingStandard {
  IANA = 0,     // "windows-1251", "UTF-8"
  MIME = 1,     // the IANA names that MIME declares preferred
  JAVA = 2,     // "Cp1251", "UTF8"
  WINDOWS = 3,  // "windows-1251", "utf-8"
  UTR22 = 4,    // ICU's own canonical names ("ibm-5347_P100-1998")
};

namespace detail {
class ConverterHandle;
}  // namespace detail

// Whole-string conversion in one encoding.
//
// narrow() writes a character the encoding cannot represent as the
// encoding's substitution byte "?"; it never fails on text. widen() refuses
// malformed or unmappable bytes: it throws `ConverterException` (code 2, "IDS_CNVERROR_BADDATA").
class CORE_EXPORT Converter {
 public:
  // The converter of the encoding `name`; an empty name means the system's
  // default encoding. Throws `ConverterException` (code 1, "IDS_CNVERROR_BADNAME") when ICU has no
  // converter of that name.
  explicit Converter(const char16_t* name);
  explicit Converter(const String& name);
  ~Converter();
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  // The encoding's name as it was given ("windows-1251", not ICU's internal
  // name of its table); for an empty name, ICU's name of the default encoding.
  const String& name() const noexcept { return name_; }

  std::string narrow(std::u16string_view text) const;
  std::string narrow(const char16_t* text, size_t length) const {
    return narrow(std::u16string_view(text, length));
  }
  String widen(std::string_view bytes) const;
  String widen(const char* bytes, size_t length) const {
    return widen(std::string_view(bytes, length));
  }

  // The length in bytes of the byte-order signature that `bytes` begin with,
  // with `name` set to the encoding it indicates ("UTF-8", "UTF-16LE", ...);
  // 0 and an empty name when there is none. Signatures have up to five bytes
  // (UTF-7's "+/v8-"); bytes beyond the fifth are not looked at.
  static size_t detectUnicodeSignature(const char* bytes, size_t length, String& name);
  static size_t detectUnicodeSignature(std::string_view bytes, String& name) {
    return detectUnicodeSignature(bytes.data(), bytes.size(), name);
  }
  // The name of the encoding `name` under `standard`, empty when the
  // standard has no name for it. Throws `ConverterException` (code 1, "IDS_CNVERROR_BADNAME") for a
  // name ICU does not know.
  static String standardName(const String& name, EncodingStandard standard);
  // Compares encoding names as ICU matches them ("utf-8" equals "UTF8"):
  // less than, equal to or greater than zero.
  static int compareEncodingNames(const String& a, const String& b);

  // The shared converters of the system's default encoding, UTF-8 and ASCII.
  static const Converter& system();
  static const Converter& utf8();
  static const Converter& ascii();

 private:
  String name_;
  std::unique_ptr<detail::ConverterHandle> prototype_;
};

// Incremental conversion of bytes in one encoding into UTF-16.
class CORE_EXPORT StreamConverterToUnicode {
 public:
  // The system's default encoding.
  StreamConverterToUnicode();
  // Throws `ConverterException` (code 1, "IDS_CNVERROR_BADNAME") for an unknown encoding.
  explicit StreamConverterToUnicode(const char16_t* name);
  explicit StreamConverterToUnicode(const String& name);
  ~StreamConverterToUnicode();
  // Copies share the converter and its state.
  StreamConverterToUnicode(const StreamConverterToUnicode&);
  StreamConverterToUnicode& operator=(const StreamConverterToUnicode&);

  // The encoding's name as Converter::name() gives it.
  const String& name() const noexcept { return name_; }

  // Converts from `source` (`sourceLength` bytes) into `target` (room for
  // `targetCapacity` units) as far as both allow, advancing both pointers
  // past what was read and written; running out of target room is no error,
  // the caller calls again. A null `source` marks the end of the input: the
  // converter flushes what it holds. Throws `ConverterException` (code 2, "IDS_CNVERROR_BADDATA")
  // for bytes that cannot be converted, a sequence cut short by the end included.
  void widen(const char*& source, size_t source_length, char16_t*& target, size_t target_capacity);
  // The input bytes held that do not form a character yet.
  size_t pending() const;
  // U+FEFF for encodings that carry a byte-order signature of a fixed order
  // (UTF-8, UTF-16BE/LE, UTF-32BE/LE, SCSU, BOCU-1), null for the others.
  const char16_t* signature() const;
  // Discards the state: the next call starts a new input.
  void reset();

 private:
  String name_;
  RefPtr<detail::ConverterHandle> handle_;
};

// Incremental conversion of UTF-16 into bytes of one encoding. Characters
// the encoding cannot represent are written as "?"; an unpaired surrogate is
// no character and is refused (see narrow()). "UTF-16" and "UTF-32"
// are written little-endian and without a signature: a writer that wants one
// writes signature() first.
class CORE_EXPORT StreamConverterFromUnicode {
 public:
  StreamConverterFromUnicode();
  explicit StreamConverterFromUnicode(const char16_t* name);
  explicit StreamConverterFromUnicode(const String& name);
  ~StreamConverterFromUnicode();
  StreamConverterFromUnicode(const StreamConverterFromUnicode&);
  StreamConverterFromUnicode& operator=(const StreamConverterFromUnicode&);

  // The encoding's name as Converter::name() gives it, except that "UTF-16"
  // and "UTF-32" report the little-endian encodings written ("UTF-16LE");
  // bad-data messages carry it.
  const String& name() const noexcept { return name_; }

  // As StreamConverterToUnicode::widen, from UTF-16 units to bytes. Throws
  // `ConverterException` (code 2, "IDS_CNVERROR_BADDATA") for an unpaired
  // surrogate, one left alone at the end of the input (a null `source`)
  // included; the units before it are written. A high surrogate at the end
  // of a piece is held until the next piece says whether it is paired.
  void narrow(const char16_t*& source, size_t source_length, char*& target, size_t target_capacity);
  // The most bytes that one character takes in the encoding.
  size_t maxCharSize() const;
  size_t pending() const;
  const char16_t* signature() const;
  void reset();

 private:
  String name_;
  RefPtr<detail::ConverterHandle> handle_;
};

// Tells whether a text can be written in an encoding. Only the part of the
// text whose bytes fit in 8192 bytes is examined.
class CORE_EXPORT EncodingTester {
 public:
  // Throws `ConverterException` (code 1, "IDS_CNVERROR_BADNAME") for an empty or unknown name.
  explicit EncodingTester(const String& name);
  ~EncodingTester();
  EncodingTester(const EncodingTester&) = delete;
  EncodingTester& operator=(const EncodingTester&) = delete;

  bool performTest(std::u16string_view text);

  static constexpr size_t kWindowBytes = 8192;

 private:
  std::unique_ptr<detail::ConverterHandle> handle_;
};

// The encoding that `bytes` most likely are in, by ICU's statistical charset
// detection ("UTF-8", "windows-1251", "KOI8-R", ...); empty when nothing
// fits. A guess, not a proof: short or ambiguous input may be misjudged.
CORE_EXPORT String guess_encoding(std::string_view bytes);

}  // namespace core

#endif  // CORE_CONVERTER_H_
