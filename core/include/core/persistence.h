// Persistence storages over brace lists, and the brace-list forms of the
// library's values, numbers, dates, identifiers, time zones and exceptions.
//
// An object that stores itself writes through an IOutPersistenceStorage and
// reads back through an IInPersistenceStorage; the list-stream storages below
// hand out the ListOutStream / ListInStream they sit on.
//
//   core::InterfacePtr<core::StringWriter> text(new core::StringWriter);
//   core::InterfacePtr<core::ListOutPersistenceStorage> storage(
//       new core::ListOutPersistenceStorage(core::ListOutStream(text.get())));
//   core::Value(12.5).serialize(storage.get());
//   storage->writer().close();  // text->str() == u"{3,12.5}"
//
// The form of a value: one list whose first element is the value's type code
// (core::TypeCode), then its payload:
//   Undefined {0}   Null {1}   Boolean {2,0} / {2,1}   Number {3,12.5}
//   String {4,"text"}   Date {5,<ticks>} (ticks of 100 microseconds, 0 for the
//   empty date)   Type {1000,<class identifier of the type>}
//   Binary data {100,87126200-3e98-44e0-b931-ccb1d7edc497,<Base64 bytes>}
//   An object value offering ISerializableValue {100,<class identifier of its
//   type>,<what it writes>}, read back by its registered type
//   (IDeserializingType); an enumeration value writes its code.
// Every such value reads back equal (GenericValue::equals). Other object
// values have no stored form: writing one throws
// `UnsupportedOperationException` ("IDS_ERR_UNSUPPORTED_OPERATION").
//
// The other forms, each one list: a Numeric {12.5}; a Date {<ticks>}; a GUID
// {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}; a TimeZone {"Europe/Berlin"}; an
// Exception {clsid,"descr",{cause},"stack trace","<18 bits>",uiHelperUUID},
// where the cause is the same form of the cause exception, or
// {00000000-0000-0000-0000-000000000000} when there is none.
//
// Reading malformed data throws `ListStreamException` ("IDS_LISTSTREAMERROR"):
// a wrong type code, a date beyond 9999-12-31, a zone identifier that names
// no zone (the TimeZoneException is its cause), causes nested deeper than 64.
//
// Thread safety: a storage is used by one thread at a time.
#ifndef CORE_PERSISTENCE_H_
#define CORE_PERSISTENCE_H_

#include "core/date.h"
#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/iunknown.h"
#include "core/list_stream.h"
#include "core/numeric.h"
#include "core/time_zone.h"
#include "core/value_interfaces.h"

namespace core {

// Where objects write themselves.
class IOutPersistenceStorage : public IUnknown {
 public:
  // {8E4D2B17-6A3C-4F95-B1D8-0C7E5A9F2364}
  static constexpr GUID kIid = {
      0x8E4D2B17, 0x6A3C, 0x4F95, {0xB1, 0xD8, 0x0C, 0x7E, 0x5A, 0x9F, 0x23, 0x64}};
  virtual ListOutStream& writer() = 0;

 protected:
  ~IOutPersistenceStorage() override = default;
};

// Where objects read themselves back.
class IInPersistenceStorage : public IUnknown {
 public:
  // {3C9F6E21-0B8D-4A47-9E53-D2A1F87C4B06}
  static constexpr GUID kIid = {
      0x3C9F6E21, 0x0B8D, 0x4A47, {0x9E, 0x53, 0xD2, 0xA1, 0xF8, 0x7C, 0x4B, 0x06}};
  virtual ListInStream& reader() = 0;

 protected:
  ~IInPersistenceStorage() override = default;
};

// A storage over a ListOutStream (shared with the caller's copy).
class CORE_EXPORT ListOutPersistenceStorage final : public UnknownImpl<IOutPersistenceStorage> {
 public:
  explicit ListOutPersistenceStorage(const ListOutStream& stream) : stream_(stream) {}
  ListOutStream& writer() override { return stream_; }

 private:
  ListOutStream stream_;
};

// A storage over a ListInStream (shared with the caller's copy).
class CORE_EXPORT ListInPersistenceStorage final : public UnknownImpl<IInPersistenceStorage> {
 public:
  explicit ListInPersistenceStorage(const ListInStream& stream) : stream_(stream) {}
  ListInStream& reader() override { return stream_; }

 private:
  ListInStream stream_;
};

// An object value with a stored form of its own, {100,<class identifier of
// its type>,...}: serialize() writes what follows the identifier, inside
// the value's list.
class ISerializableValue : public IUnknown {
 public:
  // {BEFF6350-1D15-4663-BACD-05E1E72F361B}
  static constexpr GUID kIid = {
      0xBEFF6350, 0x1D15, 0x4663, {0xBA, 0xCD, 0x05, 0xE1, 0xE7, 0x2F, 0x36, 0x1B}};
  virtual void serialize(IOutPersistenceStorage* storage) = 0;

 protected:
  ~ISerializableValue() override = default;
};

// The type of such values: it reads what serialize() wrote and gives the
// value. Throws `ListStreamException` ("IDS_LISTSTREAMERROR") for data it
// does not accept.
class IDeserializingType : public IUnknown {
 public:
  // {7ED5BC63-DEAF-4815-BDEB-1D63C0891830}
  static constexpr GUID kIid = {
      0x7ED5BC63, 0xDEAF, 0x4815, {0xBD, 0xEB, 0x1D, 0x63, 0xC0, 0x89, 0x18, 0x30}};
  virtual InterfacePtr<IValue> deserialize(IInPersistenceStorage* storage) = 0;

 protected:
  ~IDeserializingType() override = default;
};

// The value's form (see above). `value` null writes Undefined.
CORE_EXPORT void write_value(IOutPersistenceStorage* storage, IValue* value);
// A new value read from its form.
CORE_EXPORT InterfacePtr<IValue> read_value(IInPersistenceStorage* storage);

CORE_EXPORT void to_stream(ListOutStream& out, const Numeric& value);
CORE_EXPORT void from_stream(ListInStream& in, Numeric& value);
CORE_EXPORT void to_stream(ListOutStream& out, const Date& value);
CORE_EXPORT void from_stream(ListInStream& in, Date& value);
CORE_EXPORT void to_stream(ListOutStream& out, const GUID& value);
CORE_EXPORT void from_stream(ListInStream& in, GUID& value);
CORE_EXPORT void to_stream(ListOutStream& out, const TimeZone& value);
CORE_EXPORT void from_stream(ListInStream& in, TimeZone& value);

}  // namespace core

#endif  // CORE_PERSISTENCE_H_
