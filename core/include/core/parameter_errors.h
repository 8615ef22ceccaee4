// The standard errors about the arguments of a call. Each builds its
// description from the library's message bundle and throws; none returns.
//
//   if (!value.isNumber()) core::parameter_type_mismatch(0);   // "...parameter 1."
//   if (count < 0) core::parameter_value_mismatch(1, u"count");
//
// Parameters are counted from 0 by the caller and reported from 1. The text
// of "IDS_PARAMETER_N_TYPE_MISMATCH" or "IDS_PARAMETER_N_VALUE_MISMATCH" gets
// the number in its "%d" (the text may grow by at most 3 units, so numbers of
// more than 5 digits are cut); a non-empty `extra` is then appended as
// " (<extra>)". Every exception carries the category ZelUsage (6).
//
// Thread safety: any thread; the text comes in the calling thread's language.
#ifndef CORE_PARAMETER_ERRORS_H_
#define CORE_PARAMETER_ERRORS_H_

#include "core/exception.h"
#include "core/export.h"
#include "core/string.h"

namespace core {

// Throws `ContextException` ("IDS_PARAMETER_N_TYPE_MISMATCH").
[[noreturn]] CORE_EXPORT void parameter_type_mismatch(unsigned index);
[[noreturn]] CORE_EXPORT void parameter_type_mismatch(unsigned index, const String& extra);
// Throws `ContextException` ("IDS_PARAMETER_N_VALUE_MISMATCH").
[[noreturn]] CORE_EXPORT void parameter_value_mismatch(unsigned index);
[[noreturn]] CORE_EXPORT void parameter_value_mismatch(unsigned index, const String& extra);

// The same for the arguments of a constructor: each throws `CtorException` with
// the message of its twin above.
[[noreturn]] CORE_EXPORT void ctor_parameter_type_mismatch(unsigned index);
[[noreturn]] CORE_EXPORT void ctor_parameter_type_mismatch(unsigned index, const String& extra);
[[noreturn]] CORE_EXPORT void ctor_parameter_value_mismatch(unsigned index);
[[noreturn]] CORE_EXPORT void ctor_parameter_value_mismatch(unsigned index, const String& extra);

// Throws `ContextException` ("IDS_PROPERTY_VALUE_MISMATCH", the text as it
// stands) with the cause `inner` (acquired; may be null).
[[noreturn]] CORE_EXPORT void property_value_mismatch(IExceptionObject* inner);

}  // namespace core

#endif  // CORE_PARAMETER_ERRORS_H_
