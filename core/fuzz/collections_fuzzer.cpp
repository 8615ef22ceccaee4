// Drives random calls through the calling helper against a pool of every
// collection type, with arguments of every kind, the pool's collections
// among them (so collections nest and even hold each other), then writes
// one of them as a brace list and reads it back; or, with the first byte
// odd, reads the rest of the input as a brace list of collections. Only the
// library's own exceptions may escape.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/collections.h"
#include "core/exception.h"
#include "core/type.h"
#include "core/value.h"
#include "fuzz_input.h"

namespace {

using core::fuzz::Input;

constexpr const char16_t* kTypes[] = {u"Array",     u"FixedArray",     u"Map",        u"FixedMap",
                                      u"Structure", u"FixedStructure", u"KeyAndValue"};
constexpr const char16_t* kTexts[] = {u"Name", u" name ", u"Имя", u"1x", u"", u"a b", u"_"};

core::Value argument(Input& in, const std::vector<core::Value>& pool) {
  const std::uint8_t kind = in.next();
  const std::uint8_t detail = in.next();
  switch (kind % 7) {
    case 0:
      return core::Value(static_cast<int>(detail) - 100);
    case 1:
      return core::Value((static_cast<int>(detail) - 128) / 10.0);
    case 2:
      return core::Value(kTexts[detail % std::size(kTexts)]);
    case 3:
      return core::Value(detail % 2 == 0);
    case 4:
      return core::Value(core::create_null_value());
    case 5:
      return pool[detail % pool.size()];
    default:
      return core::Value();
  }
}

void fuzz_calls(Input& in) {
  std::vector<core::Value> pool;
  for (const char16_t* type : kTypes) pool.emplace_back(core::Type(type).createIValue().get());
  int steps = 0;
  while (!in.empty() && steps++ < 64) {
    const std::uint8_t op = in.next();
    const std::size_t target = in.next() % pool.size();
    core::IContext* context = core::context_of(pool[target].getIValue());
    std::vector<core::Value> values;
    const std::size_t argc = in.next() % 4;
    for (std::size_t i = 0; i < argc; ++i) values.push_back(argument(in, pool));
    std::vector<core::GenericValue*> args;
    for (core::Value& value : values) args.push_back(&value);
    core::Value result;
    try {
      switch (op % 6) {
        case 0:
        case 1:
        case 2:
          core::call_context_method(context, static_cast<int>(in.next() % 10), args, &result);
          break;
        case 3:
          core::get_context_property(context, kTexts[in.next() % std::size(kTexts)], result);
          break;
        case 4:
          core::set_context_property(context, kTexts[in.next() % std::size(kTexts)],
                                     values.empty() ? result : values[0]);
          break;
        default: {
          // A new object of a random type from the arguments.
          core::IType* type = core::Type(kTypes[in.next() % std::size(kTypes)]).getIType();
          core::Value made(type->ctor(args).get());
          pool.push_back(made);
          break;
        }
      }
      if (!result.getIValue()) std::abort();
    } catch (const core::Exception&) {
    }
  }
  // A round trip of one of them.
  const core::Value& chosen = pool[in.next() % pool.size()];
  try {
    core::String text;
    chosen.toString(text);
    core::Value back;
    core::GenericValue::fromString(text, back);
    if (back.type().getIType() != chosen.type().getIType()) std::abort();
  } catch (const core::Exception&) {
  }
  // Every cycle runs through a mutable collection: clearing them frees all.
  for (const core::Value& object : pool) {
    if (core::Array* array = core::array_of(object.getIValue())) array->clear();
    if (core::Map* map = core::map_of(object.getIValue())) map->clear();
    if (core::Structure* structure = core::structure_of(object.getIValue())) structure->clear();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return core::fuzz::calls_or_brace_list(data, size, fuzz_calls);
}
