#include "core/context.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <atomic>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "core/context_iterator.h"
#include "core/exception_classes.h"
#include "core/nocase.h"
#include "test_util.h"

namespace core {
namespace {

// {9A3E1C55-7D2B-4E08-B6F1-2C4D8E9A0B13}
constexpr GUID kShelfClsid = {
    0x9A3E1C55, 0x7D2B, 0x4E08, {0xB6, 0xF1, 0x2C, 0x4D, 0x8E, 0x9A, 0x0B, 0x13}};

int as_int(const GenericValue& value) {
  Numeric number;
  long long result = 0;
  EXPECT_TRUE(value.getNumeric(number) && number.toInteger(result));
  return static_cast<int>(result);
}

class ShelfType final : public ObjectTypeCore {
 public:
  ShelfType() noexcept : ObjectTypeCore(kShelfClsid, u"Shelf", u"Полка", nullptr, true) {}
  InterfacePtr<IValue> createIValue() override { return {}; }
};

ShelfType& shelf_type() {
  static auto* const type = [] {
    auto* made = new ShelfType;
    made->acquire();
    return made;
  }();
  return *type;
}

// A built-in object declared the way the library's own are.
class Shelf final : public ContextValueBase {
 public:
  static constexpr ContextPropDecl kProps[] = {
      {{u"Capacity", u"Вместимость"}, true, true}, {{u"Count", u"Количество"}, true, false},
      {{u"Secret", u"Секрет"}, false, true},       {{u"Label"}, true, false},
      {{u"Tag", u"вместимость"}, true, false, 2},  // its Russian name is taken by Capacity
  };
  static constexpr ContextParamDefault kPutDefaults[] = {ContextParamDefault::number(1)};
  static constexpr ContextParamDefault kFindDefaults[] = {ContextParamDefault::notGiven()};
  static constexpr ContextParamDefault kManyDefaults[] = {
      ContextParamDefault::notGiven(), ContextParamDefault::notGiven(),
      ContextParamDefault::notGiven(), ContextParamDefault::notGiven(),
      ContextParamDefault::notGiven(), ContextParamDefault::notGiven(),
      ContextParamDefault::notGiven(), ContextParamDefault::notGiven(),
      ContextParamDefault::notGiven(), ContextParamDefault::text(u"last")};
  static constexpr ContextParamDefault kMiddleDefaults[] = {ContextParamDefault::null(),
                                                            ContextParamDefault::required()};
  static constexpr ContextMethodDecl kMethods[] = {
      {{u"Put", u"Положить"}, 2, false, kPutDefaults},
      {{u"Take", u"Взять"}, 0, true},
      {{u"Find", u"Найти"}, 2, true, kFindDefaults},
      {{u"Clear", u"Очистить"}, 0, false},
      {{u"Many", u"Много"}, 10, true, kManyDefaults},
      {{u"Swap", u"Обменять"}, 3, true, kMiddleDefaults, 0b100},
  };
  static constexpr ContextTable kTable{kProps, kMethods};

  Shelf() noexcept : ContextValueBase(&shelf_type(), static_context_def<kTable>()) {}

  bool getPropVal(int prop, GenericValue& value) override {
    switch (prop) {
      case 0:
        value.assign(capacity_);
        return true;
      case 1:
        value.assign(count_);
        return true;
      case 3:
        value.assign(u"shelf");
        return true;
      case 4:
        value.assign(u"tag");
        return true;
      default:
        return false;
    }
  }
  bool setPropVal(int prop, const GenericValue& value) override {
    if (prop == 0) {
      capacity_ = as_int(value);
      return true;
    }
    return prop == 2;
  }
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override {
    static constexpr ContextMethodFunction<Shelf> kCalls[] = {
        &Shelf::put, &Shelf::take, &Shelf::find, &Shelf::clear, &Shelf::many, &Shelf::swap};
    return context_method_to_function(this, kTable, kCalls, method, ret_val, params);
  }

