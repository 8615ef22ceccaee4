// Reporting of message lookups that had to fall back to less specific texts.
#ifndef CORE_SRC_BASE_RESOURCE_TRACKER_H_
#define CORE_SRC_BASE_RESOURCE_TRACKER_H_

namespace core::detail {

// Hands `bundle` and `id` to the tracker the host installed, if any.
void report_missing_resource(const char* bundle, const char* id);

}  // namespace core::detail

#endif  // CORE_SRC_BASE_RESOURCE_TRACKER_H_
