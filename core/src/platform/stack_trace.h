// Capture of the calling thread's call stack, rendered as text on demand.
//
// Capturing stores return addresses only, which is cheap enough to do for
// every exception; turning them into names (the expensive part) waits until
// someone asks for the text.
//
//   RefPtr<const StackTrace> trace(StackTrace::capture(0));
//   if (trace) std::fputs(trace->render().c_str(), stderr);
#ifndef CORE_SRC_PLATFORM_STACK_TRACE_H_
#define CORE_SRC_PLATFORM_STACK_TRACE_H_

#include <string>

#include "core/refcountable.h"

namespace core::platform {

class StackTrace : public Refcountable<StackTrace> {
 public:
  static constexpr int kMaxFrames = 100;
  // The most frames capture() may be asked to leave out.
  static constexpr int kMaxSkip = 16;

  // The calling thread's stack, innermost frame first, without capture()'s
  // own frame and without the `skip` frames after it (clamped to kMaxSkip),
  // keeping at most kMaxFrames frames. The result starts with a count of 0.
  // Null when memory is short: a missing trace never stops an exception.
  static StackTrace* capture(int skip) noexcept;

  int size() const noexcept { return count_; }
  void* frame(int index) const noexcept { return frames_[index]; }

  // One line per frame: "#<n> 0x<address> <function>+0x<offset> (<module>)".
  // A function name is known only for symbols the module exports; without
  // one the offset is taken from the start of the module.
  std::string render() const;

 private:
  StackTrace() noexcept = default;

  int count_ = 0;
  void* frames_[kMaxFrames];
};

// The readable form of a mangled C++ symbol; any other text comes back as it
// is.
std::string demangle(const char* symbol);

}  // namespace core::platform

#endif  // CORE_SRC_PLATFORM_STACK_TRACE_H_
