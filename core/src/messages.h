// Lookup of the library's message texts by "IDS_" identifier.
#ifndef CORE_SRC_MESSAGES_H_
#define CORE_SRC_MESSAGES_H_

#include "core/string.h"

namespace core::detail {

// The text of the message `id` in the calling thread's language. Until the
// message bundle is loaded the identifier itself stands for its text, so a
// description still names the failure exactly.
String message_text(const char* id);

}  // namespace core::detail

#endif  // CORE_SRC_MESSAGES_H_
