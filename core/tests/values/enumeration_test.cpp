#include "core/enumeration.h"

#include <gtest/gtest.h>

#include <thread>

#include "core/enumeration_types.h"
#include "core/exception_classes.h"
#include "core/io.h"
#include "core/persistence.h"
#include "core/thread.h"
#include "test_util.h"

namespace core {
namespace {

// The registered enumerations: each by both type names, one value by a
// name in some case, with its code.
struct BuiltinCase {
  GUID clsid;
  const char16_t* english;
  const char16_t* russian;
  const char16_t* value_name;
  int code;
  int count;
};

constexpr BuiltinCase kBuiltins[] = {
    {kSearchDirectionTypeClsid, u"SearchDirection", u"НаправлениеПоиска", u"fromend", 1, 2},
    {kRoundModeTypeClsid, u"RoundMode", u"РежимОкругления", u"ОКР15КАК10", 0, 2},
    {kSortDirectionTypeClsid, u"SortDirection", u"НаправлениеСортировки", u"Desc", 1, 2},
    {kDateFractionsTypeClsid, u"DateFractions", u"ЧастиДаты", u"время", 2, 3},
    {kAllowedLengthTypeClsid, u"AllowedLength", u"ДопустимаяДлина", u"Variable", 1, 2},
    {kAllowedSignTypeClsid, u"AllowedSign", u"ДопустимыйЗнак", u"NONNEGATIVE", 1, 2},
    {kTextDirectionTypeClsid, u"TextDirection", u"НаправлениеТекста", u"справаналево", 1, 2},
    {kPictureTypeTypeClsid, u"PictureType", u"ТипКартинки", u"library", 2, 3},
};

TEST(Enumeration, RegisteredTypesAreFoundByNameAndTheirValuesByProperty) {
  for (const BuiltinCase& c : kBuiltins) {
    SCOPED_TRACE(String(c.english).toUtf8());
    const Type type(c.clsid);
    EXPECT_EQ(Type(String(c.english)).getCLSID(), c.clsid);
    EXPECT_EQ(Type(String(c.russian)).getCLSID(), c.clsid);
    IContext* context = context_of(type);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(context->getNProps(), c.count);
    EXPECT_EQ(context->getNMethods(), 0);
    Value value;
    get_context_property(context, String(c.value_name), value);
    const EnumValValueBase* item = enumeration_value_of(value.getIValue());
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->code(), c.code);
    EXPECT_EQ(value.type().getCLSID(), c.clsid);
    EXPECT_THROW_IDS(set_context_property(context, String(c.value_name), value), ContextException,
                     "IDS_RTE_PROP_NOTWRITABLE");
  }
}

TEST(Enumeration, RegisteredValuesShowTheirPresentationInTheThreadsLocale) {
  Value desc;
  get_context_property(context_of(Type(u"SortDirection")), String(u"Убыв"), desc);
  testing::in_locale(u"en_US", [&] { EXPECT_EQ(to_string(desc), String(u"Descending")); });
  testing::in_locale(u"ru_RU", [&] { EXPECT_EQ(to_string(desc), String(u"По убыванию")); });
}

// {61C0A4D2-8E3B-4F7A-9C15-D2E3F4A5B6C7}
constexpr GUID kColourClsid = {
    0x61C0A4D2, 0x8E3B, 0x4F7A, {0x9C, 0x15, 0xD2, 0xE3, 0xF4, 0xA5, 0xB6, 0xC7}};
// {72D1B5E3-9F4C-4A8B-8D26-E3F4A5B6C7D8}
constexpr GUID kShadeClsid = {
    0x72D1B5E3, 0x9F4C, 0x4A8B, {0x8D, 0x26, 0xE3, 0xF4, 0xA5, 0xB6, 0xC7, 0xD8}};

constexpr EnumItemDecl kColourItems[] = {
    {5, {u"Red", u"Красный"}, {u"Crimson", u"Алый"}},
    {7, {u"Grey"}, {nullptr, u"Серый"}, nullptr, true},  // no Russian name, deprecated
    {9, {u"Blue", u"Синий"}},
};
constexpr EnumDecl kColour{kColourClsid, {u"Colour", u"Цвет"}, 9, "core", kColourItems};
constexpr EnumItemDecl kShadeItems[] = {{5, {u"Light", u"Светлый"}}};
constexpr EnumDecl kShade{kShadeClsid, {u"Shade"}, 5, "core", kShadeItems};

class EnumerationTest : public ::testing::Test {
 protected:
  EnumerationTest()
      : colour_(create_enumeration_type(kColour)), shade_(create_enumeration_type(kShade)) {}