  int count() const { return count_; }
  const String& lastFlag() const { return last_flag_; }

 private:
  ~Shelf() override = default;

  void put(GenericValue*, std::vector<GenericValue*>& params) { count_ += as_int(*params[1]); }
  void take(GenericValue* ret_val, std::vector<GenericValue*>&) {
    if (ret_val != nullptr) ret_val->assign(count_);
    --count_;
  }
  void find(GenericValue* ret_val, std::vector<GenericValue*>& params) {
    if (ret_val != nullptr) ret_val->assign(params[1]->equals(proceed_call_unspecified_value()));
  }
  void clear(GenericValue*, std::vector<GenericValue*>&) { count_ = 0; }
  void many(GenericValue* ret_val, std::vector<GenericValue*>& params) {
    int given = 0;
    for (int i = 0; i < 9; ++i)
      given += params[i]->equals(proceed_call_unspecified_value()) ? 0 : 1;
    (void)params[9]->getString(last_flag_);
    if (ret_val != nullptr) ret_val->assign(given);
  }
  // Writes its first argument back to the third.
  void swap(GenericValue* ret_val, std::vector<GenericValue*>& params) {
    params[2]->assign(*params[0]);
    if (ret_val != nullptr) ret_val->assign(is_null_or_undefined_value(*params[1]));
  }

  int capacity_ = 10;
  int count_ = 0;
  String last_flag_;
};

InterfacePtr<Shelf> make_shelf() { return InterfacePtr<Shelf>(new Shelf); }

// ---------------------------------------------------------------------------
// Lookup.

struct LookupCase {
  const char16_t* name;
  bool method;
  int expected;
};

constexpr LookupCase kLookupCases[] = {
    {u"Capacity", false, 0},
    {u"capacity", false, 0},
    {u"CAPACITY", false, 0},
    {u"Вместимость", false, 0},
    {u"ВМЕСТИМОСТЬ", false, 0},  // also Tag's Russian name: the lower index wins
    {u"Tag", false, 4},
    {u"Label", false, 3},  // no Russian name: found by its English one only
    {u"Count", false, 1},
    {u"Count", true, -1},  // properties and methods are apart
    {u"Put", true, 0},
    {u"положить", true, 0},
    {u"ОБМЕНЯТЬ", true, 5},
    {u"Capacit", false, -1},
    {u"Capacityy", false, -1},
    {u"", false, -1},
    {u"", true, -1},
    {u"Nothing", true, -1},
};

template <class Strategy>
int lookup(Strategy& strategy, IContextDefBase* def, const LookupCase& c) {
  return c.method ? strategy.findMethod(def, String(c.name))
                  : strategy.findProp(def, String(c.name));
}

TEST(Context, EveryStrategyFindsMembersByEitherNameInAnyCase) {
  IContextDefBase* def = static_context_def<Shelf::kTable>();
  ContextDefCached sorted;
  ContextDefHashCached hashed;
  ContextDefNoncached scan;
  for (const LookupCase& c : kLookupCases) {
    SCOPED_TRACE(String(c.name).toUtf8() + (c.method ? " (method)" : " (property)"));
    const String name(c.name);
    EXPECT_EQ(c.method ? def->findMethod(name) : def->findProp(name), c.expected);
    EXPECT_EQ(lookup(sorted, def, c), c.expected);
    EXPECT_EQ(lookup(hashed, def, c), c.expected);
    EXPECT_EQ(lookup(scan, def, c), c.expected);
  }
}

// A definition with random names, for comparing the strategies.
class RandomDef final : public ContextDefExternBase {
 public:
  struct Member {
    std::u16string english;
    std::optional<std::u16string> russian;
  };
  std::vector<Member> props;
  std::vector<Member> methods;
  bool endless = false;  // every language index names the member

