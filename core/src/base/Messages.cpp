// Implements core/messages.h: message texts by "IDS_" identifier and their formatting.
#include "core/messages.h"

#include <unicode/ures.h>

#include <atomic>
#include <cstring>
#include <memory>

#include "base/module_bundle.h"
#include "base/resource_tracker.h"
#include "core/resource_bundle.h"
#include "core/scom.h"
#include "internal/chars.h"
#include "internal/icu.h"

namespace core {
namespace {

// Every identifier whose text takes arguments, with the kinds of its
// placeholders in order. A test holds every text of every language to it.
struct MessageSignature {
  const char* id;
  const char* arguments;
};

constexpr MessageSignature kMessageSignatures[] = {
    {"IDS_BADLOCALENAME", "s"},
    {"IDS_BADTIMEZONEID", "s"},
    {"IDS_PARAMETER_N_TYPE_MISMATCH", "d"},
    {"IDS_PARAMETER_N_VALUE_MISMATCH", "d"},
    {"IDS_TYPEERROR_TYPENOTDEFINED", "s"},
};

std::atomic<MissingResourceTracker> missing_resource_tracker{nullptr};

void append_decimal(String& out, long long number) {
  // Digits are produced from the magnitude as unsigned, so the most negative
  // value needs no special case.
  const unsigned long long magnitude =
      number < 0 ? 0ull - static_cast<unsigned long long>(number) : number;
  char16_t digits[detail::kMaxDecimalDigits];
  char16_t* const end = digits + detail::kMaxDecimalDigits;
  const char16_t* const first = detail::write_decimal_backwards(magnitude, end);
  if (number < 0) out += u'-';
  out.append(std::u16string_view(first, static_cast<std::size_t>(end - first)));
}

}  // namespace

namespace detail {

void report_missing_resource(const char* bundle, const char* id) {
  if (MissingResourceTracker tracker = missing_resource_tracker.load(std::memory_order_acquire)) {
    tracker(bundle, id);
  }
}

}  // namespace detail

void set_missing_resource_tracker(MissingResourceTracker tracker) {
  missing_resource_tracker.store(tracker, std::memory_order_release);
}

String load_wstring(SCOM_ResourceBundle* bundle, const char* id) {
  if (bundle == nullptr || id == nullptr) return String();
  size_t length = 0;
  const char16_t* text = bundle->getString(id, SCOM_Context::current().locale(), length);
  return text == nullptr ? String() : String(text, length);
}

String load_core_wstring(const char* id) { return load_module_wstring("core", id); }

String load_module_wstring(const char* module, const char* id) {
  // The bundle is held, not just pointed at: its module may be cleaned up
  // while the text is read.
  const std::shared_ptr<SCOM_ResourceBundle> bundle = detail::find_module_bundle(module);
  return load_wstring(bundle.get(), id);
}

String load_module_part_wstring(const char* module, const char* id, int index) {
  if (index < 0) return String();
  const String text = load_module_wstring(module, id);
  size_t begin = 0;
  for (int part = 0; part < index; ++part) {
    begin = text.find(u'\n', begin);
    if (begin == String::npos) return String();
    ++begin;
  }
  const size_t end = text.find(u'\n', begin);
  return text.substr(begin, end == String::npos ? String::npos : end - begin);
}

String format_message(std::u16string_view pattern, std::initializer_list<MessageArg> args) {
  String out;
  out.reserve(pattern.size());
  const MessageArg* next = args.begin();
  size_t i = 0;
  while (i < pattern.size()) {
    const size_t percent = pattern.find(u'%', i);
    if (percent == std::u16string_view::npos || percent + 1 == pattern.size()) {
      out += pattern.substr(i);
      break;
    }
    out += pattern.substr(i, percent - i);
    const char16_t kind = pattern[percent + 1];
    i = percent + 2;
    if (kind == u'%') {
      out += u'%';
    } else if (kind == u'd' && next != args.end() && !next->isText()) {
      append_decimal(out, (next++)->number());
    } else if (kind == u's' && next != args.end() && next->isText()) {
      out += (next++)->text();
    } else {
      out += pattern.substr(percent, 2);
    }
  }
  return out;
}

std::vector<std::string> core_message_identifiers() {
  std::vector<std::string> ids;
  detail::IcuStatus status;
  const icu::LocalUResourceBundlePointer root(ures_openDirect("basalt", "root", status));
  if (status.isFailure()) return ids;
  ids.reserve(static_cast<size_t>(ures_getSize(root.getAlias())));
  ures_resetIterator(root.getAlias());
  while (ures_hasNext(root.getAlias())) {
    const icu::LocalUResourceBundlePointer item(
        ures_getNextResource(root.getAlias(), nullptr, status));
    if (status.isFailure()) break;
    ids.emplace_back(ures_getKey(item.getAlias()));
  }
  return ids;
}

std::string_view message_arguments(const char* id) noexcept {
  if (id == nullptr) return {};
  for (const MessageSignature& signature : kMessageSignatures) {
    if (std::strcmp(signature.id, id) == 0) return signature.arguments;
  }
  return {};
}

}  // namespace core
