// The protocol through which a host walks a collection ("for each element"):
// the collection offers IContextIterable, which hands out an iterator that
// gives one element after another.
//
//   core::for_each_value(array.getIValue(), [](const core::GenericValue& element) {
//     ...
//   });
//
// A collection implements IContextIterable beside its context (the built-in
// collections and the value table do); its iterator holds a reference to the
// collection and its position, so that a collection changed during the walk
// gives the elements then at the following positions and ends, never
// reading outside itself.
//
// Thread safety: an iterator is used by one thread; whether the collection
// may change meanwhile is the collection's business.
#ifndef CORE_CONTEXT_ITERATOR_H_
#define CORE_CONTEXT_ITERATOR_H_

#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/iunknown.h"
#include "core/value.h"

namespace core {

class IContextIterator : public IUnknown {
 public:
  // {269E2284-2602-42F5-B661-FEEE4E94DAEC}
  static constexpr GUID kIid = {
      0x269E2284, 0x2602, 0x42F5, {0xB6, 0x61, 0xFE, 0xEE, 0x4E, 0x94, 0xDA, 0xEC}};

  // True with the next element in `value`; false, leaving `value` alone,
  // after the last.
  virtual bool next(GenericValue& value) = 0;

 protected:
  ~IContextIterator() override = default;
};

class IContextIterable : public IUnknown {
 public:
  // {D699D29F-F4B7-4D0D-A0BD-EBB1F32AFD85}
  static constexpr GUID kIid = {
      0xD699D29F, 0xF4B7, 0x4D0D, {0xA0, 0xBD, 0xEB, 0xB1, 0xF3, 0x2A, 0xFD, 0x85}};

  // A new iterator starting before the first element.
  virtual InterfacePtr<IContextIterator> iterator() = 0;

 protected:
  ~IContextIterable() override = default;
};

// A new iterator over `object`. Throws `UnsupportedOperationException`
// ("IDS_ERR_UNSUPPORTED_OPERATION") when `object` is null or not iterable.
CORE_EXPORT InterfacePtr<IContextIterator> iterate_values(IUnknown* object);

// Calls `visit(const GenericValue&)` for each element of `object`, in the
// collection's order. Throws as iterate_values() does.
template <class Visit>
void for_each_value(IUnknown* object, Visit visit) {
  const InterfacePtr<IContextIterator> iterator = iterate_values(object);
  Value element;
  while (iterator->next(element)) visit(static_cast<const GenericValue&>(element));
}

}  // namespace core

#endif  // CORE_CONTEXT_ITERATOR_H_