  int getNProps() override { return static_cast<int>(props.size()); }
  const char16_t* getPropName(int prop, int lang) override { return name(props, prop, lang); }
  bool isPropReadable(int) override { return true; }
  bool isPropWritable(int) override { return false; }
  int getNMethods() override { return static_cast<int>(methods.size()); }
  const char16_t* getMethodName(int method, int lang) override {
    return name(methods, method, lang);
  }
  int getNParams(int) override { return 0; }
  bool isParamIn(int, int) override { return false; }
  bool isParamOut(int, int) override { return false; }
  bool getParamDefValue(int, int, GenericValue*) override { return false; }
  bool hasRetVal(int) override { return false; }

 private:
  const char16_t* name(const std::vector<Member>& members, int i, int lang) const {
    if (i < 0 || static_cast<std::size_t>(i) >= members.size()) return nullptr;
    const Member& member = members[static_cast<std::size_t>(i)];
    if (lang == 0 || (endless && lang > 1)) return member.english.c_str();
    if (lang == 1) return member.russian ? member.russian->c_str() : member.english.c_str();
    return nullptr;
  }
};

std::u16string mixed_case(const std::u16string& text, std::mt19937& random) {
  std::u16string result = text;
  for (char16_t& unit : result) {
    const int choice = static_cast<int>(random() % 3);
    if (choice == 1) unit = static_cast<char16_t>(u_toupper(unit));
    if (choice == 2) unit = static_cast<char16_t>(u_tolower(unit));
  }
  return result;
}

// The lowest index bearing the name in any language: what every strategy
// must answer.
int reference_find(const std::vector<RandomDef::Member>& members, const std::u16string& name) {
  for (std::size_t i = 0; i < members.size(); ++i) {
    if (compare_nocase(members[i].english, name) == 0) return static_cast<int>(i);
    if (members[i].russian && compare_nocase(*members[i].russian, name) == 0) {
      return static_cast<int>(i);
    }
  }
  return -1;
}

TEST(Context, StrategiesAgreeOnRandomTablesWithSharedNames) {
  const std::u16string pool[] = {u"Count",  u"Количество", u"Add",     u"Добавить", u"Ёлка",
                                 u"ЁЛКА",   u"Straße",     u"STRASSE", u"x",        u"Ы",
                                 u"Insert", u"Вставить",   u"IndexOf", u"Индекс",   u"a_b"};
  std::mt19937 random(20261123);
  for (int round = 0; round < 200; ++round) {
    InterfacePtr<RandomDef> def(new RandomDef);
    const auto fill = [&](std::vector<RandomDef::Member>& members) {
      const std::size_t count = random() % 12;
      for (std::size_t i = 0; i < count; ++i) {
        RandomDef::Member member{mixed_case(pool[random() % std::size(pool)], random), {}};
        if (random() % 3 != 0)
          member.russian = mixed_case(pool[random() % std::size(pool)], random);
        members.push_back(std::move(member));
      }
    };
    fill(def->props);
    fill(def->methods);
    ContextDefCached sorted;
    ContextDefHashCached hashed;
    for (const std::u16string& word : pool) {
      const std::u16string query = mixed_case(word, random);
      const String name(query);
      SCOPED_TRACE("round " + std::to_string(round) + ", " + name.toUtf8());
      const int prop = reference_find(def->props, query);
      const int method = reference_find(def->methods, query);
      EXPECT_EQ(def->findProp(name), prop);
      EXPECT_EQ(sorted.findProp(def.get(), name), prop);
      EXPECT_EQ(hashed.findProp(def.get(), name), prop);
      EXPECT_EQ(ContextDefNoncached::findProp(def.get(), name), prop);
      EXPECT_EQ(sorted.findMethod(def.get(), name), method);
      EXPECT_EQ(hashed.findMethod(def.get(), name), method);
      EXPECT_EQ(ContextDefNoncached::findMethod(def.get(), name), method);
    }
  }
}

TEST(Context, FirstLookupsFromSeveralThreadsAgree) {
  InterfacePtr<RandomDef> def(new RandomDef);
  for (int i = 0; i < 50; ++i) def->methods.push_back({u"M" + std::u16string(i + 1, u'x'), u"Ы"});
  ContextDefCached sorted;
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 50; i += 1 + t) {
        const String name(u"m" + std::u16string(i + 1, u'X'));
        if (def->findMethod(name) != i || sorted.findMethod(def.get(), name) != i) ++wrong;
      }
      if (def->findMethod(String(u"ы")) != 0) ++wrong;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

TEST(Context, DefinitionWithEndlessNameListDoesNotHang) {
  InterfacePtr<RandomDef> def(new RandomDef);
  def->endless = true;
  def->props.push_back({u"Same", u"Тот"});
  def->methods.push_back({u"Other", std::nullopt});
  ContextDefCached sorted;
  EXPECT_EQ(def->findProp(String(u"тот")), 0);
  EXPECT_EQ(sorted.findProp(def.get(), String(u"SAME")), 0);
  EXPECT_EQ(ContextDefNoncached::findProp(def.get(), String(u"none")), -1);
  EXPECT_EQ(ContextDefNoncached::findMethod(def.get(), String(u"other")), 0);
}

TEST(Context, ResetCachesSeeChangedNames) {
  InterfacePtr<RandomDef> def(new RandomDef);
  def->props.push_back({u"Old", std::nullopt});
  ContextDefCached sorted;
  ContextDefHashCached hashed;
  ASSERT_EQ(sorted.findProp(def.get(), String(u"old")), 0);
  ASSERT_EQ(hashed.findProp(def.get(), String(u"old")), 0);
  def->props[0].english = u"New";
  // Until reset, the caches keep the names they were built from.
  EXPECT_EQ(hashed.findProp(def.get(), String(u"new")), -1);
  sorted.resetPropsCache();
  hashed.resetPropsCache();
  EXPECT_EQ(sorted.findProp(def.get(), String(u"NEW")), 0);
  EXPECT_EQ(hashed.findProp(def.get(), String(u"NEW")), 0);
  EXPECT_EQ(hashed.findProp(def.get(), String(u"old")), -1);
}

TEST(Context, EmptyDefinitionFindsNothing) {
  static constexpr ContextTable kEmpty{};
  IContextDefBase* def = static_context_def<kEmpty>();
  ContextDefCached sorted;
  for (const char16_t* name : {u"", u"Count", u"Количество"}) {
    EXPECT_EQ(def->findProp(String(name)), -1);
    EXPECT_EQ(def->findMethod(String(name)), -1);
    EXPECT_EQ(sorted.findProp(def, String(name)), -1);
  }
}

TEST(Context, IndicesOutsideTheTableGiveNothing) {
  IContextDefBase* def = static_context_def<Shelf::kTable>();
  for (const int bad : {-1, 5, 1000, -2147483647 - 1}) {
    EXPECT_EQ(def->getPropName(bad, 0), nullptr);
    EXPECT_FALSE(def->isPropReadable(bad));
    EXPECT_FALSE(def->isPropWritable(bad));
    EXPECT_EQ(def->getPropCatagory(bad), -1);
    ContextPropInfo info;
    EXPECT_FALSE(def->getPropInfo(bad, info));
  }
  for (const int bad : {-1, 6, 1000}) {
    EXPECT_EQ(def->getMethodName(bad, 0), nullptr);
    EXPECT_EQ(def->getNParams(bad), 0);
    EXPECT_FALSE(def->hasRetVal(bad));
    EXPECT_FALSE(def->isParamIn(bad, 0));
    Value value;
    EXPECT_FALSE(def->getParamDefValue(bad, 0, &value));
  }
  EXPECT_EQ(def->getPropName(0, 2), nullptr);
  EXPECT_EQ(def->getPropName(0, -1), nullptr);
  EXPECT_FALSE(def->isParamIn(0, 2));
  EXPECT_FALSE(def->isParamOut(5, 40));
  Value value;
  EXPECT_FALSE(def->getParamDefValue(0, 0, &value));  // required
  EXPECT_FALSE(def->getParamDefValue(0, 1, nullptr));
  std::vector<GenericValue*> none;
  EXPECT_FALSE(make_shelf()->call(99, nullptr, none));
}

TEST(Context, DeclaredTableAnswersEveryOperation) {
  IContextDefBase* def = static_context_def<Shelf::kTable>();
  EXPECT_EQ(def, static_context_def<Shelf::kTable>());  // one per table
  EXPECT_EQ(def->getNProps(), 5);
  EXPECT_EQ(String(def->getPropName(3, 1)), String(u"Label"));  // English serves
  ContextPropInfo info;
  ASSERT_TRUE(def->getPropInfo(4, info));
  EXPECT_EQ(String(info.names[1]), String(u"вместимость"));
  EXPECT_TRUE(info.readable);
  EXPECT_FALSE(info.writable);
  EXPECT_EQ(info.category, 2);
  EXPECT_TRUE(def->isParamOut(5, 2));
  EXPECT_FALSE(def->isParamOut(5, 0));
  EXPECT_TRUE(def->isParamIn(5, 2));
  Value value(7);
  EXPECT_TRUE(def->getParamDefValue(5, 1, &value));
  EXPECT_EQ(value.type().getTypeCode(), TypeCode::Null);
  EXPECT_FALSE(def->getParamDefValue(5, 2, &value));  // required after an optional one
  EXPECT_TRUE(def->getParamDefValue(0, 1, &value));
  EXPECT_TRUE(value.equals(1));
}

// ---------------------------------------------------------------------------
// The calling helper.

struct CallCase {
  const char16_t* method;
  int argc;
  const char* error;  // null: the call succeeds
};

constexpr CallCase kCallCases[] = {
    {u"Put", 0, "IDS_NOT_ENOUGH_PARAMETERS"},
    {u"put", 1, nullptr},
    {u"ПОЛОЖИТЬ", 2, nullptr},
    {u"Put", 3, "IDS_TOO_MANY_PARAMETERS"},
    {u"Take", 1, "IDS_TOO_MANY_PARAMETERS"},
    {u"Clear", 0, nullptr},
    {u"Many", 0, nullptr},
    {u"Many", 10, nullptr},
    {u"Many", 11, "IDS_TOO_MANY_PARAMETERS"},
    {u"Swap", 1, "IDS_NOT_ENOUGH_PARAMETERS"},  // its third is required after an optional
    {u"Swap", 3, nullptr},
    {u"NoSuchMethod", 0, "IDS_RTE_PROP_NOTFOUND"},
    {u"Capacity", 0, "IDS_RTE_PROP_NOTFOUND"},  // a property is no method
};

TEST(ContextCall, CountsAreCheckedAgainstTheTable) {
  for (const CallCase& c : kCallCases) {
    SCOPED_TRACE(String(c.method).toUtf8() + " with " + std::to_string(c.argc));
    InterfacePtr<Shelf> shelf = make_shelf();
    std::vector<Value> values(static_cast<std::size_t>(c.argc), Value(2));
    std::vector<GenericValue*> args;
    for (Value& value : values) args.push_back(&value);
    Value result;
    if (c.error == nullptr) {
      EXPECT_NO_THROW(call_context_method(shelf.get(), String(c.method), args, &result));
    } else {
      EXPECT_THROW_IDS(call_context_method(shelf.get(), String(c.method), args, &result),
                       ContextException, c.error);
    }
    EXPECT_EQ(args.size(), values.size());
  }
}

TEST(ContextCall, ErrorsCarryTheUsageCategoryAndTheName) {
  InterfacePtr<Shelf> shelf = make_shelf();
  std::vector<GenericValue*> none;
  try {
    call_context_method(shelf.get(), String(u"Nope"), none, nullptr);
    FAIL() << "no exception";
  } catch (const ContextException& e) {
    EXPECT_EQ(e.categories(), Exception::categoryOf(Exception::Category::ZelUsage));
    const std::u16string_view descr = e.descr();
    EXPECT_NE(descr.find(u"Nope"), std::u16string_view::npos);
  }
}

TEST(ContextCall, OmittedArgumentsGetDefaultsOrTheNotGivenMarker) {
  InterfacePtr<Shelf> shelf = make_shelf();
  Value item(u"book");
  Value three(3);
  std::vector<GenericValue*> args{&item};
  call_context_method(shelf.get(), String(u"Put"), args, nullptr);
  EXPECT_EQ(shelf->count(), 1);  // the count defaulted to 1
  args.push_back(&three);
  call_context_method(shelf.get(), String(u"Put"), args, nullptr);
  EXPECT_EQ(shelf->count(), 4);

  Value found;
  args = {&item};
  call_context_method(shelf.get(), String(u"Find"), args, &found);
  EXPECT_TRUE(found.equals(true));
  args = {&item, &three};
  call_context_method(shelf.get(), String(u"Find"), args, &found);
  EXPECT_TRUE(found.equals(false));

  // Nine markers and one text default: more defaults than fit inline.
  Value given;
  args = {nullptr, &item, nullptr, &item};  // null entries are omitted too
  call_context_method(shelf.get(), String(u"Many"), args, &given);
  EXPECT_TRUE(given.equals(2));
  EXPECT_EQ(shelf->lastFlag(), String(u"last"));
}

TEST(ContextCall, CallLeavesNoPointerToDefaultsInArgs) {
  InterfacePtr<Shelf> shelf = make_shelf();
  Value item(u"book");
  std::vector<GenericValue*> args{nullptr, &item};
  Value result;
  call_context_method(shelf.get(), String(u"Many"), args, &result);
  ASSERT_EQ(args.size(), 2u);
  EXPECT_EQ(args[0], nullptr);
  EXPECT_EQ(args[1], &item);
  // The same after a failing call.
  args = {nullptr};
  EXPECT_THROW(call_context_method(shelf.get(), String(u"Swap"), args, &result), ContextException);
  ASSERT_EQ(args.size(), 1u);
  EXPECT_EQ(args[0], nullptr);
}

TEST(ContextCall, ResultsOutParametersAndProcedures) {
  InterfacePtr<Shelf> shelf = make_shelf();
  Value first(u"a");
  Value target;
  std::vector<GenericValue*> args{&first, nullptr, &target};
  Value result;
  call_context_method(shelf.get(), String(u"Обменять"), args, &result);
  EXPECT_TRUE(target.equals(u"a"));  // written back through the out parameter
  EXPECT_TRUE(result.equals(true));  // the omitted second got Null

  std::vector<GenericValue*> none;
  Value stale(5);
  call_context_method(shelf.get(), String(u"Clear"), none, &stale);
  EXPECT_TRUE(is_undefined_value(stale));                            // a procedure gives no result
  call_context_method(shelf.get(), String(u"Take"), none, nullptr);  // result not wanted
  EXPECT_EQ(shelf->count(), -1);
}

struct PropertyCase {
  const char16_t* name;
  bool write;
  const char* error;
};

constexpr PropertyCase kPropertyCases[] = {
    {u"Capacity", false, nullptr},
    {u"вместимость", true, nullptr},
    {u"Count", true, "IDS_RTE_PROP_NOTWRITABLE"},
    {u"Secret", false, "IDS_RTE_PROP_NOTREADABLE"},
    {u"Secret", true, nullptr},
    {u"Nope", false, "IDS_RTE_PROP_NOTFOUND"},
    {u"Nope", true, "IDS_RTE_PROP_NOTFOUND"},
    {u"Put", false, "IDS_RTE_PROP_NOTFOUND"},
};

TEST(ContextCall, PropertyAccessFollowsTheFlags) {
  for (const PropertyCase& c : kPropertyCases) {
    SCOPED_TRACE(String(c.name).toUtf8() + (c.write ? " write" : " read"));
    InterfacePtr<Shelf> shelf = make_shelf();
    Value value(25);
    const auto access = [&] {
      if (c.write) {
        set_context_property(shelf.get(), String(c.name), value);
      } else {
        get_context_property(shelf.get(), String(c.name), value);
      }
    };
    if (c.error == nullptr) {
      EXPECT_NO_THROW(access());
    } else {
      EXPECT_THROW_IDS(access(), ContextException, c.error);
    }
  }
  InterfacePtr<Shelf> shelf = make_shelf();
  set_context_property(shelf.get(), String(u"CAPACITY"), Value(42));
  Value capacity;
  get_context_property(shelf.get(), String(u"Вместимость"), capacity);
  EXPECT_TRUE(capacity.equals(42));
}

TEST(ContextCall, ObjectValueOffersItsContext) {
  InterfacePtr<Shelf> shelf = make_shelf();
  Value held(static_cast<IValue*>(shelf.get()));
  IContext* context = context_of(held.getIValue());
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(context->findMethod(String(u"take")), 1);
  EXPECT_EQ(context_of(Value(1).getIValue()), nullptr);
  EXPECT_EQ(context_of(static_cast<IUnknown*>(nullptr)), nullptr);
}

// ---------------------------------------------------------------------------
// The registry of definitions, groups and run-time properties.

// {4E7A2B90-1C3D-4F56-8A9B-0C1D2E3F4A5B}
constexpr GUID kRegisteredDefId = {
    0x4E7A2B90, 0x1C3D, 0x4F56, {0x8A, 0x9B, 0x0C, 0x1D, 0x2E, 0x3F, 0x4A, 0x5B}};

class RegisteredContext final : public UnknownImpl<IContextExtImplBase> {
 public:
  bool getPropVal(int, GenericValue&) override { return false; }
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int, GenericValue*, std::vector<GenericValue*>&) override { return false; }

