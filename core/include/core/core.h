// The whole public API of the library, by layer.
#ifndef CORE_CORE_H_
#define CORE_CORE_H_

#include "core/export.h"

// Base: strings, identifiers, reference counting, locales, the calling
// thread's settings, exceptions, messages, the component model, start and stop.
#include "core/application_context.h"
#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/exception_handling.h"
#include "core/guid.h"
#include "core/init.h"
#include "core/interface_ptr.h"
#include "core/iunknown.h"
#include "core/language.h"
#include "core/locale.h"
#include "core/messages.h"
#include "core/name.h"
#include "core/nocase.h"
#include "core/parameter_errors.h"
#include "core/ref_ptr.h"
#include "core/refcountable.h"
#include "core/resource_bundle.h"
#include "core/scom.h"
#include "core/string.h"
#include "core/thread.h"
#include "core/week_day.h"

// Values: the universal value, decimal numbers, dates, time zones, types,
// type domains and typed values, binary data, the property and method tables
// of objects, enumerations.
#include "core/binary_data.h"
#include "core/collections.h"
#include "core/context.h"
#include "core/context_iterator.h"
#include "core/date.h"
#include "core/enumeration.h"
#include "core/enumeration_types.h"
#include "core/numeric.h"
#include "core/numeric_round_mode.h"
#include "core/ordered_associations.h"
#include "core/time_zone.h"
#include "core/type.h"
#include "core/type_domain.h"
#include "core/typed_value.h"
#include "core/value.h"
#include "core/value_impl.h"
#include "core/value_interfaces.h"
#include "core/value_table.h"

// Text: parameter strings, formats, encoding converters.
#include "core/converter.h"
#include "core/csv.h"
#include "core/formats.h"
#include "core/params.h"

// I/O: files, brace-list streams, persistence, URLs.
#include "core/io.h"
#include "core/list_stream.h"
#include "core/persistence.h"
#include "core/scheme.h"
#include "core/storage.h"
#include "core/url.h"

#endif  // CORE_CORE_H_
