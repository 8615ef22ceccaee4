// Implements platform/stack_trace.h on POSIX: capturing and naming stack frames.
#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/stack_trace.h"

namespace core::platform {

// Not inlined, so that its own frame is always the innermost one and the
// number of frames to leave out does not depend on the optimiser.
__attribute__((noinline)) StackTrace* StackTrace::capture(int skip) noexcept {
  skip = std::clamp(skip, 0, kMaxSkip);
  void* frames[kMaxFrames + kMaxSkip + 1];
  const int total = backtrace(frames, kMaxFrames + skip + 1);
  auto* trace = new (std::nothrow) StackTrace;
  if (trace == nullptr) return nullptr;
  const int first = std::min(total, skip + 1);
  trace->count_ = total - first;
  std::memcpy(trace->frames_, frames + first, sizeof(void*) * trace->count_);
  return trace;
}

std::string StackTrace::render() const {
  std::string text;
  char line[128];
  for (int i = 0; i < count_; ++i) {
    const auto address = reinterpret_cast<uintptr_t>(frames_[i]);
    // A return address may already lie past the end of the calling function
    // (after a call that does not return), so the name is looked up one byte
    // before it.
    Dl_info info{};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): looked up, never dereferenced.
    const bool found = address != 0 && dladdr(reinterpret_cast<void*>(address - 1), &info) != 0;
    std::snprintf(line, sizeof(line), "#%d 0x%016" PRIxPTR " ", i, address);
    text += line;
    if (found && info.dli_sname != nullptr) {
      text += demangle(info.dli_sname);
      std::snprintf(line, sizeof(line), "+0x%" PRIxPTR,
                    address - reinterpret_cast<uintptr_t>(info.dli_saddr));
      text += line;
    } else if (found) {
      std::snprintf(line, sizeof(line), "+0x%" PRIxPTR,
                    address - reinterpret_cast<uintptr_t>(info.dli_fbase));
      text += line;
    } else {
      text += "??";
    }
    if (found && info.dli_fname != nullptr) {
      const char* module = std::strrchr(info.dli_fname, '/');
      text += " (";
      text += module != nullptr ? module + 1 : info.dli_fname;
      text += ')';
    }
    text += '\n';
  }
  return text;
}

std::string demangle(const char* symbol) {
  if (symbol == nullptr) return std::string();
  int status = 0;
  char* readable = abi::__cxa_demangle(symbol, nullptr, nullptr, &status);
  if (status != 0 || readable == nullptr) {
    std::free(readable);
    return symbol;
  }
  std::string result(readable);
  std::free(readable);
  return result;
}

}  // namespace core::platform
