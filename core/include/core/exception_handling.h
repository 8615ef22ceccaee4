// Process-wide handling of exceptions that cannot be thrown where they arise:
// the deferred exception, exceptions raised in destructors, and the
// technical log.
//
//   try {
//     notify_listeners();
//   } catch (...) {
//     core::defer_exception();       // keep the first failure for later
//   }
//   ...
//   core::raise_deferred_exception();  // rethrown here, with its own type
//
// Thread safety: every function may be called from any thread. The deferred
// exception, the destructor-exception handler and the technical-log sink are
// each one per process.
#ifndef CORE_EXCEPTION_HANDLING_H_
#define CORE_EXCEPTION_HANDLING_H_

#include "core/exception.h"
#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/iunknown.h"
#include "core/string.h"

namespace core {

// Deferred exception. The process keeps at most one: the first deferred
// exception wins and later ones are dropped until it is raised.

// Called inside a handler (catch block), stores the exception being handled
// unless one is stored already. Outside a handler it does nothing.
CORE_EXPORT void defer_exception() noexcept;
// True when an exception is stored.
CORE_EXPORT bool have_deferred_exception() noexcept;
// Takes the stored exception out of the process's slot and rethrows it with
// the type it was first thrown with. Does nothing when none is stored, so a
// second call after a raise returns normally.
CORE_EXPORT void raise_deferred_exception();

// Receives exceptions that arise inside destructors, which must not throw.
class IExceptionHandler : public IUnknown {
 public:
  // {3C937CA9-9F9C-43AD-ADFA-1CB0904123F3}
  static constexpr GUID kIid = {
      0x3C937CA9, 0x9F9C, 0x43AD, {0xAD, 0xFA, 0x1C, 0xB0, 0x90, 0x41, 0x23, 0xF3}};

  virtual void handleException(const Exception& e) = 0;

 protected:
  ~IExceptionHandler() override = default;
};

// Reports `e`, raised inside a destructor. With a handler installed, the
// handler receives it (outside the handler lock, so it may install another
// handler) and the call returns. With none, a copy of `e` is thrown as a
// plain Exception (its clsid and description kept): the caller's destructor
// must then be declared noexcept(false).
CORE_EXPORT void destructor_exception(const Exception& e);
// Installs `handler` (acquired; null removes the handler) and releases the
// previous one.
CORE_EXPORT void set_destructor_exception_handler(IExceptionHandler* handler);
// The installed handler, or null.
CORE_EXPORT InterfacePtr<IExceptionHandler> get_destructor_exception_handler();

// The technical log: where exceptions that are handled without reaching a
// user are recorded. A sink receives the exception and a comment from the
// caller; it is called on the caller's thread, possibly from several threads
// at once, and must not throw.
using TechLogSink = void (*)(const Exception& e, const String& comment);

// Hands `e` to the process's technical-log sink. Never throws.
CORE_EXPORT void write_exception_to_techlog(const Exception& e, const String& comment) noexcept;
// Replaces the sink; null restores the default one, which writes one UTF-8
// line to the standard error stream:
//   core techlog: <comment>: {<clsid>} <description>[ <- {<clsid>} <cause's description>...]
// with each line feed of a description written as "\n" (backslash, n).
CORE_EXPORT void set_techlog_sink(TechLogSink sink) noexcept;

}  // namespace core

#endif  // CORE_EXCEPTION_HANDLING_H_
