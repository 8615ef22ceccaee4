// Implements core/resource_bundle.h: a module's texts, opened and cached per locale.
#include "core/resource_bundle.h"

#include <unicode/ures.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/locale_data.h"
#include "base/resource_tracker.h"
#include "internal/icu.h"
#include "internal/thread_annotations.h"

namespace core {

// The opened ICU bundles, one per locale in the order of first use, keyed by
// the locale's canonical name: the data object behind a Locale is freed under
// memory pressure and its address may come back for another locale.
struct SCOM_ResourceBundle::Impl {
  explicit Impl(const char* bundle_name) : name(bundle_name == nullptr ? "" : bundle_name) {}

  // The ICU bundle for `locale`, opened on first use; null when not even the
  // root data can be opened.
  UResourceBundle* bundleFor(const Locale& locale) CORE_EXCLUDES(mutex) {
    const char* const key = locale.data().icu.getName();
    UResourceBundle* found = nullptr;
    {
      detail::ReaderLock lock(mutex);
      if (find(key, found)) return found;
    }
    detail::WriterLock lock(mutex);
    if (find(key, found)) return found;
    icu::LocalUResourceBundlePointer opened = open(key);
    UResourceBundle* const bundle = opened.getAlias();
    entries.emplace_back(key, std::move(opened));
    return bundle;
  }

  // Whether `key` has an entry; `out` is its bundle, which may be null.
  bool find(std::string_view key, UResourceBundle*& out) const CORE_REQUIRES_SHARED(mutex) {
    for (const auto& [locale, bundle] : entries) {
      if (locale == key) {
        out = bundle.getAlias();
        return true;
      }
    }
    return false;
  }

  // ICU answers a locale it has no data for with the bundle of the process's
  // default locale; the library wants the root texts then, not a language
  // that happens to be the default.
  icu::LocalUResourceBundlePointer open(const char* locale_name) const {
    detail::IcuStatus status;
    icu::LocalUResourceBundlePointer bundle(ures_open(name.c_str(), locale_name, status));
    if (status.get() == U_USING_DEFAULT_WARNING) {
      status.reset();
      bundle.adoptInstead(ures_openDirect(name.c_str(), "root", status));
    }
    if (status.isFailure()) bundle.adoptInstead(nullptr);
    return bundle;
  }

  void closeAll() CORE_EXCLUDES(mutex) {
    detail::WriterLock lock(mutex);
    entries.clear();
  }

  const std::string name;
  detail::SharedMutex mutex;
  // A locale whose bundle could not be opened keeps a null entry, so that it
  // is not tried again on every lookup.
  std::vector<std::pair<std::string, icu::LocalUResourceBundlePointer>> entries
      CORE_GUARDED_BY(mutex);
};

SCOM_ResourceBundle::SCOM_ResourceBundle(const char* name) : impl_(std::make_unique<Impl>(name)) {}

SCOM_ResourceBundle::~SCOM_ResourceBundle() { impl_->closeAll(); }

const char16_t* SCOM_ResourceBundle::getString(const char* key, const Locale& locale,
                                               size_t& length) {
  length = 0;
  UResourceBundle* bundle = key == nullptr ? nullptr : impl_->bundleFor(locale);
  if (bundle == nullptr) return nullptr;
  detail::IcuStatus status;
  int32_t units = 0;
  const UChar* text = ures_getStringByKey(bundle, key, &units, status);
  if (status.isFailure()) return nullptr;
  if (status.get() == U_USING_FALLBACK_WARNING || status.get() == U_USING_DEFAULT_WARNING) {
    detail::report_missing_resource(impl_->name.c_str(), key);
  }
  length = static_cast<size_t>(units);
  return reinterpret_cast<const char16_t*>(text);
}

const uint8_t* SCOM_ResourceBundle::getBinary(const char* key, const Locale& locale,
                                              size_t& length) {
  length = 0;
  UResourceBundle* bundle = key == nullptr ? nullptr : impl_->bundleFor(locale);
  if (bundle == nullptr) return nullptr;
  detail::IcuStatus status;
  // The bytes belong to the bundle's data, not to the item: they outlive it.
  const icu::LocalUResourceBundlePointer item(ures_getByKey(bundle, key, nullptr, status));
  int32_t bytes = 0;
  const uint8_t* data =
      status.isSuccess() ? ures_getBinary(item.getAlias(), &bytes, status) : nullptr;
  if (status.isFailure()) return nullptr;
  length = static_cast<size_t>(bytes);
  return data;
}

const char* SCOM_ResourceBundle::name() const noexcept { return impl_->name.c_str(); }

void SCOM_ResourceBundle::cleanup() { impl_->closeAll(); }

}  // namespace core
