// The library's message texts, looked up by "IDS_" identifier.
//
// Texts live in ICU resource bundles, one set per language; the library's
// own bundle is "basalt" (module "core"). A text comes in the language of the
// calling thread's locale (Thread::locale()): a Russian locale selects the
// Russian texts, and a locale the bundle has no texts for falls back to the
// root texts (English).
//
//   core::String text = core::load_core_wstring("IDS_ERR_ILLEGAL_STATE");
//   core::String line = core::format_message(
//       core::load_core_wstring("IDS_PARAMETER_N_TYPE_MISMATCH"), {3});
//
// Nothing here throws for a missing text: a null or unknown identifier, an
// unknown module or a part beyond the last gives the empty text.
//
// Thread safety: every function may be called from any thread.
#ifndef CORE_MESSAGES_H_
#define CORE_MESSAGES_H_

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "core/export.h"
#include "core/string.h"

namespace core {

class SCOM_ResourceBundle;

// The text of `id` in `bundle`, in the calling thread's language.
CORE_EXPORT String load_wstring(SCOM_ResourceBundle* bundle, const char* id);
// The text of `id` in the library's own bundle.
CORE_EXPORT String load_core_wstring(const char* id);
// The text of `id` in the bundle of the module `module` ("core" is the
// library itself).
CORE_EXPORT String load_module_wstring(const char* module, const char* id);
// Line `index` (0-based) of the text of `id`, the lines being separated by
// line feeds.
CORE_EXPORT String load_module_part_wstring(const char* module, const char* id, int index);

// The identifiers of every text of the library's own bundle, in code-point
// order of their names.
CORE_EXPORT std::vector<std::string> core_message_identifiers();

// One argument of a message text: an integer (for %d) or a text (for %s).
class MessageArg {
 public:
  MessageArg(long long number) noexcept : number_(number), is_text_(false) {}           // NOLINT
  MessageArg(int number) noexcept : MessageArg(static_cast<long long>(number)) {}       // NOLINT
  MessageArg(unsigned number) noexcept : MessageArg(static_cast<long long>(number)) {}  // NOLINT
  MessageArg(std::u16string_view text) noexcept : text_(text), is_text_(true) {}        // NOLINT
  MessageArg(const String& text) noexcept : MessageArg(std::u16string_view(text)) {}    // NOLINT
  MessageArg(const char16_t* text) noexcept                                             // NOLINT
      : MessageArg(text == nullptr ? std::u16string_view() : std::u16string_view(text)) {}

  bool isText() const noexcept { return is_text_; }
  long long number() const noexcept { return number_; }
  std::u16string_view text() const noexcept { return text_; }

 private:
  long long number_ = 0;
  std::u16string_view text_;
  bool is_text_;
};

// Fills the placeholders of a message text in order: "%d" takes an integer
// argument, written in decimal ASCII digits with a leading "-" when negative
// (no locale is involved); "%s" takes a text argument; "%%" writes "%". A
// placeholder whose argument is missing or of the other kind, and a "%"
// followed by anything else, are copied as they stand; surplus arguments are
// ignored. Never throws for a malformed pattern.
CORE_EXPORT String format_message(std::u16string_view pattern,
                                  std::initializer_list<MessageArg> args);

// The placeholders that the text of `id` declares, as a string of their
// kinds in order ("d", "s"), or "" for a text that takes no argument.
CORE_EXPORT std::string_view message_arguments(const char* id) noexcept;

// Called with the bundle's name and the identifier when a lookup had to fall
// back to less specific texts (root) than the locale asked for; null removes
// the tracker.
using MissingResourceTracker = void (*)(const char* bundle, const char* id);
CORE_EXPORT void set_missing_resource_tracker(MissingResourceTracker tracker);

}  // namespace core

#endif  // CORE_MESSAGES_H_
