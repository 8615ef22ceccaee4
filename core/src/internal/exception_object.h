// The exception objects that Exception::object() and the object() of each
// exception class hand out.
#ifndef CORE_INTERNAL_EXCEPTION_OBJECT_H_
#define CORE_INTERNAL_EXCEPTION_OBJECT_H_

#include "core/exception.h"
#include "core/iunknown.h"

namespace core::detail {

// Holds a whole copy of an exception of class E, so that writing it writes
// the class's own fields too.
template <class E>
class ExceptionObjectOf final : public UnknownImpl<IExceptionObject, ISerializableException> {
 public:
  // NOLINTNEXTLINE(bugprone-throw-keyword-missing): a copy kept, not thrown.
  explicit ExceptionObjectOf(const E& e) : exception_(e) {}
  const Exception& exception() const override { return exception_; }
  void serialize(IOutPersistenceStorage* storage) const override { exception_.serialize(storage); }

 private:
  E exception_;
};

template <class E>
InterfacePtr<IExceptionObject> make_exception_object(const E& e) {
  return InterfacePtr<IExceptionObject>(new ExceptionObjectOf<E>(e));
}

}  // namespace core::detail

#endif  // CORE_INTERNAL_EXCEPTION_OBJECT_H_
