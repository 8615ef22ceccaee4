// Named throwers for failures that several families raise the same way.
//
// Each function builds one exception of the library's tree and throws it; it
// never returns. They are defined out of line, so that a throw site costs one
// call instruction and keeps its hot caller small.
//
//   if (precision > length) detail::throw_illegal_argument(precision);
//
// Thread safety: every function may be called from any thread.
#ifndef CORE_SRC_INTERNAL_THROW_H_
#define CORE_SRC_INTERNAL_THROW_H_

namespace core::detail {

// Throws `ListStreamException` ("IDS_LISTSTREAMERROR") without extra detail:
// brace-list data or a call sequence that does not fit the format.
[[noreturn]] void throw_list_stream_error();

// Throws `IllegalArgumentException` ("IDS_ERR_ILLEGAL_ARGUMENT") whose extra
// detail is the decimal text of the refused `value` (an enumeration passes
// its underlying integer).
[[noreturn]] void throw_illegal_argument(long long value);

}  // namespace core::detail

#endif  // CORE_SRC_INTERNAL_THROW_H_
