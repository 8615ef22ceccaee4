#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <optional>
#include <thread>
#include <vector>

#include "core/application_context.h"
#include "core/exception_classes.h"
#include "core/formats.h"
#include "core/messages.h"
#include "core/thread.h"
#include "core/value.h"
#include "core/value_impl.h"
#include "test_util.h"
#include "values/type_registry.h"

namespace core {
namespace {

using testing::in_locale;

using ScopedLevel = testing::ScopedCompatibilityLevel;

TEST(Value, DefaultAndNullAreUndefined) {
  const Value empty;
  EXPECT_TRUE(is_undefined_value(empty));
  EXPECT_EQ(empty.getIValue(), create_undefined_value());
  EXPECT_TRUE(is_undefined_value(Value(static_cast<IValue*>(nullptr))));
  EXPECT_TRUE(is_null_or_undefined_value(Value(create_null_value())));
  EXPECT_TRUE(is_null_or_undefined_value(empty));
  EXPECT_FALSE(is_null_or_undefined_value(Value(false)));
  EXPECT_FALSE(is_null_or_undefined_value(Value(0)));
  EXPECT_FALSE(is_null_or_undefined_value(Value(u"")));
  EXPECT_NE(&Value::undefined(), &proceed_call_unspecified_value());
  EXPECT_TRUE(is_undefined_value(proceed_call_unspecified_value()));
}

TEST(Value, EqualsComparesByKindOnly) {
  EXPECT_TRUE(Value(1).equals(1));
  Numeric thousandths;
  thousandths.fromString("1.000");
  EXPECT_TRUE(Value(thousandths).equals(1));
  EXPECT_TRUE(Value(12.75).equals(Numeric(1275) / Numeric(100)));
  EXPECT_FALSE(Value(u"1").equals(1));
  EXPECT_FALSE(Value(true).equals(1));
  EXPECT_TRUE(Value(true).equals(true));
  EXPECT_FALSE(Value(1).equals(true));
  EXPECT_TRUE(Value(u"text").equals(u"text"));
  EXPECT_FALSE(Value(u"text").equals(u"Text"));
  EXPECT_TRUE(Value(Date(2020, 2, 29)).equals(Date(2020, 2, 29)));
  EXPECT_FALSE(Value(Date(2020, 2, 29)).equals(Date(2020, 2, 29, 0, 0, 1)));
  EXPECT_FALSE(Value(1.0).equals(std::numeric_limits<double>::quiet_NaN()));
  // Between holders the held value decides.
  EXPECT_TRUE(Value(7).equals(Value(7.0)));
  EXPECT_FALSE(Value(7).equals(Value(u"7")));
  EXPECT_TRUE(Value().equals(Value()));
  EXPECT_FALSE(Value().equals(Value(create_null_value())));
}

TEST(Value, HashCodes) {
  EXPECT_EQ(Value().hashCode(), 2147483647);
  EXPECT_EQ(Value(create_null_value()).hashCode(), 2147483646);
  EXPECT_EQ(Value(false).hashCode(), 2147483644);
  EXPECT_EQ(Value(true).hashCode(), 2147483645);
  EXPECT_EQ(Value(12.75).hashCode(), 12);
  EXPECT_EQ(Value(-3).hashCode(), -3);
  EXPECT_EQ(Value(0.5).hashCode(), 0);
  // A billion is stored as one limb with the zero limb below it dropped.
  EXPECT_EQ(Value(1000000000).hashCode(), 1000000000);
  const uint32_t expected = static_cast<uint32_t>(1000000000ull * 1000000000ull);
  EXPECT_EQ(Value(1000000000000000000ll).hashCode(), static_cast<int32_t>(expected));
  EXPECT_EQ(Value(u"same").hashCode(), Value(String(u"same")).hashCode());
  EXPECT_NE(Value(Date(2020, 1, 1)).hashCode(), Value(Date(2020, 1, 2)).hashCode());
}

TEST(Value, StringToBooleanTakesTheFourWordsWithSpaceAround) {
  in_locale(u"ru_RU", [] {
    bool result = true;
    EXPECT_TRUE(Value(u" истина ").getBoolean(result));
    EXPECT_TRUE(result);
    EXPECT_TRUE(Value(u"\tFALSE\n").getBoolean(result));
    EXPECT_FALSE(result);
    result = true;
    EXPECT_FALSE(Value(u"истина да").getBoolean(result));
    EXPECT_FALSE(result);
    result = true;
    EXPECT_FALSE(Value(u"yes").getBoolean(result));
    EXPECT_FALSE(result);
  });
}

// The answer words were read as booleans in any case, so u"yes" was true.
TEST(ValueRegression, YesConvertedToBoolean) {
  struct Case {
    const char16_t* locale;
    int level;  // the host's compatibility level; 0 for no application context
    const char16_t* text;
    bool converts;
    bool result;
  };
  const Case cases[] = {
      {u"en_US", 0, u"yes", false, false},    {u"en_US", 0, u"Yes", false, false},
      {u"en_US", 0, u" NO ", false, false},   {u"en_US", 1, u"yes", false, false},
      {u"ru_RU", 0, u"да", false, false},     {u"ru_RU", 0, u"Нет", false, false},
      {u"en_US", 0, u"TRUE", true, true},     {u"en_US", 0, u"ложь", true, false},
      {u"ru_RU", 0, u" Истина ", true, true}, {u"ru_RU", 1, u"false", true, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(String(c.text).toUtf8() + " in " + String(c.locale).toUtf8());
    in_locale(c.locale, [&] {
      std::optional<ScopedLevel> level;
      if (c.level != 0) level.emplace(c.level);
      bool result = !c.result;
      EXPECT_EQ(Value(c.text).getBoolean(result), c.converts);
      EXPECT_EQ(result, c.result);
    });
  }
}

TEST(Value, ConversionsOfThePrimitiveKinds) {
  in_locale(u"en_US", [] {
    Numeric number;
    EXPECT_TRUE(Value(true).getNumeric(number));
    EXPECT_EQ(number, Numeric(1));
    bool flag = false;
    EXPECT_TRUE(Value(0.5).getBoolean(flag));
    EXPECT_TRUE(flag);
    EXPECT_TRUE(Value(0).getBoolean(flag));
    EXPECT_FALSE(flag);
    EXPECT_TRUE(Value(u" 12.5 ").getNumeric(number));
    EXPECT_EQ(number, Numeric(125) / Numeric(10));
    EXPECT_FALSE(Value(u"12.5x").getNumeric(number));
    Date date;
    EXPECT_TRUE(Value(u"20200229").getDate(date));
    EXPECT_EQ(date, Date(2020, 2, 29));
    EXPECT_FALSE(Value(12).getDate(date));
    EXPECT_EQ(to_string(Value(u"text")), String(u"text"));
    EXPECT_EQ(to_string(Value()), String());
    EXPECT_EQ(to_string(Value(12345.5)),
              Thread::getNumericFormat().format(Numeric(123455) / Numeric(10)));
    const DateFormat& dates = Thread::getDateFormat();
    EXPECT_EQ(to_string(Value(Date(2020, 2, 29, 13, 5, 0))),
              dates.format(Date(2020, 2, 29, 13, 5, 0), dates.getPattern(4)));
    EXPECT_EQ(to_string(Value(true)), Thread::getBoolFormat().format(true));
  });
}

TEST(Value, BooleanTextsFollowTheCompatibilityLevel) {
  in_locale(u"en_US", [] {
    const String current = to_string(Value(true));
    {
      ScopedLevel old_release(1);
      EXPECT_EQ(to_string(Value(true)), String(u"True"));
      EXPECT_EQ(to_string(Value(false)), String(u"False"));
    }
    EXPECT_EQ(to_string(Value(true)), current);
  });
}

TEST(Value, AssignmentAcquiresBeforeReleasing) {
  InterfacePtr<IValue> number = create_numeric_value(5);
  EXPECT_EQ(number->acquire(), 2);  // created with a count of 1
  number->release();
  Value held(number.get());
  Value& alias = held;
  held = alias;
  held.setIValue(held.getIValue());
  EXPECT_TRUE(held.equals(5));
  EXPECT_EQ(number->acquire(), 3);
  number->release();

  IValue* detached = held.detachIValue();
  EXPECT_TRUE(is_undefined_value(held));
  EXPECT_EQ(detached, number.get());
  detached->release();

  Value moved(std::move(held));
  EXPECT_TRUE(is_undefined_value(held));  // NOLINT(bugprone-use-after-move)
}

TEST(WeakValue, OwnsOnlyAfterItsFirstAssignment) {
  InterfacePtr<IValue> first = create_string_value(u"first");
  {
    WeakValue weak(first.get());
    EXPECT_FALSE(weak.ownsValue());
    EXPECT_EQ(first->acquire(), 2);  // no reference taken
    first->release();
    weak.assign(u"second");
    EXPECT_TRUE(weak.ownsValue());
    EXPECT_TRUE(weak.equals(u"second"));
  }
  EXPECT_EQ(first->acquire(), 2);  // still only ours
  first->release();
}

TEST(Value, SingletonsSurviveAnyCounting) {
  IValue* undefined = create_undefined_value();
  for (int i = 0; i < 3; ++i) undefined->release();
  EXPECT_EQ(create_undefined_value(), undefined);
  EXPECT_TRUE(is_undefined_value(Value(undefined)));
  EXPECT_EQ(create_boolean_value(true), Value(true).getIValue());
  EXPECT_NE(create_boolean_value(true), create_boolean_value(false));
}

// Equality of a Number with an integer argument, read off the limbs.
struct IntegerEqualsCase {
  const char* number;  // the held Number, as decimal text
  long long integer;
  bool equal;
};

const IntegerEqualsCase kIntegerEquals[] = {
    {"0", 0, true},
    {"-0.000", 0, true},
    {"0.5", 0, false},
    {"1", 1, true},
    {"1.000", 1, true},
    {"1.0000000001", 1, false},
    {"-3", -3, true},
    {"3", -3, false},
    {"-3", 3, false},
    {"1000000000", 1000000000, true},
    {"1000000000000000000", 1000000000000000000LL, true},
    {"1000000000000000001", 1000000000000000000LL, false},
    {"-9223372036854775808", std::numeric_limits<long long>::min(), true},
    {"9223372036854775807", std::numeric_limits<long long>::max(), true},
    {"9223372036854775807.5", std::numeric_limits<long long>::max(), false},
    {"1000000000000000000000000000", 0, false},
    {"1000000000000000000000000000", 1000000000, false},
    {"123456789012", 123456789012LL, true},
    {"123456789012.000000001", 123456789012LL, false},
};

TEST(Value, EqualsAnIntegerByItsDigits) {
  for (const IntegerEqualsCase& c : kIntegerEquals) {
    SCOPED_TRACE(c.number);
    Numeric number;
    number.fromString(c.number);
    const Value value(number);
    EXPECT_EQ(value.equals(c.integer), c.equal);
    EXPECT_EQ(value.equals(Numeric(c.integer)), c.equal);
    if (c.integer >= 0) {
      EXPECT_EQ(value.equals(static_cast<unsigned long long>(c.integer)), c.equal);
    }
    if (c.integer >= std::numeric_limits<int>::min() &&
        c.integer <= std::numeric_limits<int>::max()) {
      EXPECT_EQ(value.equals(static_cast<int>(c.integer)), c.equal);
    }
  }
  EXPECT_TRUE(Value(std::numeric_limits<unsigned long long>::max())
                  .equals(std::numeric_limits<unsigned long long>::max()));
  EXPECT_FALSE(Value(-1).equals(std::numeric_limits<unsigned long long>::max()));
}

// A value implemented by hand, directly on IValue: holders count it through
// its own acquire() and release().
class HandValue final : public IValue {
 public:
  IType* getIType() const override { return Type(TypeCode::Number).getIType(); }
  bool getBoolean(bool&) override { return false; }
  bool getNumeric(Numeric& out) override {
    out = Numeric(8);
    return true;
  }
  bool getString(String&) override { return false; }
  bool getDate(Date&) override { return false; }
  bool isEqual(IValue* other) override { return other == this; }
  int32_t hashCode() override { return 8; }
  void* getDataPtr() override { return nullptr; }
  bool queryInterface(const GUID&, void** out) override {
    *out = nullptr;
    return false;
  }
  int32_t acquire() override { return ++count; }
  int32_t release() override { return --count; }

  int32_t count = 0;
};

TEST(Value, HandMadeValuesAreCountedThroughTheirOwnCalls) {
  HandValue hand;
  {
    Value held(&hand);
    EXPECT_EQ(hand.count, 1);
    Value copy = held;
    InterfacePtr<IValue> pointer(&hand);
    EXPECT_EQ(hand.count, 3);
    EXPECT_TRUE(copy.equals(8));  // a Number by its type, not by its class
    Value moved = std::move(copy);
    EXPECT_EQ(hand.count, 3);
  }
  EXPECT_EQ(hand.count, 0);
}

// An object value built on the library's bases, which counts its
// destructions: it is counted without virtual calls, and whichever holder
// lets go last, on whatever thread, destroys it exactly once.
std::atomic<int> shelves_destroyed{0};

class CountedShelf final : public ObjectValueCore {
 public:
  CountedShelf() : ObjectValueCore(nullptr) {}
  ~CountedShelf() override { ++shelves_destroyed; }
};

TEST(Value, TheLastHolderOnAnyThreadDestroysAnObjectValue) {
  shelves_destroyed = 0;
  constexpr int kObjects = 200;
  std::vector<Value> values;
  for (int i = 0; i < kObjects; ++i) values.emplace_back(static_cast<IValue*>(new CountedShelf));
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([copies = values, t]() mutable {
      for (int round = 0; round < 50; ++round) {
        std::vector<Value> more(copies.begin(), copies.end());
        InterfacePtr<IValue> pointer(more[static_cast<std::size_t>(round + t)].getIValue());
        pointer->acquire();
        pointer->release();
      }
    });
  }
  values.clear();
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(shelves_destroyed.load(), kObjects);
}

class Gadget : public UnknownImpl<IApplicationContext> {
 public:
  int compatibilityLevel() override { return 0; }
};

TEST(Value, ObjectsThatAreNotValuesAreWrappedAsComObjects) {
  InterfacePtr<IApplicationContext> gadget(new Gadget);
  const Value wrapped(static_cast<IUnknown*>(gadget.get()));
  EXPECT_EQ(wrapped.type().getTypeCode(), TypeCode::Object);
  EXPECT_TRUE(wrapped.type().isCOMType());
  EXPECT_TRUE(wrapped.equals(Value(static_cast<IUnknown*>(gadget.get()))));
  // A value handed over as IUnknown is held as itself.
  InterfacePtr<IValue> number = create_numeric_value(3);
  EXPECT_EQ(Value(static_cast<IUnknown*>(number.get())).getIValue(), number.get());
  EXPECT_TRUE(is_undefined_value(Value(static_cast<IUnknown*>(nullptr))));
}

TEST(Type, PrimitiveTypesByCodeGuidAndName) {
  for (TypeCode code : {TypeCode::Undefined, TypeCode::Null, TypeCode::Boolean, TypeCode::Number,
                        TypeCode::String, TypeCode::Date, TypeCode::Type}) {
    IType* type = Type::create_type(code);
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->getTypeCode(), code);
    EXPECT_EQ(Type(type->getCLSID()).getIType(), type);
    EXPECT_EQ(Type(type->getName(Language::English)).getIType(), type);
    EXPECT_EQ(Type(type->getName(Language::Russian)).getIType(), type);
    EXPECT_EQ(type->getName(static_cast<Language>(2)), nullptr);
    EXPECT_FALSE(type->getPresentation().empty());
  }
  EXPECT_EQ(Type::create_type(static_cast<TypeCode>(6)), nullptr);
  EXPECT_EQ(Type(u"число").getTypeCode(), TypeCode::Number);
  EXPECT_EQ(String(Type::create_type(TypeCode::Null)->getName(Language::Russian)), String(u"Null"));
  EXPECT_EQ(Value(12).type(), Type(TypeCode::Number));
}

TEST(Type, UnknownNamesAndGuidsThrowTypeException) {
  try {
    Type type(u"NoSuchType");
    ADD_FAILURE();
  } catch (const TypeException& e) {
    EXPECT_EQ(e.descr(),
              format_message(load_core_wstring("IDS_TYPEERROR_TYPENOTDEFINED"), {u"NoSuchType"}));
  }
  const GUID unknown = GUID::parse(u"01234567-89ab-cdef-0123-456789abcdef");
  EXPECT_THROW(Type{unknown}, TypeException);
  EXPECT_THROW(Type(static_cast<TypeCode>(42)), TypeException);
}

TEST(Type, TypeValuesPresentTheirTypeOrReportTheUnknownGuid) {
  in_locale(u"ru_RU", [] {
    const Value number_type(create_type_value(Type(TypeCode::Number).getCLSID()).get());
    EXPECT_EQ(to_string(number_type), String(u"Число"));
    EXPECT_TRUE(
        number_type.equals(Value(Type(TypeCode::Number).getITypeValue().query<IValue>().get())));

    const GUID unknown = GUID::parse(u"01234567-89ab-cdef-0123-456789abcdef");
    const Value orphan(create_type_value(unknown).get());
    EXPECT_EQ(to_string(orphan), format_message(load_core_wstring("IDS_TYPEERROR_TYPENOTDEFINED"),
                                                {unknown.toString()}));
    {
      ScopedLevel before(kCompatibilityUnknownTypeText - 1);
      String text;
      EXPECT_THROW((void)orphan.getString(text), TypeException);
    }
    ScopedLevel from(kCompatibilityUnknownTypeText);
    EXPECT_FALSE(to_string(orphan).empty());
  });
}

// Types of the registry tests: two class identifiers, names chosen so that
// they collide across identifiers.
constexpr GUID kLedgerClsid = {
    0x7A3E91C2, 0x14B5, 0x4C6D, {0x8E, 0x9F, 0xA0, 0xB1, 0xC2, 0xD3, 0xE4, 0xF5}};
constexpr GUID kBinderClsid = {
    0x7A3E91C3, 0x14B5, 0x4C6D, {0x8E, 0x9F, 0xA0, 0xB1, 0xC2, 0xD3, 0xE4, 0xF5}};

class NamedType : public ObjectTypeCore {
 public:
  NamedType(const GUID& clsid, const char16_t* english, const char16_t* russian)
      : ObjectTypeCore(clsid, english, russian, "IDS_TYPE_PRESENTATION_VALUEARRAY", false) {}
  InterfacePtr<IValue> createIValue() override { return nullptr; }
};

// The CLSID a name finds now, or the all-zero GUID when it finds nothing.
GUID found_by_name(const char16_t* name) {
  const InterfacePtr<IType> type = detail::find_type(std::u16string_view(name));
  return type ? type->getCLSID() : GUID{};
}

// The references held on `type`, the caller's included.
int32_t references(IType* type) {
  type->acquire();
  return type->release();
}

// Regression: a type replaced under its class identifier kept its names, so
// Type(name) read the released type; and unregistering one bearer of a
// shared name took the name from the other bearer too.
TEST(Type, ReplacedTypeKeptItsNamesAndSharedNamesWereDropped) {
  const InterfacePtr<IType> first(new NamedType(kLedgerClsid, u"Ledger", u"Гроссбух"));
  const InterfacePtr<IType> second(new NamedType(kLedgerClsid, u"Journal", u"Журнал"));
  const InterfacePtr<IType> binder(new NamedType(kBinderClsid, u"Ledger", u"Папка"));
  detail::register_type(first.get());
  detail::register_type(second.get());
  EXPECT_THROW(Type(u"ledger"), TypeException);
  EXPECT_THROW(Type(u"Гроссбух"), TypeException);
  EXPECT_EQ(Type(u"журнал").getIType(), second.get());
  EXPECT_EQ(references(first.get()), 1);  // the registry let go of it

  detail::register_type(binder.get());
  detail::register_type(first.get());  // takes the identifier and "Ledger" back
  EXPECT_EQ(found_by_name(u"Journal"), GUID{});
  EXPECT_EQ(Type(u"Ledger").getIType(), first.get());
  detail::unregister_type(first.get());
  EXPECT_EQ(Type(u"Ledger").getIType(), binder.get());
  EXPECT_EQ(found_by_name(u"Гроссбух"), GUID{});
  detail::unregister_type(binder.get());
  EXPECT_EQ(found_by_name(u"Ledger"), GUID{});
  EXPECT_EQ(found_by_name(u"Папка"), GUID{});
  for (IType* type : {first.get(), second.get(), binder.get()}) EXPECT_EQ(references(type), 1);
}

TEST(Value, SharedValuesAcrossThreadsAndLanguages) {
  const Value shared_number(1234.5);
  const Value shared_type(create_type_value(Type(TypeCode::String).getCLSID()).get());
  std::atomic<int> mismatches{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      Thread::setLocale(Locale(t % 2 == 0 ? u"en_US" : u"ru_RU"));
      Thread::setLanguage(static_cast<Language>(t % 2));
      const String expected_number = to_string(shared_number);
      const String expected_type = to_string(shared_type);
      for (int i = 0; i < 2000; ++i) {
        Value copy = shared_number;
        if (to_string(copy) != expected_number || to_string(shared_type) != expected_type) {
          ++mismatches;
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(mismatches.load(), 0);
  EXPECT_EQ(shared_number.getIValue()->acquire(), 2);
  shared_number.getIValue()->release();
}

}  // namespace
}  // namespace core
