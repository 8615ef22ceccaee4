// The bases from which values and their types are made.
//
// ValueImplBase implements what every value shares: its type pointer and
// its reference count. ObjectValueCore and ObjectTypeCore give built-in
// object values (collections, tables, ...) and their types the defaults of
// objects: an object converts to nothing, equals only itself and hashes by
// its address.
//
//   class ShelfType : public core::ObjectTypeCore {
//    public:
//     ShelfType() : ObjectTypeCore(kShelfClsid, u"Shelf", u"Полка",
//                                  "IDS_TYPE_PRESENTATION_VALUEARRAY", true) {}
//     core::InterfacePtr<core::IValue> createIValue() override {
//       return core::InterfacePtr<core::IValue>(new Shelf(this));
//     }
//   };
//
// Thread safety: reference counts are atomic; what else an object allows is
// the object's own business.
#ifndef CORE_VALUE_IMPL_H_
#define CORE_VALUE_IMPL_H_

#include "core/export.h"
#include "core/refcountable.h"
#include "core/value_interfaces.h"

namespace core {

// The base of value implementations: the value's type (held without a
// reference of its own: types outlive their values) and a reference count
// that holders reach without a virtual call (IValue::holdRef). The object
// deletes itself when the count returns to 0. It offers IUnknown and IValue;
// a derived class offering more overrides queryInterface(). A derived class
// that overrides acquire() or release() (to resolve them between several
// interfaces) forwards to these: holders bypass any other override.
class CORE_EXPORT ValueImplBase : public IValue {
 public:
  void setIType(IType* type) noexcept { type_ = type; }
  IType* getIType() const override { return type_; }

  bool queryInterface(const GUID& iid, void** out) override;
  int32_t acquire() override;
  int32_t release() override;

 protected:
  constexpr explicit ValueImplBase(IType* type = nullptr) noexcept
      : IValue(Counting::kIntrusive), type_(type) {}
  // A value that is never destroyed, such as a process-wide constant: it
  // keeps no count and its acquire() and release() return 1.
  struct NeverDestroyed {};
  constexpr ValueImplBase(IType* type, NeverDestroyed) noexcept
      : IValue(Counting::kImmortal), type_(type) {}
  // A copy is a new object with a count of its own.
  ValueImplBase(const ValueImplBase& other) noexcept : IValue(other), type_(other.type_) {}
  ValueImplBase& operator=(const ValueImplBase& other) noexcept {
    type_ = other.type_;
    return *this;
  }
  ~ValueImplBase() override = default;

 private:
  IType* type_;
};

// The base of built-in object values. Defaults: getBoolean, getNumeric and
// getDate return false (an object converts to nothing); getString gives the
// type's presentation; isEqual is identity; hashCode() is the low 32 bits of
// the object's address; getDataPtr() returns the object itself.
class CORE_EXPORT ObjectValueCore : public ValueImplBase {
 public:
  [[nodiscard]] bool getBoolean(bool& out) override;
  [[nodiscard]] bool getNumeric(Numeric& out) override;
  [[nodiscard]] bool getString(String& out) override;
  [[nodiscard]] bool getDate(Date& out) override;
  bool isEqual(IValue* other) override;
  int32_t hashCode() override;
  void* getDataPtr() override;

 protected:
  explicit ObjectValueCore(IType* type) noexcept : ValueImplBase(type) {}
  ~ObjectValueCore() override = default;
};

// The base of the types of object values. Defaults: getTypeCode() is
// Object; hasCtor(n) is true only for n = 0; isCOMType() is false;
// isValueMutable() is what the constructor was told; ctor() with no
// parameters gives createIValue() and with any throws `CtorException`
// ("IDS_TOO_MANY_PARAMETERS"). The presentation is the text of
// `presentationId` in the bundle of `module`.
class CORE_EXPORT ObjectTypeCore : public IType {
 public:
  TypeCode getTypeCode() override { return TypeCode::Object; }
  const char16_t* getName(Language language) override;
  String getPresentation() override;
  GUID getCLSID() override { return clsid_; }
  bool isCOMType() override { return false; }
  bool isValueMutable() override { return value_mutable_; }
  bool hasCtor(unsigned count) override { return count == 0; }
  InterfacePtr<IValue> ctor(std::vector<GenericValue*>& params) override;

  bool queryInterface(const GUID& iid, void** out) override;
  int32_t acquire() override { return count_.acquire(); }
  int32_t release() override;

 protected:
  // REQUIRES: the names and identifiers outlive the type (literals do).
  ObjectTypeCore(const GUID& clsid, const char16_t* english_name, const char16_t* russian_name,
                 const char* presentation_id, bool value_mutable,
                 const char* module = "core") noexcept;
  ~ObjectTypeCore() override = default;

 private:
  struct Count : Refcountable<Count> {};

  GUID clsid_;
  const char16_t* names_[2];
  const char* presentation_id_;
  const char* module_;
  bool value_mutable_;
  Count count_;
};

}  // namespace core

#endif  // CORE_VALUE_IMPL_H_
