// Text helpers shared by URL and the schemes: the pieces of a URL that
// resolution and normal forms rebuild, and the scheme that parses a name.
#ifndef CORE_SRC_IO_URL_TEXT_H_
#define CORE_SRC_IO_URL_TEXT_H_

#include <string_view>

#include "core/scheme.h"
#include "core/string.h"
#include "core/url.h"

namespace core::detail {

// The path up to the query: directory to extension, and, when the parameters
// open with ";", those parameters up to their first "?" (as a path
// parameter). A view into the URL's text.
std::u16string_view path_before_query(const URL& url) noexcept;
// The rest after path_before_query up to and including the fragment.
std::u16string_view query_and_fragment(const URL& url) noexcept;
// `path` with its "." and ".." segments resolved; "/" and "\" both separate
// segments, and a leading drive or separator is a root that ".." never
// removes. ".." segments of a relative path that climb above its start stay.
String remove_dot_segments(std::u16string_view path);
// Appends the path `first` followed by `second` to `out`, resolved as
// remove_dot_segments does (the root is the root of `first`, or of `second`
// when `first` is empty).
void append_path(String& out, std::u16string_view first, std::u16string_view second);
// Equal ignoring case; ASCII texts are compared without a call into ICU.
bool equal_nocase_ascii(std::u16string_view a, std::u16string_view b) noexcept;
// The registered scheme of `name`, or the generic grammar.
const IScheme& scheme_for_name(std::u16string_view name) noexcept;

}  // namespace core::detail

#endif  // CORE_SRC_IO_URL_TEXT_H_
