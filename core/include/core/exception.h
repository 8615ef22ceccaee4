// The library's exceptions.
//
// Every failure of the library is thrown, by value, as an Exception or one of
// its subclasses. An exception carries the identifier of its class (`clsid`,
// which survives the trip to another process) and a complete description: the
// text of the class's message identifier, then a line feed and the caller's
// extra detail, such as the offending name.
//
//   try {
//     core::Locale locale(u"xx_YY");
//   } catch (const core::LocaleException& e) {
//     log(e.descr());   // the message, a line feed, then "xx_YY"
//   }
//
// Exception is a plain value class: no virtual functions; subclasses add
// constructors only. Exceptions are immutable and may be passed between
// threads.
#ifndef CORE_EXCEPTION_H_
#define CORE_EXCEPTION_H_

#include "core/export.h"
#include "core/guid.h"
#include "core/string.h"

namespace core {

class CORE_EXPORT Exception {
 public:
  // {F6F167A0-DCC9-49AD-8F8E-2C9D9904E4FE}
  static constexpr GUID kClsid = {
      0xF6F167A0, 0xDCC9, 0x49AD, {0x8F, 0x8E, 0x2C, 0x9D, 0x99, 0x04, 0xE4, 0xFE}};

  explicit Exception(const String& descr);

  const GUID& clsid() const noexcept { return clsid_; }
  const String& descr() const noexcept { return descr_; }

 protected:
  Exception(const GUID& clsid, const String& descr);
  // A subclass's description: the text of `message_id`, then `extra`.
  Exception(const GUID& clsid, const char* message_id, const String& extra);

 private:
  GUID clsid_;
  String descr_;
};

// Builds a description from a message text and extra detail: `text` alone
// when `extra` is empty; empty when `text` is empty, whatever `extra` holds;
// otherwise `text`, one line feed (U+000A) and `extra`.
CORE_EXPORT String format_exception_descr(const String& text, const String& extra);

// A locale name that is empty or unknown ("IDS_BADLOCALENAME"; the name
// follows as extra detail).
class CORE_EXPORT LocaleException : public Exception {
 public:
  // {A5AC9977-CC6B-4878-95B5-4969293F7ED5}
  static constexpr GUID kClsid = {
      0xA5AC9977, 0xCC6B, 0x4878, {0x95, 0xB5, 0x49, 0x69, 0x29, 0x3F, 0x7E, 0xD5}};

  explicit LocaleException(const String& name);
};

// An argument outside its contract ("IDS_ERR_ILLEGAL_ARGUMENT"; the argument
// or a note about it follows as extra detail).
class CORE_EXPORT IllegalArgumentException : public Exception {
 public:
  // {4472F4AE-18E3-407C-A1F2-9650D2D50D57}
  static constexpr GUID kClsid = {
      0x4472F4AE, 0x18E3, 0x407C, {0xA1, 0xF2, 0x96, 0x50, 0xD2, 0xD5, 0x0D, 0x57}};

  explicit IllegalArgumentException(const String& extra);
};

}  // namespace core

#endif  // CORE_EXCEPTION_H_
