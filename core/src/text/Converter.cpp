// Implements core/converter.h: text encoding converters over ICU.
#include "core/converter.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucsdet.h>

#include <algorithm>
#include <mutex>

#include "core/exception_classes.h"
#include "internal/icu.h"

namespace core {
namespace detail {

// One ICU converter, shared by the copies of a stream converter and locked
// by the users of a whole-string Converter.
class ConverterHandle : public Refcountable<ConverterHandle> {
 public:
  explicit ConverterHandle(UConverter* converter) noexcept : converter_(converter) {}
  ~ConverterHandle() { ucnv_close(converter_); }
  ConverterHandle(const ConverterHandle&) = delete;
  ConverterHandle& operator=(const ConverterHandle&) = delete;

  UConverter* get() const noexcept { return converter_; }
  std::mutex& mutex() noexcept { return mutex_; }

 private:
  UConverter* converter_;
  std::mutex mutex_;
};

}  // namespace detail

namespace {

using detail::ConverterHandle;
using detail::IcuStatus;

[[noreturn]] void throw_bad_name(const String& name) {
  throw ConverterException(ConverterException::Code::BadName, name);
}

// The encoding's name as the caller gave it; ICU's name of the default
// encoding for an empty one.
String encoding_name(const String& name) {
  return name.empty() ? String::fromUtf8(ucnv_getDefaultName()) : name;
}

[[noreturn]] void throw_bad_data(const String& name) {
  throw ConverterException(ConverterException::Code::BadData, name);
}

// Encoding names are ASCII; a name with anything else names no encoding.
std::string ascii_name(const String& name) {
  std::string ascii;
  ascii.reserve(name.size());
  for (char16_t unit : std::u16string_view(name)) {
    if (unit == 0 || unit > 0x7F) throw_bad_name(name);
    ascii.push_back(static_cast<char>(unit));
  }
  return ascii;
}

// Opens the converter of `name`, the default encoding's for an empty name.
UConverter* open_converter(const String& name) {
  IcuStatus status;
  UConverter* converter =
      name.empty() ? ucnv_open(nullptr, status) : ucnv_open(ascii_name(name).c_str(), status);
  if (status.isFailure()) throw_bad_name(name);
  return converter;
}

// Reading refuses what it cannot convert rather than guessing; writing puts
// "?" in place of what the encoding cannot represent. Encodings whose units
// are wider than a byte keep ICU's own substitute, which fits them.
void set_behaviour(UConverter* converter) {
  IcuStatus status;
  ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, status);
  status.reset();
  ucnv_setSubstChars(converter, "?", 1, status);
}

const char16_t* signature_of(UConverter* converter) {
  switch (ucnv_getType(converter)) {
    case UCNV_UTF8:
    case UCNV_UTF16_BigEndian:
    case UCNV_UTF16_LittleEndian:
    case UCNV_UTF32_BigEndian:
    case UCNV_UTF32_LittleEndian:
    case UCNV_SCSU:
    case UCNV_BOCU1:
      return u"\uFEFF";
    default:
      return nullptr;
  }
}

// The converter to use for one whole-string call: the shared one when no
// other thread holds it, else a private clone of it.
class ConverterLease {
 public:
  explicit ConverterLease(ConverterHandle& handle)
      : lock_(handle.mutex(), std::try_to_lock), converter_(handle.get()) {
    if (!lock_.owns_lock()) {
      IcuStatus status;
      clone_ = ucnv_clone(handle.get(), status);
      status.assertSuccess();
      converter_ = clone_;
    }
  }
  ~ConverterLease() { ucnv_close(clone_); }
  ConverterLease(const ConverterLease&) = delete;
  ConverterLease& operator=(const ConverterLease&) = delete;

  UConverter* get() const noexcept { return converter_; }

 private:
  std::unique_lock<std::mutex> lock_;
  UConverter* converter_;
  UConverter* clone_ = nullptr;
};

}  // namespace

Converter::Converter(const char16_t* name) : Converter(String(name)) {}

Converter::Converter(const String& name)
    : name_(encoding_name(name)),
      prototype_(std::make_unique<ConverterHandle>(open_converter(name))) {
  set_behaviour(prototype_->get());
}

Converter::~Converter() = default;

std::string Converter::narrow(std::u16string_view text) const {
  ConverterLease lease(*prototype_);
  UConverter* converter = lease.get();
  ucnv_resetFromUnicode(converter);
  std::string bytes;
  bytes.reserve(text.size());
  // Converting through a buffer on the stack and appending keeps the result
  // from being zero-filled first; the copy runs while the buffer is in cache.
  char buffer[16 * 1024];
  const UChar* source = text.data();
  const UChar* const source_end = source + text.size();
  for (;;) {
    char* target = buffer;
    IcuStatus status;
    ucnv_fromUnicode(converter, &target, buffer + sizeof buffer, &source, source_end, nullptr, true,
                     status);
    bytes.append(buffer, static_cast<size_t>(target - buffer));
    if (status.get() == U_BUFFER_OVERFLOW_ERROR) continue;
    if (status.isFailure()) throw_bad_data(name_);
    return bytes;
  }
}

