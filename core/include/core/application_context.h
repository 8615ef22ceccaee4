// The host's application context, through which the library learns how the
// host wants old behaviour kept.
//
// A host that needs the behaviour of an earlier release registers a context
// whose compatibilityLevel() names that release; with no context registered
// the library behaves as the current release.
//
//   class HostContext : public core::UnknownImpl<core::IApplicationContext> {
//     int compatibilityLevel() override { return core::kCompatibilityUnknownTypeText; }
//   };
//   core::set_application_context(new HostContext);
//
// Thread safety: registering and reading the context may happen from any
// thread.
#ifndef CORE_APPLICATION_CONTEXT_H_
#define CORE_APPLICATION_CONTEXT_H_

#include "core/export.h"
#include "core/interface_ptr.h"
#include "core/iunknown.h"

namespace core {

class IApplicationContext : public IUnknown {
 public:
  static constexpr GUID kIid = {
      0x6b2e8f14, 0x3c5d, 0x4e7a, {0x91, 0x0f, 0x2a, 0x7c, 0x4d, 0x88, 0xe5, 0x13}};

  // The release whose behaviour the host wants kept.
  virtual int compatibilityLevel() = 0;
};

// Registers `context` (acquired) in place of the previous one (released);
// null removes the registered context.
CORE_EXPORT void set_application_context(IApplicationContext* context);

// The levels at which the library's behaviour changed. A host whose level is
// below one keeps the older behaviour described.
//
// Below this level, Boolean values and formats use the older pair of texts
// ("Истина"/"Ложь", "True"/"False" rather than "Да"/"Нет", "Yes"/"No").
inline constexpr int kCompatibilityCurrentBoolTexts = 2;
// Below this level, the text of a Type value whose type is not registered
// throws `TypeException` ("IDS_TYPEERROR_TYPENOTDEFINED") instead of being
// that message.
inline constexpr int kCompatibilityUnknownTypeText = 80311;

// The registered context, or null.
CORE_EXPORT InterfacePtr<IApplicationContext> application_context();

}  // namespace core

#endif  // CORE_APPLICATION_CONTEXT_H_
