// Implements core/binary_data.h: the Binary data type and its values.
#include "core/binary_data.h"

#include <algorithm>
#include <cstring>

namespace core {
namespace {

class BinaryDataType final : public ObjectTypeCore {
 public:
  BinaryDataType() noexcept
      : ObjectTypeCore(kBinaryDataTypeClsid, u"BinaryData", u"ДвоичныеДанные",
                       "IDS_TYPE_PRESENTATION_BINARYDATA", false) {}
  InterfacePtr<IValue> createIValue() override {
    return create_binary_data_value(std::vector<std::uint8_t>());
  }
};

BinaryDataType& the_type() {
  // Values keep their type without a reference, and values may outlive the
  // library's own module: the process keeps one reference for good.
  static auto* const type = [] {
    auto* created = new BinaryDataType;
    created->acquire();
    return created;
  }();
  return *type;
}

}  // namespace

BinaryDataValue::BinaryDataValue(std::vector<std::uint8_t> bytes)
    : ObjectValueCore(&the_type()), bytes_(std::move(bytes)) {}

bool BinaryDataValue::isEqual(IValue* other) {
  if (other == this) return true;
  const BinaryDataValue* data = binary_data_of(other);
  return data != nullptr && std::ranges::equal(data->bytes_, bytes_);
}

int32_t BinaryDataValue::hashCode() {
  // FNV-1a over the bytes.
  uint32_t hash = 2166136261u;
  for (std::uint8_t byte : bytes_) hash = (hash ^ byte) * 16777619u;
  return static_cast<int32_t>(hash);
}

void* BinaryDataValue::getDataPtr() {
  static std::uint8_t none = 0;
  return bytes_.empty() ? &none : bytes_.data();
}

InterfacePtr<IValue> create_binary_data_value(std::span<const std::uint8_t> bytes) {
  return create_binary_data_value(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

InterfacePtr<IValue> create_binary_data_value(std::vector<std::uint8_t>&& bytes) {
  return InterfacePtr<IValue>(new BinaryDataValue(std::move(bytes)));
}

const BinaryDataValue* binary_data_of(IValue* value) noexcept {
  if (value == nullptr || value->getIType() != &the_type()) return nullptr;
  return dynamic_cast<const BinaryDataValue*>(value);
}

IType* binary_data_type() noexcept { return &the_type(); }

namespace detail {

// The class object of the library's class map: a new reference.
IUnknown* binary_data_type_object() {
  BinaryDataType& type = the_type();
  type.acquire();
  return &type;
}

}  // namespace detail
}  // namespace core
