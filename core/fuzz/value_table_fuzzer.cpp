// Drives random calls through the calling helper against a value table, its
// column collection, its index collection and its rows: method and property
// names from a pool in both languages, column lists and sort keys made of
// known and unknown names, arguments of every kind. After each call the
// table must still be consistent (every row found at its own index). With
// the first byte odd, the rest of the input is read as a brace list.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/collections.h"
#include "core/exception.h"
#include "core/type.h"
#include "core/value.h"
#include "core/value_table.h"
#include "fuzz_input.h"

namespace {

using core::fuzz::Input;

constexpr const char16_t* kWords[] = {
    u"A",           u"b",         u"Сумма", u"A, b",    u"b Desc, A", u"A Убыв",
    u"A Down",      u"A x y",     u"",      u" , ",     u"Nope",      u"A,A",
    u"Number(5,2)", u"String(3)", u"Date",  u"Boolean", u"2nd",       u"A, Сумма"};

constexpr const char16_t* kTableMethods[] = {
    u"Count",       u"IndexOf",    u"Add",          u"Insert",    u"Delete",
    u"Clear",       u"Move",       u"Find",         u"FindRows",  u"Total",
    u"Sort",        u"LoadColumn", u"UnloadColumn", u"Get",       u"Скопировать",
    u"CopyColumns", u"Свернуть",   u"ChooseRow",    u"FillValues"};
constexpr const char16_t* kColumnMethods[] = {u"Count", u"IndexOf", u"Insert", u"Add", u"Delete",
                                              u"Move",  u"Clear",   u"Find",   u"Get"};
constexpr const char16_t* kIndexMethods[] = {u"Count", u"Add", u"Delete", u"Clear"};
constexpr const char16_t* kRowMembers[] = {u"A", u"b", u"Сумма", u"Owner", u"Get", u"Set"};

core::Value argument(Input& in, const std::vector<core::Value>& pool) {
  const std::uint8_t kind = in.next();
  const std::uint8_t detail = in.next();
  switch (kind % 6) {
    case 0:
      return core::Value(static_cast<int>(detail % 12) - 2);
    case 1:
      return core::Value((static_cast<int>(detail) - 128) / 8.0);
    case 2:
      return core::Value(kWords[detail % std::size(kWords)]);
    case 3:
      return pool[detail % pool.size()];
    case 4: {
      core::InterfacePtr<core::Structure> filter = core::create_structure();
      filter->insert(core::Value(kWords[detail % 3]), core::Value(static_cast<int>(detail % 4)));
      return core::Value(static_cast<core::IValue*>(filter.get()));
    }
    default:
      return core::Value();
  }
}

void check(const core::ValueTableCore& core) {
  for (int i = 0; i < core.rowCount(); ++i) {
    if (core.line(i)->index() != i || core.line(i)->owner() != &core) std::abort();
  }
}

void fuzz_calls(Input& in) {
  const core::Value table(core::Type(u"ValueTable").createIValue().get());
  const core::ValueTableCore& core = core::value_table_of(table.getIValue())->core();
  std::vector<core::Value> pool{table};
  for (const char16_t* name : {u"Columns", u"Индексы"}) {
    core::Value member;
    core::get_context_property(core::context_of(table.getIValue()), name, member);
    pool.push_back(member);
  }
  int steps = 0;
  while (!in.empty() && steps++ < 96) {
    const std::size_t target = in.next() % pool.size();
    const std::uint8_t member = in.next();
    std::vector<core::Value> values;
    const std::size_t argc = in.next() % 4;
    for (std::size_t i = 0; i < argc; ++i) values.push_back(argument(in, pool));
    std::vector<core::GenericValue*> args;
    for (core::Value& value : values) args.push_back(&value);
    core::IContext* context = core::context_of(pool[target].getIValue());
    core::Value result;
    try {
      if (target == 0) {
        core::call_context_method(context, kTableMethods[member % std::size(kTableMethods)], args,
                                  &result);
      } else if (target == 1) {
        core::call_context_method(context, kColumnMethods[member % std::size(kColumnMethods)], args,
                                  &result);
      } else if (target == 2) {
        core::call_context_method(context, kIndexMethods[member % std::size(kIndexMethods)], args,
                                  &result);
      } else {
        const char16_t* name = kRowMembers[member % std::size(kRowMembers)];
        if (context == nullptr) {
        } else if (member % std::size(kRowMembers) >= 4) {
          core::call_context_method(context, name, args, &result);
        } else if (values.empty()) {
          core::get_context_property(context, name, result);
        } else {
          core::set_context_property(context, name, values[0]);
        }
      }
    } catch (const core::Exception&) {
    }
    check(core);
    if (!result.getIValue()) std::abort();
    if (core::context_of(result.getIValue()) != nullptr && pool.size() < 32) pool.push_back(result);
  }
  try {
    core::String text;
    table.toString(text);
    core::Value back;
    core::GenericValue::fromString(text, back);
    if (core::value_table_of(back.getIValue()) == nullptr) std::abort();
  } catch (const core::Exception&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return core::fuzz::calls_or_brace_list(data, size, fuzz_calls);
}
