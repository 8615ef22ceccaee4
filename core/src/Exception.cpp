#include "core/exception.h"

#include "messages.h"

namespace core {

namespace detail {

String message_text(const char* id) {
  if (id == nullptr) return String();
  return String::fromUtf8(id);
}

}  // namespace detail

Exception::Exception(const String& descr) : Exception(kClsid, descr) {}

Exception::Exception(const GUID& clsid, const String& descr) : clsid_(clsid), descr_(descr) {}

Exception::Exception(const GUID& clsid, const char* message_id, const String& extra)
    : Exception(clsid, format_exception_descr(detail::message_text(message_id), extra)) {}

String format_exception_descr(const String& text, const String& extra) {
  if (text.empty() || extra.empty()) return text;
  String descr = text;
  descr += u'\n';
  descr += extra;
  return descr;
}

LocaleException::LocaleException(const String& name)
    : Exception(kClsid, "IDS_BADLOCALENAME", name) {}

IllegalArgumentException::IllegalArgumentException(const String& extra)
    : Exception(kClsid, "IDS_ERR_ILLEGAL_ARGUMENT", extra) {}

}  // namespace core