 protected:
  GUID contextDefId() override { return kRegisteredDefId; }
};

int g_makes = 0;

InterfacePtr<IContextDefBase> make_shelf_def() {
  ++g_makes;
  return InterfacePtr<IContextDefBase>(new ContextDefCore(Shelf::kTable));
}

TEST(ContextRegistry, DefinitionIsMadeOnceAndResolvedLazily) {
  g_makes = 0;
  InterfacePtr<RegisteredContext> early(new RegisteredContext);
  EXPECT_THROW(early->getNMethods(), IllegalStateException);  // nothing registered yet
  register_context_def(kRegisteredDefId, &make_shelf_def);
  EXPECT_EQ(g_makes, 0);
  InterfacePtr<RegisteredContext> context(new RegisteredContext);
  EXPECT_EQ(context->findMethod(String(u"Взять")), 1);
  InterfacePtr<RegisteredContext> second(new RegisteredContext);
  EXPECT_EQ(second->getNProps(), 5);
  EXPECT_EQ(g_makes, 1);
  EXPECT_EQ(context->getIContextDef(), second->getIContextDef());
  // A context keeps what it resolved after the registry lets go.
  unregister_context_def(kRegisteredDefId);
  EXPECT_FALSE(find_context_def(kRegisteredDefId));
  EXPECT_EQ(context->getNMethods(), 6);
}

TEST(ContextRegistry, GroupJoinsPartsInOrder) {
  InterfacePtr<Shelf> first = make_shelf();
  InterfacePtr<Shelf> second = make_shelf();
  InterfacePtr<GroupContext> group(new GroupContext(
      {InterfacePtr<IContext>(first.get()), InterfacePtr<IContext>(second.get())}));
  EXPECT_EQ(group->getNProps(), 10);
  EXPECT_EQ(group->getNMethods(), 12);
  EXPECT_EQ(group->findProp(String(u"Label")), 3);  // the first part wins
  EXPECT_EQ(String(group->getMethodName(7, 0)), String(u"Take"));
  EXPECT_EQ(group->getPropName(10, 0), nullptr);
  EXPECT_EQ(group->getPropName(-1, 0), nullptr);
  std::vector<GenericValue*> none;
  ASSERT_TRUE(group->call(9, nullptr, none));  // Clear of the second part
  Value value(1);
  std::vector<GenericValue*> args{&value};
  call_context_method(group.get(), 6, args, nullptr);  // Put of the second part
  EXPECT_EQ(second->count(), 1);
  EXPECT_EQ(first->count(), 0);
  EXPECT_FALSE(group->call(12, nullptr, none));
}

class ColumnsDef final : public VTContextDefBase {
 public:
  static constexpr ContextPropDecl kProps[] = {{{u"Owner", u"Владелец"}}};
  static constexpr ContextMethodDecl kMethods[] = {{{u"Count", u"Количество"}, 0, true}};
  static constexpr ContextTable kTable{kProps, kMethods};