  Value valueOf(IType* type, const char16_t* name) {
    Value value;
    get_context_property(context_of(type), String(name), value);
    return value;
  }

  InterfacePtr<IType> colour_;
  InterfacePtr<IType> shade_;
};

// The names that find a value: any of the four, any case.
struct NameCase {
  const char16_t* name;
  int code;
};

constexpr NameCase kNameCases[] = {
    {u"red", 5},  {u"КРАСНЫЙ", 5}, {u"crimson", 5}, {u"Алый", 5},
    {u"GREY", 7}, {u"серый", 7},   {u"Blue", 9},    {u"синий", 9},
};

TEST_F(EnumerationTest, AnyNameOfAValueFindsIt) {
  for (const NameCase& c : kNameCases) {
    SCOPED_TRACE(String(c.name).toUtf8());
    EXPECT_EQ(enumeration_value_of(valueOf(colour_.get(), c.name).getIValue())->code(), c.code);
  }
  EXPECT_EQ(context_of(colour_.get())->findProp(String(u"Green")), -1);
  EXPECT_THROW_IDS(valueOf(colour_.get(), u"Green"), ContextException, "IDS_RTE_PROP_NOTFOUND");
}

TEST_F(EnumerationTest, PresentationIsTheNameInTheThreadsLanguage) {
  const Value red = valueOf(colour_.get(), u"Red");
  const Value grey = valueOf(colour_.get(), u"Grey");
  std::thread([&] {
    Thread::setLanguage(Language::Russian);
    EXPECT_EQ(to_string(red), String(u"Красный"));
    EXPECT_EQ(to_string(grey), String(u"Grey"));  // no Russian name: the English one
    Thread::setLanguage(Language::English);
    EXPECT_EQ(to_string(red), String(u"Red"));
  }).join();
}

TEST_F(EnumerationTest, EqualityIsByTypeAndCode) {
  const Value red = valueOf(colour_.get(), u"Red");
  EXPECT_TRUE(red.equals(valueOf(colour_.get(), u"Алый")));
  EXPECT_FALSE(red.equals(valueOf(colour_.get(), u"Blue")));
  // Another object of the same type and code: equal, names play no part.
  class Other final : public EnumValValueBase {
   public:
    explicit Other(IType* type) : EnumValValueBase(type, 5, u"X", u"Y", nullptr, nullptr) {}
  };
  InterfacePtr<IValue> other(new Other(colour_.get()));
  EXPECT_TRUE(red.equals(other.get()));
  EXPECT_EQ(red.hashCode(), other->hashCode());
  // The same code in another enumeration is not equal.
  const Value light = valueOf(shade_.get(), u"Light");
  EXPECT_FALSE(red.equals(light));
  EXPECT_FALSE(red.equals(5));
}

TEST_F(EnumerationTest, ItemsAndTypeNames) {
  IEnumValFactory* factory = dynamic_cast<EnumValTypeBase*>(colour_.get())->enumValFactory();
  ASSERT_NE(factory, nullptr);
  ASSERT_EQ(factory->getNItems(), 3);
  EXPECT_EQ(factory->getItem(3), nullptr);
  EXPECT_EQ(factory->getItem(-1), nullptr);
  const EnumValItem& red = *factory->getItem(0);
  const EnumValItem& grey = *factory->getItem(1);
  EXPECT_EQ(String(red.termString(2)), String(u"Crimson"));
  EXPECT_EQ(red.termString(4), nullptr);
  EXPECT_EQ(red.termString(-1), nullptr);
  EXPECT_EQ(grey.termString(1), nullptr);
  EXPECT_EQ(grey.termString(2), nullptr);
  EXPECT_EQ(String(grey.termString(3)), String(u"Серый"));
  EXPECT_TRUE(grey.deprecated());
  EXPECT_FALSE(red.deprecated());
  EXPECT_EQ(factory->createEnumVal(6).get(), nullptr);

  auto* shade = dynamic_cast<EnumValFactoryTypeBase*>(shade_.get());
  EXPECT_EQ(String(shade->getTypeString(1)), String(u"Shade"));  // the English name serves
  EXPECT_EQ(shade->getTypeString(2), nullptr);
  EXPECT_EQ(shade->getTypeString(-1), nullptr);
  EXPECT_EQ(String(colour_->getName(Language::Russian)), String(u"Цвет"));
  // The default value.
  EXPECT_EQ(enumeration_value_of(colour_->createIValue().get())->code(), 9);
}

TEST(Enumeration, DefinitionHeldBeyondItsTypeStaysValid) {
  InterfacePtr<IContextDefBase> def;
  {
    InterfacePtr<IType> colour = create_enumeration_type(kColour);
    def = dynamic_cast<EnumValTypeBase*>(colour.get())->enumValFactory()->getEnumContextDef();
  }
  EXPECT_EQ(def->findProp(String(u"синий")), 2);
  EXPECT_EQ(String(def->getPropName(0, 3)), String(u"Алый"));
}

// Writes `value` in one encoding and reads it back.
Value round_trip(const Value& value, bool binary) {
  InterfacePtr<MemoryFile> file(new MemoryFile);
  InterfacePtr<StringWriter> text(new StringWriter);
  {
    InterfacePtr<ListOutPersistenceStorage> out(new ListOutPersistenceStorage(
        binary ? ListOutStream(file.get()) : ListOutStream(text.get())));
    value.serialize(out.get());
    out->writer().close();
  }
  InterfacePtr<StringReader> reader(new StringReader(text->str()));
  file->seek(0);
  InterfacePtr<ListInPersistenceStorage> in(
      new ListInPersistenceStorage(binary ? ListInStream(file.get()) : ListInStream(reader.get())));
  Value read;
  GenericValue::deserialize(in.get(), read);
  return read;
}

TEST(EnumerationStorage, ValuesReadBackAsTheFactorysValueInBothEncodings) {
  Value desc;
  get_context_property(context_of(Type(u"SortDirection")), String(u"Desc"), desc);
  String text;
  desc.toString(text);
  EXPECT_EQ(text, String(u"{100,06fbd7c7-3205-46a1-bd9f-b01288c481c3,1}"));
  for (const bool binary : {false, true}) {
    const Value read = round_trip(desc, binary);
    EXPECT_EQ(read.getIValue(), desc.getIValue()) << (binary ? "binary" : "text");
  }
}

struct BadStoredCase {
  const char16_t* text;
};

constexpr BadStoredCase kBadStored[] = {
    {u"{100,06fbd7c7-3205-46a1-bd9f-b01288c481c3,7}"},      // no such code
    {u"{100,06fbd7c7-3205-46a1-bd9f-b01288c481c3}"},        // no code
    {u"{100,06fbd7c7-3205-46a1-bd9f-b01288c481c3,\"1\"}"},  // not a number
    {u"{100,00000000-0000-0000-0000-000000000001,1}"},      // no such type
    {u"{100,f6f167a0-dcc9-49ad-8f8e-2c9d9904e4fe,1}"},      // not an enumeration
};

TEST(EnumerationStorage, BadStoredValuesAreRefused) {
  for (const BadStoredCase& c : kBadStored) {
    SCOPED_TRACE(String(c.text).toUtf8());
    Value read;
    EXPECT_THROW_IDS(GenericValue::fromString(String(c.text), read), ListStreamException,
                     "IDS_LISTSTREAMERROR");
  }
}

}  // namespace
}  // namespace core
