// The Binary data type and its values: an immutable sequence of bytes held
// as a value.
//
// A binary data value is an object value of the type kBinaryDataTypeClsid,
// registered by the library, so Type(kBinaryDataTypeClsid) finds it. Its
// bytes never change after creation; a different sequence is a new value.
//
//   const std::uint8_t bytes[] = {0xCA, 0xFE};
//   core::Value blob(core::create_binary_data_value(bytes).get());
//   core::binary_data_of(blob.getIValue())->size();   // 2
//   blob.type().getCLSID() == core::kBinaryDataTypeClsid;   // true
//
// Thread safety: values are immutable and may be shared between threads.
#ifndef CORE_BINARY_DATA_H_
#define CORE_BINARY_DATA_H_

#include <cstdint>
#include <span>
#include <vector>

#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/value_impl.h"

namespace core {

// {87126200-3E98-44E0-B931-CCB1D7EDC497}: the Binary data type.
inline constexpr GUID kBinaryDataTypeClsid = {
    0x87126200, 0x3E98, 0x44E0, {0xB9, 0x31, 0xCC, 0xB1, 0xD7, 0xED, 0xC4, 0x97}};

// A value holding bytes. Its type's names are "BinaryData" and
// "ДвоичныеДанные"; the type's default value holds no bytes. Like every
// object it converts to no Boolean, Number or Date; its presentation is the
// type's presentation. Two binary data values are equal when they hold the
// same bytes; the hash code depends on the bytes only.
class CORE_EXPORT BinaryDataValue final : public ObjectValueCore {
 public:
  explicit BinaryDataValue(std::vector<std::uint8_t> bytes);

  std::span<const std::uint8_t> bytes() const noexcept { return bytes_; }
  std::size_t size() const noexcept { return bytes_.size(); }

  bool isEqual(IValue* other) override;
  int32_t hashCode() override;
  // The bytes (never null, also when there are none).
  void* getDataPtr() override;

 private:
  ~BinaryDataValue() override = default;

  std::vector<std::uint8_t> bytes_;
};

// A new binary data value holding a copy of `bytes`, count 1.
CORE_EXPORT InterfacePtr<IValue> create_binary_data_value(std::span<const std::uint8_t> bytes);
CORE_EXPORT InterfacePtr<IValue> create_binary_data_value(std::vector<std::uint8_t>&& bytes);

// `value` as binary data, or null when it is not a binary data value (or is
// null). The pointer lives as long as the value does.
CORE_EXPORT const BinaryDataValue* binary_data_of(IValue* value) noexcept;

// The Binary data type object, alive for the whole process (no new
// reference).
CORE_EXPORT IType* binary_data_type() noexcept;

// End of public API. Implementation details follow.

namespace detail {
// The type's class object for the library's class map (a new reference).
IUnknown* binary_data_type_object();
}  // namespace detail

}  // namespace core

#endif  // CORE_BINARY_DATA_H_
