#include "core/collections.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "core/exception_classes.h"
#include "core/io.h"
#include "core/persistence.h"
#include "test_util.h"

namespace core {
namespace {

Value make(const char16_t* type_name, std::initializer_list<Value> args = {}) {
  std::vector<Value> held(args);
  std::vector<GenericValue*> params;
  for (Value& arg : held) params.push_back(&arg);
  return Value(Type(type_name).getIType()->ctor(params).get());
}

using testing::call;
using testing::prop;

String text(const Value& value) { return to_string(value); }

// ---------------------------------------------------------------------------
// Types and tables.

struct TypeCase {
  const char16_t* english;
  const char16_t* russian;
  const char* presentation_en;
};

constexpr TypeCase kTypes[] = {
    {u"KeyAndValue", u"КлючИЗначение", "Key and value"},
    {u"Array", u"Массив", "Array"},
    {u"FixedArray", u"ФиксированныйМассив", "Fixed array"},
    {u"Map", u"Соответствие", "Map"},
    {u"FixedMap", u"ФиксированноеСоответствие", "Fixed map"},
    {u"Structure", u"Структура", "Structure"},
    {u"FixedStructure", u"ФиксированнаяСтруктура", "Fixed structure"},
};

TEST(CollectionTypes, BothNamesFindOneTypeWithItsPresentation) {
  EXPECT_EQ(Type(u"array").getIType(), Type(u"МАССИВ").getIType());
  for (const TypeCase& c : kTypes) {
    SCOPED_TRACE(String(c.english).toUtf8());
    const Type english(c.english);
    EXPECT_EQ(english.getIType(), Type(c.russian).getIType());
    EXPECT_EQ(String(english.getIType()->getName(Language::Russian)), String(c.russian));
    testing::in_locale(u"en", [&] {
      EXPECT_EQ(english.getIType()->getPresentation().toUtf8(), c.presentation_en);
    });
    const Value value(english.createIValue().get());
    EXPECT_EQ(value.type().getIType(), english.getIType());
    EXPECT_NE(context_of(value.getIValue()), nullptr);
  }
}

struct MethodCase {
  const char16_t* type;
  int index;
  const char16_t* english;
  const char16_t* russian;
  int params;
  bool returns;
  int optional;  // the index of the parameter that may be omitted, or -1
};

constexpr MethodCase kMethods[] = {
    {u"Array", 0, u"Count", u"Количество", 0, true, -1},
    {u"Array", 1, u"UBound", u"ВГраница", 0, true, -1},
    {u"Array", 2, u"Insert", u"Вставить", 2, false, 1},
    {u"Array", 3, u"Add", u"Добавить", 1, false, 0},
    {u"Array", 4, u"Delete", u"Удалить", 1, false, -1},
    {u"Array", 5, u"Clear", u"Очистить", 0, false, -1},
    {u"Array", 6, u"Get", u"Получить", 1, true, -1},
    {u"Array", 7, u"Set", u"Установить", 2, false, -1},
    {u"Array", 8, u"Find", u"Найти", 1, true, -1},
    {u"FixedArray", 0, u"Count", u"Количество", 0, true, -1},
    {u"FixedArray", 1, u"UBound", u"ВГраница", 0, true, -1},
    {u"FixedArray", 2, u"Get", u"Получить", 1, true, -1},
    {u"FixedArray", 3, u"Find", u"Найти", 1, true, -1},
    {u"Map", 0, u"Count", u"Количество", 0, true, -1},
    {u"Map", 1, u"Insert", u"Вставить", 2, false, 1},
    {u"Map", 2, u"Delete", u"Удалить", 1, false, -1},
    {u"Map", 3, u"Clear", u"Очистить", 0, false, -1},
    {u"Map", 4, u"Get", u"Получить", 1, true, -1},
    {u"FixedMap", 0, u"Count", u"Количество", 0, true, -1},
    {u"FixedMap", 1, u"Get", u"Получить", 1, true, -1},
    {u"Structure", 0, u"Count", u"Количество", 0, true, -1},
    {u"Structure", 1, u"Insert", u"Вставить", 2, false, 1},
    {u"Structure", 2, u"Delete", u"Удалить", 1, false, -1},
    {u"Structure", 3, u"Clear", u"Очистить", 0, false, -1},
    {u"Structure", 4, u"Property", u"Свойство", 2, true, 1},
    {u"FixedStructure", 0, u"Count", u"Количество", 0, true, -1},
    {u"FixedStructure", 1, u"Property", u"Свойство", 2, true, 1},
};

TEST(CollectionTypes, MethodTablesInSlotOrder) {
  int expected_counts[std::size(kTypes)] = {};
  for (const MethodCase& c : kMethods) {
    SCOPED_TRACE(String(c.english).toUtf8());
    const Value object(Type(c.type).createIValue().get());
    IContextDefBase* def = context_of(object.getIValue())->getIContextDef();
    EXPECT_EQ(String(def->getMethodName(c.index, 0)), String(c.english));
    EXPECT_EQ(String(def->getMethodName(c.index, 1)), String(c.russian));
    EXPECT_EQ(def->findMethod(String(c.russian)), c.index);
    EXPECT_EQ(def->getNParams(c.index), c.params);
    EXPECT_EQ(def->hasRetVal(c.index), c.returns);
    for (int p = 0; p < c.params; ++p) {
      Value given(u"sentinel");
      EXPECT_EQ(def->getParamDefValue(c.index, p, &given), p == c.optional);
      if (p == c.optional) {
        EXPECT_TRUE(is_undefined_value(given));
      }
    }
    for (std::size_t t = 0; t < std::size(kTypes); ++t) {
      if (String(kTypes[t].english) == String(c.type)) {
        ++expected_counts[t];
      }
    }
  }
  for (std::size_t t = 0; t < std::size(kTypes); ++t) {
    const Value object(Type(kTypes[t].english).createIValue().get());
    EXPECT_EQ(context_of(object.getIValue())->getIContextDef()->getNMethods(), expected_counts[t])
        << String(kTypes[t].english).toUtf8();
  }
}

// ---------------------------------------------------------------------------
// Arrays.

TEST(ArrayTest, CountsAndBounds) {
  const Value array = make(u"Array");
  EXPECT_TRUE(call(array, u"Count").equals(0));
  EXPECT_TRUE(call(array, u"UBound").equals(-1));
  call(array, u"Добавить");  // Add() appends Undefined
  call(array, u"Add", {Value(u"b")});
  EXPECT_TRUE(call(array, u"ВГраница").equals(1));
  EXPECT_TRUE(is_undefined_value(call(array, u"Get", {Value(0)})));
  EXPECT_TRUE(is_undefined_value(call(array, u"Add", {Value(1)})));  // a procedure
}

TEST(ArrayTest, IndexTakesTheIntegerPartTowardZero) {
  const Value array = make(u"Array");
  for (const char16_t* item : {u"a", u"b", u"c"}) call(array, u"Add", {Value(item)});
  EXPECT_TRUE(call(array, u"Get", {Value(2.7)}).equals(u"c"));
  EXPECT_TRUE(call(array, u"Get", {Value(-0.5)}).equals(u"a"));
  EXPECT_THROW_IDS(call(array, u"Get", {Value(3)}), ContextException, "IDS_INDEX_OFFBOUND");
  EXPECT_THROW_IDS(call(array, u"Get", {Value(-1)}), ContextException, "IDS_INDEX_OFFBOUND");
  EXPECT_THROW_IDS(call(array, u"Set", {Value(1e30), Value(1)}), ContextException,
                   "IDS_INDEX_OFFBOUND");
  EXPECT_THROW_IDS(call(array, u"Delete", {Value(3)}), ContextException, "IDS_INDEX_OFFBOUND");
  EXPECT_THROW_IDS(call(array, u"Get", {Value(u"1")}), ContextException,
                   "IDS_PARAMETER_N_TYPE_MISMATCH");
  EXPECT_THROW_IDS(call(array, u"Insert", {Value(-1), Value(1)}), ContextException,
                   "IDS_PARAMETER_N_VALUE_MISMATCH");
  EXPECT_THROW_IDS(call(array, u"Insert", {Value()}), ContextException,
                   "IDS_PARAMETER_N_TYPE_MISMATCH");
  EXPECT_THROW_IDS(call(array, u"Get"), ContextException, "IDS_NOT_ENOUGH_PARAMETERS");
  EXPECT_TRUE(call(array, u"Count").equals(3));  // nothing changed by the failures
}

TEST(ArrayTest, InsertDeleteSetFind) {
  const Value array = make(u"Array");
  call(array, u"Insert", {Value(0), Value(u"b")});
  call(array, u"Insert", {Value(0), Value(u"a")});
  call(array, u"Insert", {Value(100), Value(u"z")});  // above Count: appended
  call(array, u"Insert", {Value(2)});                 // the value omitted: Undefined
  ASSERT_TRUE(call(array, u"Count").equals(4));
  EXPECT_TRUE(call(array, u"Get", {Value(3)}).equals(u"z"));
  EXPECT_TRUE(is_undefined_value(call(array, u"Get", {Value(2)})));
  call(array, u"Delete", {Value(2)});
  call(array, u"Set", {Value(1), Value(u"a")});
  EXPECT_TRUE(call(array, u"Find", {Value(u"a")}).equals(0));
  EXPECT_TRUE(call(array, u"Find", {Value(u"z")}).equals(2));
  EXPECT_TRUE(is_undefined_value(call(array, u"Find", {Value(u"A")})));
  EXPECT_TRUE(is_undefined_value(call(array, u"Find", {Value(7)})));
  call(array, u"Clear");
  EXPECT_TRUE(call(array, u"Count").equals(0));
}

TEST(ArrayTest, FindUsesTheUniversalEquality) {
  const Value array = make(u"Array");
  call(array, u"Add", {Value(u"1")});
  call(array, u"Add", {Value(1.0)});
  call(array, u"Add", {Value(1)});
  EXPECT_TRUE(call(array, u"Find", {Value(1)}).equals(1));
  EXPECT_TRUE(call(array, u"Find", {Value(u"1")}).equals(0));
}

TEST(ArrayTest, Constructors) {
  const Value sized = make(u"Array", {Value(3)});
  EXPECT_TRUE(call(sized, u"Count").equals(3));
  const Value grid = make(u"Массив", {Value(2), Value(3)});
  ASSERT_TRUE(call(grid, u"Count").equals(2));
  const Value row = call(grid, u"Get", {Value(1)});
  EXPECT_TRUE(call(row, u"Count").equals(3));
  EXPECT_NE(row.getIValue(), call(grid, u"Get", {Value(0)}).getIValue());
  EXPECT_THROW_IDS(make(u"Array", {Value(-1)}), CtorException, "IDS_PARAMETER_N_VALUE_MISMATCH");
  EXPECT_THROW_IDS(make(u"Array", {Value(1e12)}), CtorException, "IDS_PARAMETER_N_VALUE_MISMATCH");
  EXPECT_THROW_IDS(make(u"Array", {Value(u"x")}), CtorException, "IDS_PARAMETER_N_TYPE_MISMATCH");
}

TEST(FixedArrayTest, CopiesItsSourceAndOnlyReads) {
  const Value array = make(u"Array");
  call(array, u"Add", {Value(u"a")});
  const Value fixed = make(u"FixedArray", {array});
  call(array, u"Add", {Value(u"b")});
  EXPECT_TRUE(call(fixed, u"Count").equals(1));
  EXPECT_TRUE(call(fixed, u"UBound").equals(0));
  EXPECT_TRUE(call(fixed, u"Find", {Value(u"a")}).equals(0));
  EXPECT_TRUE(call(fixed, u"Get", {Value(0.9)}).equals(u"a"));
  EXPECT_THROW_IDS(call(fixed, u"Add", {Value(1)}), ContextException, "IDS_RTE_PROP_NOTFOUND");
  EXPECT_THROW_IDS(make(u"FixedArray", {Value(1)}), CtorException, "IDS_PARAMETER_N_TYPE_MISMATCH");
}

// ---------------------------------------------------------------------------
// Maps.

TEST(MapTest, KeysByUniversalEquality) {
  const Value map = make(u"Соответствие");
  call(map, u"Insert", {Value(1), Value(u"one")});
  call(map, u"Insert", {Value(1.0), Value(u"uno")});  // the same key: replaced
  call(map, u"Insert", {Value(u"k"), Value(u"lower")});
  call(map, u"Insert", {Value(u"K"), Value(u"upper")});
  call(map, u"Insert", {Value(u"1")});
  EXPECT_TRUE(call(map, u"Count").equals(4));
  EXPECT_TRUE(call(map, u"Get", {Value(1)}).equals(u"uno"));
  EXPECT_TRUE(call(map, u"Get", {Value(u"K")}).equals(u"upper"));
  EXPECT_TRUE(is_undefined_value(call(map, u"Get", {Value(u"1")})));
  EXPECT_TRUE(is_undefined_value(call(map, u"Get", {Value(2)})));
  call(map, u"Delete", {Value(u"k")});
  call(map, u"Delete", {Value(u"absent")});
  EXPECT_TRUE(call(map, u"Count").equals(3));
  const Value fixed = make(u"FixedMap", {map});
  call(map, u"Clear");
  EXPECT_TRUE(call(map, u"Count").equals(0));
  EXPECT_TRUE(call(fixed, u"Get", {Value(1.0)}).equals(u"uno"));
  EXPECT_THROW_IDS(call(fixed, u"Insert", {Value(1)}), ContextException, "IDS_RTE_PROP_NOTFOUND");
}

// Many keys, deletions among them: every lookup must still find its key
// after the slots were shifted back and the associations squeezed.
TEST(MapTest, DeletionsKeepEveryOtherKeyReachable) {
  const InterfacePtr<Map> map = create_map();
  for (int i = 0; i < 2000; ++i) map->insert(Value(i * 7), Value(i));
  for (int i = 0; i < 2000; i += 3) map->remove(Value(i * 7));
  for (int i = 0; i < 2000; ++i) {
    const Value* found = map->find(Value(i * 7));
    ASSERT_EQ(found != nullptr, i % 3 != 0) << i;
    if (found != nullptr) {
      EXPECT_TRUE(found->equals(i));
    }
  }
  EXPECT_EQ(map->count(), 2000 - 667);
}

// ---------------------------------------------------------------------------
// Structures.

struct KeyCase {
  const char16_t* key;
  const char16_t* stored;  // null: refused with "IDS_VS_BADPROPNAME_ERROR"
};

constexpr KeyCase kKeys[] = {
    {u" Name ", u"Name"}, {u"_x1", u"_x1"},       {u"Имя", u"Имя"}, {u"\tTab\n", u"Tab"},
    {u"1abc", nullptr},   {u"a b", nullptr},      {u"", nullptr},   {u"   ", nullptr},
    {u"a-b", nullptr},    {u"Ключ_2", u"Ключ_2"},
};

TEST(StructureTest, KeyRule) {
  for (const KeyCase& c : kKeys) {
    SCOPED_TRACE(String(c.key).toUtf8());
    const Value structure = make(u"Structure");
    if (c.stored == nullptr) {
      EXPECT_THROW_IDS(call(structure, u"Insert", {Value(c.key), Value(1)}), ContextException,
                       "IDS_VS_BADPROPNAME_ERROR");
      EXPECT_THROW_IDS(call(structure, u"Property", {Value(c.key)}), ContextException,
                       "IDS_VS_BADPROPNAME_ERROR");
      continue;
    }
    call(structure, u"Insert", {Value(c.key), Value(1)});
    std::vector<String> keys;
    for_each_value(structure.getIValue(), [&](const GenericValue& pair) {
      keys.push_back(text(prop(Value(pair), u"Key")));
    });
    ASSERT_EQ(keys.size(), 1u);
    EXPECT_EQ(keys[0], String(c.stored));
  }
}

TEST(StructureTest, KeysAreCaseInsensitivePropertiesInBothAlphabets) {
  const Value structure = make(u"Структура");
  call(structure, u"Вставить", {Value(u"Имя"), Value(u"Иван")});
  call(structure, u"Insert", {Value(u"Age"), Value(42)});
  call(structure, u"Insert", {Value(u"AGE"), Value(43)});  // the same key
  EXPECT_TRUE(call(structure, u"Count").equals(2));
  EXPECT_TRUE(prop(structure, u"ИМЯ").equals(u"Иван"));
  EXPECT_TRUE(prop(structure, u"age").equals(43));
  set_context_property(context_of(structure.getIValue()), String(u"имя"), Value(u"Пётр"));
  Value out;
  std::vector<GenericValue*> args{nullptr, &out};
  Value key(u" имя ");
  args[0] = &key;
  Value found;
  call_context_method(context_of(structure.getIValue()), String(u"Свойство"), args, &found);
  EXPECT_TRUE(found.equals(true));
  EXPECT_TRUE(out.equals(u"Пётр"));
  EXPECT_TRUE(call(structure, u"Property", {Value(u"Age")}).equals(true));
  EXPECT_TRUE(call(structure, u"Property", {Value(u"Missing")}).equals(false));
  EXPECT_THROW_IDS(prop(structure, u"Missing"), ContextException, "IDS_RTE_PROP_NOTFOUND");
  call(structure, u"Delete", {Value(u"имя")});
  EXPECT_TRUE(call(structure, u"Count").equals(1));
  EXPECT_TRUE(prop(structure, u"Age").equals(43));  // positions squeezed: still found
  EXPECT_THROW_IDS(prop(structure, u"Имя"), ContextException, "IDS_RTE_PROP_NOTFOUND");
}

TEST(StructureTest, ConstructorsAndTheFixedVariant) {
  const Value structure = make(u"Structure", {Value(u"a, b,c"), Value(1), Value(2)});
  EXPECT_TRUE(call(structure, u"Count").equals(3));
  EXPECT_TRUE(prop(structure, u"B").equals(2));
  EXPECT_TRUE(is_undefined_value(prop(structure, u"c")));
  EXPECT_THROW_IDS(make(u"Structure", {Value(u"a,1b")}), CtorException, "IDS_VS_BADPROPNAME_ERROR");
  EXPECT_THROW_IDS(make(u"Structure", {Value(u"a"), Value(1), Value(2)}), CtorException,
                   "IDS_TOO_MANY_PARAMETERS");
  EXPECT_THROW_IDS(make(u"Structure", {Value(5)}), CtorException, "IDS_PARAMETER_N_TYPE_MISMATCH");
  const Value fixed = make(u"FixedStructure", {structure});
  call(structure, u"Clear");
  EXPECT_TRUE(call(fixed, u"Count").equals(3));
  EXPECT_TRUE(prop(fixed, u"a").equals(1));
  EXPECT_THROW_IDS(set_context_property(context_of(fixed.getIValue()), String(u"a"), Value(5)),
                   ContextException, "IDS_RTE_PROP_NOTWRITABLE");
  const Value listed = make(u"FixedStructure", {Value(u"x"), Value(7)});
  EXPECT_TRUE(prop(listed, u"X").equals(7));
}

// ---------------------------------------------------------------------------
// Enumeration, identity and the stored form.

TEST(CollectionTest, EnumerationOrder) {
  const Value map = make(u"Map");
  for (int key : {5, 3, 9}) call(map, u"Insert", {Value(key), Value(key * 10)});
  call(map, u"Delete", {Value(3)});
  call(map, u"Insert", {Value(3), Value(31)});  // re-inserted: now last
  std::vector<int> keys;
  for_each_value(map.getIValue(), [&](const GenericValue& pair) {
    Numeric number;
    ASSERT_TRUE(prop(Value(pair), u"Ключ").getNumeric(number));
    keys.push_back(static_cast<int>(static_cast<long long>(number)));
    EXPECT_EQ(Value(pair).type().getIType(), Type(u"KeyAndValue").getIType());
  });
  EXPECT_EQ(keys, (std::vector<int>{5, 9, 3}));

  const Value array = make(u"Array");
  for (int i : {4, 1, 2}) call(array, u"Add", {Value(i)});
  std::vector<String> seen;
  for_each_value(array.getIValue(),
                 [&](const GenericValue& element) { seen.push_back(text(Value(element))); });
  EXPECT_EQ(seen, (std::vector<String>{u"4", u"1", u"2"}));
}

TEST(CollectionTest, EqualityIsIdentity) {
  const Value a = make(u"Array");
  const Value b = make(u"Array");
  EXPECT_FALSE(a.equals(b));
  EXPECT_TRUE(a.equals(Value(a)));
}

TEST(CollectionTest, StoredFormReadsBackElementByElement) {
  const Value inner = make(u"Structure", {Value(u"Name, Age"), Value(u"Ivan"), Value(42)});
  const Value map = make(u"Map");
  call(map, u"Insert", {Value(1.5), inner});
  call(map, u"Insert", {Value(u"k"), Value(true)});
  const Value array = make(u"Array");
  call(array, u"Add", {map});
  call(array, u"Add", {Value(u"text")});
  call(array, u"Add", {make(u"FixedArray", {array})});
  call(array, u"Add", {make(u"FixedMap", {map})});
  call(array, u"Add", {make(u"FixedStructure", {inner})});
  for (const Value& back : testing::round_trips(array)) {
    ASSERT_EQ(back.type().getIType(), Type(u"Array").getIType());
    EXPECT_TRUE(call(back, u"Count").equals(5));
    const Value back_map = call(back, u"Get", {Value(0)});
    EXPECT_TRUE(call(back_map, u"Get", {Value(u"k")}).equals(true));
    const Value back_inner = call(back_map, u"Get", {Value(1.5)});
    EXPECT_TRUE(prop(back_inner, u"name").equals(u"Ivan"));
    EXPECT_TRUE(prop(back_inner, u"Age").equals(42));
    EXPECT_TRUE(call(back, u"Get", {Value(1)}).equals(u"text"));
    const Value fixed = call(back, u"Get", {Value(2)});
    EXPECT_EQ(fixed.type().getIType(), Type(u"FixedArray").getIType());
    EXPECT_TRUE(call(fixed, u"Count").equals(2));
    EXPECT_TRUE(call(call(back, u"Get", {Value(3)}), u"Get", {Value(1.5)}).type().getIType() ==
                Type(u"Structure").getIType());
    EXPECT_TRUE(prop(call(back, u"Get", {Value(4)}), u"Age").equals(42));
  }
  const InterfacePtr<KeyAndValue> pair = create_key_and_value(Value(1), Value(u"x"));
  for (const Value& back : testing::round_trips(Value(static_cast<IValue*>(pair.get())))) {
    EXPECT_TRUE(prop(back, u"Key").equals(1));
    EXPECT_TRUE(prop(back, u"Значение").equals(u"x"));
  }
}

TEST(CollectionTest, MalformedStoredFormsAreRefused) {
  const String array_clsid = u"5d3ca04f-9b72-4e28-8f16-4c8e2b7d3092";
  const String structure_clsid = u"9170e483-dfb6-426c-835a-80c26fb174d6";
  for (const String& bad :
       {String(u"{100,") + array_clsid + u",-1}", String(u"{100,") + array_clsid + u",5,{0}}",
        String(u"{100,") + structure_clsid + u",1,\"1x\",{0}}"}) {
    SCOPED_TRACE(bad.toUtf8());
    Value read;
    EXPECT_THROW(GenericValue::fromString(bad, read), ListStreamException);
  }
  // Nested deeper than the limit.
  String deep;
  for (int i = 0; i <= kMaxCollectionDepth; ++i) deep += String(u"{100,") + array_clsid + u",1,";
  deep += u"{0}";
  for (int i = 0; i <= kMaxCollectionDepth; ++i) deep += u"}";
  Value read;
  EXPECT_THROW_IDS(GenericValue::fromString(deep, read), ListStreamException,
                   "IDS_LISTSTREAMERROR");
}

// An array holding itself cannot be written; the failure leaves the
// writer's nesting count balanced, so a later write succeeds.
TEST(CollectionTest, WritingACycleFailsCleanly) {
  const Value array = make(u"Array");
  call(array, u"Add", {array});
  String out;
  EXPECT_THROW_IDS(array.toString(out), ListStreamException, "IDS_LISTSTREAMERROR");
  call(array, u"Clear");  // breaks the cycle
  array.toString(out);
  EXPECT_FALSE(out.empty());
}

TEST(CollectionTest, SharedErrorBuilders) {
  EXPECT_THROW_IDS(throw collect_error_bad_index(), ContextException, "IDS_INDEX_OFFBOUND");
  EXPECT_THROW_IDS(throw collect_error_bad_offset(), ContextException, "IDS_COLLECTION_BADOFFSET");
}

}  // namespace
}  // namespace core