String Converter::widen(std::string_view bytes) const {
  ConverterLease lease(*prototype_);
  UConverter* converter = lease.get();
  ucnv_resetToUnicode(converter);
  String text;
  // One unit a byte fits every single-byte encoding and UTF-8; anything that
  // needs more grows the string.
  size_t capacity = bytes.size() + 16;
  char16_t* begin = text.resizeForOverwrite(capacity);
  char16_t* target = begin;
  const char* source = bytes.data();
  const char* const source_end = source + bytes.size();
  for (;;) {
    IcuStatus status;
    ucnv_toUnicode(converter, &target, begin + capacity, &source, source_end, nullptr, true,
                   status);
    if (status.get() == U_BUFFER_OVERFLOW_ERROR) {
      const size_t written = static_cast<size_t>(target - begin);
      capacity += capacity / 2;
      begin = text.resizeForOverwrite(capacity);
      target = begin + written;
      continue;
    }
    if (status.isFailure()) throw_bad_data(name_);
    text.resizeForOverwrite(static_cast<size_t>(target - begin));
    return text;
  }
}

size_t Converter::detectUnicodeSignature(const char* bytes, size_t length, String& name) {
  name = String();
  if (bytes == nullptr || length == 0) return 0;
  IcuStatus status;
  int32_t signature_length = 0;
  // The longest signature, UTF-7's "+/v8-", has five bytes; ICU looks at no
  // more than that.
  constexpr size_t kLongestSignature = 5;
  const char* detected = ucnv_detectUnicodeSignature(
      bytes, static_cast<int32_t>(std::min(length, kLongestSignature)), &signature_length, status);
  if (status.isFailure() || detected == nullptr) return 0;
  name = String::fromUtf8(detected);
  return static_cast<size_t>(signature_length);
}

String Converter::standardName(const String& name, EncodingStandard standard) {
  static constexpr const char* kStandards[] = {"IANA", "MIME", "JAVA", "WINDOWS", "UTR22"};
  const std::string ascii = ascii_name(name);
  IcuStatus status;
  if (ascii.empty() || ucnv_countAliases(ascii.c_str(), status) == 0 || status.isFailure()) {
    throw_bad_name(name);
  }
  status.reset();
  const char* standard_name =
      ucnv_getStandardName(ascii.c_str(), kStandards[static_cast<int>(standard)], status);
  if (status.isFailure() || standard_name == nullptr) return String();
  return String::fromUtf8(standard_name);
}

int Converter::compareEncodingNames(const String& a, const String& b) {
  // Names that are not ASCII match no encoding; they compare as their UTF-8.
  return ucnv_compareNames(a.toUtf8().c_str(), b.toUtf8().c_str());
}

const Converter& Converter::system() {
  static const auto* const instance = new Converter(String());
  return *instance;
}

const Converter& Converter::utf8() {
  static const auto* const instance = new Converter(u"UTF-8");
  return *instance;
}

const Converter& Converter::ascii() {
  static const auto* const instance = new Converter(u"US-ASCII");
  return *instance;
}

StreamConverterToUnicode::StreamConverterToUnicode() : StreamConverterToUnicode(String()) {}

StreamConverterToUnicode::StreamConverterToUnicode(const char16_t* name)
    : StreamConverterToUnicode(String(name)) {}

StreamConverterToUnicode::StreamConverterToUnicode(const String& name)
    : name_(encoding_name(name)), handle_(new ConverterHandle(open_converter(name))) {
  set_behaviour(handle_->get());
}

StreamConverterToUnicode::~StreamConverterToUnicode() = default;
StreamConverterToUnicode::StreamConverterToUnicode(const StreamConverterToUnicode&) = default;
StreamConverterToUnicode& StreamConverterToUnicode::operator=(const StreamConverterToUnicode&) =
    default;

void StreamConverterToUnicode::widen(const char*& source, size_t source_length, char16_t*& target,
                                     size_t target_capacity) {
  UConverter* converter = handle_->get();
  IcuStatus status;
  const bool flush = source == nullptr;
  const char* empty = "";
  const char*& from = flush ? empty : source;
  ucnv_toUnicode(converter, &target, target + target_capacity, &from,
                 flush ? empty : source + source_length, nullptr, flush, status);
  if (status.get() == U_BUFFER_OVERFLOW_ERROR) return;
  if (status.isFailure()) {
    // The converter holds the broken sequence; a caller that goes on after
    // the exception starts clean.
    ucnv_resetToUnicode(converter);
    throw_bad_data(name_);
  }
}

size_t StreamConverterToUnicode::pending() const {
  IcuStatus status;
  const int32_t count = ucnv_toUCountPending(handle_->get(), status);
  return status.isSuccess() && count > 0 ? static_cast<size_t>(count) : 0;
}

const char16_t* StreamConverterToUnicode::signature() const { return signature_of(handle_->get()); }

void StreamConverterToUnicode::reset() { ucnv_resetToUnicode(handle_->get()); }

