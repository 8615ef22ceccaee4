// Type: a handle on the type of values.
//
// A Type names one IType: a primitive type by its code, or any registered
// type by its class identifier or by its English or Russian name (case is
// ignored). Types are registered through the class maps of the component
// modules (core/scom.h); the library registers its own. A type registered
// under a class identifier that is already taken replaces the earlier type,
// whose names then find nothing more. Of several types that bear one name,
// the name finds the one registered last, and the one before it again once
// that one is unregistered.
//
//   core::Type number(core::TypeCode::Number);
//   core::Type same(u"Число");                 // by the Russian name
//   number.getCLSID() == same.getCLSID();       // true
//   core::Type(u"NoSuchType");                 // throws `TypeException`
//
// Thread safety: a Type is a value; handles to one type may be used from
// several threads. The registry of types may be read and changed from any
// thread.
#ifndef CORE_TYPE_H_
#define CORE_TYPE_H_

#include <vector>

#include "core/export.h"
#include "core/interface_ptr.h"
#include "core/value_interfaces.h"

namespace core {

class CORE_EXPORT Type {
 public:
  using Code = TypeCode;

  // The primitive type of `code`. Throws `TypeException`
  // ("IDS_TYPEERROR_TYPENOTDEFINED") for a code without a primitive type.
  explicit Type(Code code);
  // The registered type `clsid`. Throws `TypeException` ("IDS_TYPEERROR_TYPENOTDEFINED") with the
  // GUID's text.
  explicit Type(const GUID& clsid);
  // The registered type of that English or Russian name, case ignored.
  // Throws `TypeException` ("IDS_TYPEERROR_TYPENOTDEFINED") with the name.
  explicit Type(const char16_t* name);
  explicit Type(const String& name);
  // `type`, acquired when `acquire` is true. REQUIRES: `type` is not null.
  explicit Type(IType* type, bool acquire = true) noexcept;
  // The type that the Type value `value` stands for. Throws `TypeException`
  // ("IDS_TYPEERROR_TYPENOTDEFINED") with the GUID's text when that type is not registered.
  explicit Type(ITypeValue* value);

  Code getTypeCode() const { return type_->getTypeCode(); }
  GUID getCLSID() const { return type_->getCLSID(); }
  IType* getIType() const noexcept { return type_.get(); }
  // A value of kind Type standing for this type.
  InterfacePtr<ITypeValue> getITypeValue() const;
  bool isCOMType() const { return type_->isCOMType(); }
  bool isValueMutable() const { return type_->isValueMutable(); }
  bool hasCtor(unsigned count) const { return type_->hasCtor(count); }
  InterfacePtr<IValue> ctor(std::vector<GenericValue*>& params) const {
    return type_->ctor(params);
  }
  InterfacePtr<IValue> createIValue() const { return type_->createIValue(); }

  friend bool operator==(const Type& a, const Type& b) { return a.getCLSID() == b.getCLSID(); }

  // The primitive type singleton of `code` (Undefined to Date, and Type), or
  // null for any other code. No new reference: the singletons never die.
  static IType* create_type(Code code) noexcept;
  // The registered type `clsid`, or null.
  static InterfacePtr<IType> create_type(const GUID& clsid);

 private:
  InterfacePtr<IType> type_;
};

}  // namespace core

#endif  // CORE_TYPE_H_
