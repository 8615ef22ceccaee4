// SCOM_ResourceBundle: a module's localized resources, opened per locale.
//
// A bundle is named after the ICU resource package that holds its data (the
// library's own is "basalt"). It opens the ICU bundle of a locale on first
// use and keeps it until cleanup(): when ICU has no data for the locale (not
// even through the locale's parents), the root data serves.
//
//   core::SCOM_ResourceBundle bundle("basalt");
//   size_t length = 0;
//   const char16_t* text =
//       bundle.getString("IDS_ERR_ILLEGAL_STATE", core::Locale(u"ru_RU"), length);
//
// The cache holds one entry per locale name (ICU's canonical form), opened
// once, whatever becomes of the Locale objects that asked for it; a name that
// could not be opened is remembered as such and not tried again.
//
// Thread safety: all members may be called from any thread; the per-locale
// cache is guarded by the bundle's own reader-writer lock. Pointers handed
// out stay valid until cleanup() or destruction.
#ifndef CORE_RESOURCE_BUNDLE_H_
#define CORE_RESOURCE_BUNDLE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "core/export.h"
#include "core/locale.h"

namespace core {

class CORE_EXPORT SCOM_ResourceBundle {
 public:
  explicit SCOM_ResourceBundle(const char* name);
  // Closes every ICU bundle it opened.
  ~SCOM_ResourceBundle();
  SCOM_ResourceBundle(const SCOM_ResourceBundle&) = delete;
  SCOM_ResourceBundle& operator=(const SCOM_ResourceBundle&) = delete;

  // The text of `key` for `locale` and its length in code units, or null
  // (length 0) when the bundle has no such text.
  const char16_t* getString(const char* key, const Locale& locale, size_t& length);
  // The binary resource `key` for `locale`, or null (length 0).
  const uint8_t* getBinary(const char* key, const Locale& locale, size_t& length);

  const char* name() const noexcept;
  // Closes every ICU bundle opened so far; later lookups open them again.
  void cleanup();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace core

#endif  // CORE_RESOURCE_BUNDLE_H_
