// Glue between ICU and the library: copying ICU strings into String and
// aliasing String for ICU, one status type for ICU calls, and the owners of
// ICU handles.
//
//   detail::IcuStatus status;
//   icu::LocalUResourceBundlePointer bundle(ures_openDirect(path, "root", status));
//   if (status.isFailure()) return fallback;  // or status.assertSuccess() to throw
//   return detail::from_icu(name);
//
// Failures: a UErrorCode never leaves the library. IcuStatus tells failure
// from success as ICU does (U_FAILURE: warnings such as
// U_USING_FALLBACK_WARNING are negative and count as success; never compare
// with U_ZERO_ERROR); assertSuccess() turns a failure into an exception of the
// library (see IcuStatus). ICU handles are held by icu::LocalPointer or the
// Local...Pointer classes of the ICU headers (for resource bundles
// icu::LocalUResourceBundlePointer from <unicode/ures.h>), so that they are
// closed when an exception passes.
// Thread safety: the functions may be called from any thread; an IcuStatus
// belongs to one thread's chain of calls.
#ifndef CORE_SRC_INTERNAL_ICU_H_
#define CORE_SRC_INTERNAL_ICU_H_

#include <unicode/errorcode.h>
#include <unicode/unistr.h>

#include <cstddef>

#include "core/string.h"

namespace core::detail {

// A copy of the text of `text`; the empty String for a bogus string.
inline String from_icu(const icu::UnicodeString& text) {
  return String(text.getBuffer(), static_cast<std::size_t>(text.length()));
}

// A read-only ICU string over the units of `text`, without a copy.
// REQUIRES: `text` outlives the result and does not change meanwhile.
inline icu::UnicodeString alias_icu(const String& text) {
  return icu::UnicodeString(false, text.data(), static_cast<int32_t>(text.size()));
}

// The status of one ICU call or a chain of them; it converts to the
// UErrorCode& and UErrorCode* that ICU's functions take. Test it with
// isFailure() / isSuccess(). assertSuccess() throws on failure:
// std::bad_alloc for U_MEMORY_ALLOCATION_ERROR, otherwise
// IllegalStateException ("IDS_ERR_ILLEGAL_STATE") whose extra detail is ICU's
// name of the error. Never throws from its destructor.
class IcuStatus : public icu::ErrorCode {
 public:
  IcuStatus() = default;
  IcuStatus(const IcuStatus&) = delete;
  IcuStatus& operator=(const IcuStatus&) = delete;
  ~IcuStatus() override = default;

 protected:
  void handleFailure() const override;
};

}  // namespace core::detail

#endif  // CORE_SRC_INTERNAL_ICU_H_