namespace {

// Substitutes for a character that the encoding lacks but stops at text that
// is no character at all (an unpaired surrogate), which a stream writer
// refuses.
void U_CALLCONV substitute_unassigned(const void* context, UConverterFromUnicodeArgs* args,
                                      const UChar* units, int32_t length, UChar32 code_point,
                                      UConverterCallbackReason reason, UErrorCode* error) {
  if (reason != UCNV_UNASSIGNED) return;
  UCNV_FROM_U_CALLBACK_SUBSTITUTE(context, args, units, length, code_point, reason, error);
}

// Stream writers of "UTF-16" and "UTF-32" write little-endian, so that the
// bytes do not depend on the platform and carry no signature unasked. The
// name is the one the writer reports: the caller's, or the little-endian
// encoding's when one was put in its place.
UConverter* open_writer(String& name) {
  UConverter* converter = open_converter(name);
  IcuStatus status;
  const char* opened = ucnv_getName(converter, status);
  const char* little_endian = nullptr;
  if (status.isSuccess() && ucnv_compareNames(opened, "UTF-16") == 0) little_endian = "UTF-16LE";
  if (status.isSuccess() && ucnv_compareNames(opened, "UTF-32") == 0) little_endian = "UTF-32LE";
  if (little_endian == nullptr) return converter;
  ucnv_close(converter);
  name = String::fromUtf8(little_endian);
  return open_converter(name);
}

}  // namespace

StreamConverterFromUnicode::StreamConverterFromUnicode() : StreamConverterFromUnicode(String()) {}

StreamConverterFromUnicode::StreamConverterFromUnicode(const char16_t* name)
    : StreamConverterFromUnicode(String(name)) {}

StreamConverterFromUnicode::StreamConverterFromUnicode(const String& name)
    : name_(encoding_name(name)), handle_(new ConverterHandle(open_writer(name_))) {
  set_behaviour(handle_->get());
  IcuStatus status;
  ucnv_setFromUCallBack(handle_->get(), substitute_unassigned, nullptr, nullptr, nullptr, status);
  status.assertSuccess();
}

StreamConverterFromUnicode::~StreamConverterFromUnicode() = default;
StreamConverterFromUnicode::StreamConverterFromUnicode(const StreamConverterFromUnicode&) = default;
StreamConverterFromUnicode& StreamConverterFromUnicode::operator=(
    const StreamConverterFromUnicode&) = default;

void StreamConverterFromUnicode::narrow(const char16_t*& source, size_t source_length,
                                        char*& target, size_t target_capacity) {
  UConverter* converter = handle_->get();
  IcuStatus status;
  const bool flush = source == nullptr;
  const char16_t* empty = u"";
  const char16_t*& from = flush ? empty : source;
  ucnv_fromUnicode(converter, &target, target + target_capacity, &from,
                   flush ? empty : source + source_length, nullptr, flush, status);
  if (status.get() == U_BUFFER_OVERFLOW_ERROR) return;
  if (status.isFailure()) {
    ucnv_resetFromUnicode(converter);
    throw_bad_data(name_);
  }
}

size_t StreamConverterFromUnicode::maxCharSize() const {
  return static_cast<size_t>(ucnv_getMaxCharSize(handle_->get()));
}

size_t StreamConverterFromUnicode::pending() const {
  IcuStatus status;
  const int32_t count = ucnv_fromUCountPending(handle_->get(), status);
  return status.isSuccess() && count > 0 ? static_cast<size_t>(count) : 0;
}

const char16_t* StreamConverterFromUnicode::signature() const {
  return signature_of(handle_->get());
}

void StreamConverterFromUnicode::reset() { ucnv_resetFromUnicode(handle_->get()); }

EncodingTester::EncodingTester(const String& name) {
  if (name.empty()) throw ConverterException(ConverterException::Code::BadName);
  handle_ = std::make_unique<ConverterHandle>(open_converter(name));
  IcuStatus status;
  ucnv_setFromUCallBack(handle_->get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        status);
}

EncodingTester::~EncodingTester() = default;

bool EncodingTester::performTest(std::u16string_view text) {
  UConverter* converter = handle_->get();
  ucnv_resetFromUnicode(converter);
  char window[kWindowBytes];
  char* target = window;
  const UChar* source = text.data();
  IcuStatus status;
  // The streaming call stops when the window is full, so text beyond it is
  // never looked at.
  ucnv_fromUnicode(converter, &target, window + kWindowBytes, &source, source + text.size(),
                   nullptr, true, status);
  return status.isSuccess() || status.get() == U_BUFFER_OVERFLOW_ERROR;
}

String guess_encoding(std::string_view bytes) {
  IcuStatus status;
  icu::LocalUCharsetDetectorPointer detector(ucsdet_open(status));
  if (status.isFailure()) return String();
  ucsdet_setText(detector.getAlias(), bytes.data(), static_cast<int32_t>(bytes.size()), status);
  const UCharsetMatch* match = ucsdet_detect(detector.getAlias(), status);
  if (status.isFailure() || match == nullptr) return String();
  const char* name = ucsdet_getName(match, status);
  return status.isSuccess() && name != nullptr ? String::fromUtf8(name) : String();
}

}  // namespace core
