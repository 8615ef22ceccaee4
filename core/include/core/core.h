// The whole public API of the library.
#ifndef CORE_CORE_H_
#define CORE_CORE_H_

#include "core/application_context.h"
#include "core/converter.h"
#include "core/date.h"
#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/exception_handling.h"
#include "core/export.h"
#include "core/guid.h"
#include "core/init.h"
#include "core/interface_ptr.h"
#include "core/iunknown.h"
#include "core/locale.h"
#include "core/messages.h"
#include "core/name.h"
#include "core/nocase.h"
#include "core/numeric.h"
#include "core/numeric_round_mode.h"
#include "core/parameter_errors.h"
#include "core/ref_ptr.h"
#include "core/refcountable.h"
#include "core/resource_bundle.h"
#include "core/scom.h"
#include "core/string.h"
#include "core/thread.h"
#include "core/time_zone.h"
#include "core/url.h"
#include "core/week_day.h"

#endif  // CORE_CORE_H_