  ColumnsDef() noexcept : VTContextDefBase(kTable) {}
  std::vector<std::u16string> columns;
  void changed() { dynamicPropsChanged(); }

 protected:
  int dynamicPropCount() override { return static_cast<int>(columns.size()); }
  const char16_t* dynamicPropName(int prop, int lang) override {
    return lang == 0 || lang == 1 ? columns[static_cast<std::size_t>(prop)].c_str() : nullptr;
  }
  bool isDynamicPropWritable(int) override { return true; }
};

TEST(ContextRegistry, RunTimePropertiesFollowTheirChanges) {
  InterfacePtr<ColumnsDef> def(new ColumnsDef);
  def->columns = {u"Name", u"Цена"};
  EXPECT_EQ(def->getNProps(), 3);
  EXPECT_EQ(def->findProp(String(u"цена")), 2);
  EXPECT_TRUE(def->isPropWritable(2));
  EXPECT_FALSE(def->isPropWritable(0));
  EXPECT_FALSE(def->isPropWritable(3));
  def->columns.emplace_back(u"Amount");
  def->changed();
  EXPECT_EQ(def->findProp(String(u"AMOUNT")), 3);
  EXPECT_EQ(def->findProp(String(u"owner")), 0);
  EXPECT_EQ(def->findMethod(String(u"count")), 0);
}

// ---------------------------------------------------------------------------
// Walking a collection.

class Digits final : public UnknownImpl<IContextIterable> {
 public:
  InterfacePtr<IContextIterator> iterator() override {
    return InterfacePtr<IContextIterator>(new Walk);
  }

 private:
  class Walk final : public UnknownImpl<IContextIterator> {
   public:
    bool next(GenericValue& value) override {
      if (at_ == 3) return false;
      value.assign(at_++);
      return true;
    }

   private:
    int at_ = 0;
  };
};

TEST(ContextIterator, ForEachVisitsEveryElementAndRefusesOthers) {
  InterfacePtr<Digits> digits(new Digits);
  int sum = 0;
  int seen = 0;
  for_each_value(digits.get(), [&](const GenericValue& element) {
    sum += as_int(element);
    ++seen;
  });
  EXPECT_EQ(seen, 3);
  EXPECT_EQ(sum, 3);
  EXPECT_THROW_IDS(for_each_value(Value(1).getIValue(), [](const GenericValue&) {}),
                   UnsupportedOperationException, "IDS_ERR_UNSUPPORTED_OPERATION");
  EXPECT_THROW(iterate_values(nullptr), UnsupportedOperationException);
}

}  // namespace
}  // namespace core
