#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "core/exception_classes.h"
#include "core/resource_bundle.h"
#include "core/scom.h"
#include "core/type.h"
#include "core/value.h"
#include "core/value_impl.h"

namespace core {
namespace {

std::string* hook_log = nullptr;
void first_hook(bool starting) { *hook_log += starting ? "+1" : "-1"; }
void second_hook(bool starting) { *hook_log += starting ? "+2" : "-2"; }

constexpr SCOM_ClassMapEntry kClasses[] = {
    {{0x1, 0x2, 0x3, {4, 5, 6, 7, 8, 9, 10, 11}}, nullptr, &first_hook},
    {{0x2, 0x2, 0x3, {4, 5, 6, 7, 8, 9, 10, 11}}, nullptr, nullptr},
    {{0x3, 0x2, 0x3, {4, 5, 6, 7, 8, 9, 10, 11}}, nullptr, &second_hook},
};

TEST(ScomModule, StartsItsClassesInOrderAndStopsThemInReverse) {
  std::string log;
  hook_log = &log;
  {
    SCOM_Module module("scom-test", "basalt", kClasses);
    EXPECT_EQ(find_module("scom-test"), nullptr);
    module.initialize();
    module.initialize();  // a second start does nothing
    EXPECT_EQ(find_module("scom-test"), &module);
    ASSERT_NE(module.resourceBundle(), nullptr);
    EXPECT_STREQ(module.resourceBundle()->name(), "basalt");
    EXPECT_EQ(log, "+1+2");
    module.cleanup();
    EXPECT_EQ(find_module("scom-test"), nullptr);
    EXPECT_EQ(module.resourceBundle(), nullptr);
    EXPECT_EQ(log, "+1+2-2-1");
    module.initialize();
  }
  // The destructor stops a module that is still running.
  EXPECT_EQ(log, "+1+2-2-1+1+2-2-1");
  EXPECT_EQ(find_module("scom-test"), nullptr);
  hook_log = nullptr;
}

TEST(ScomModule, TheLibraryIsTheModuleCoreAndNamesAreUnique) {
  SCOM_Module* core = find_module("core");
  ASSERT_NE(core, nullptr);
  ASSERT_NE(core->resourceBundle(), nullptr);
  EXPECT_STREQ(core->resourceBundle()->name(), "basalt");
  EXPECT_EQ(find_module(nullptr), nullptr);

  SCOM_Module impostor("core", nullptr, {});
  EXPECT_THROW(impostor.initialize(), SCOM_Exception);
  EXPECT_EQ(find_module("core"), core);
}

TEST(ScomContext, EachThreadCountsItsOwnExceptions) {
  ExceptionsCount& mine = current_ecxeptions_count();
  const uint64_t before = mine.value();
  IllegalStateException first(String(u"one"));
  IllegalStateException second(String(u"two"));
  EXPECT_EQ(mine.value(), before + 2);
  std::thread([&mine] {
    ExceptionsCount& other = current_ecxeptions_count();
    EXPECT_NE(&other, &mine);
    const uint64_t other_before = other.value();
    IllegalStateException third(String(u"three"));
    EXPECT_EQ(other.value(), other_before + 1);
  }).join();
  EXPECT_EQ(mine.value(), before + 2);
}

}  // namespace
}  // namespace core

namespace core {
namespace {

// {3B1D2C4E-5F60-4718-92A3-B4C5D6E7F809}
constexpr GUID kShelfClsid = {
    0x3B1D2C4E, 0x5F60, 0x4718, {0x92, 0xA3, 0xB4, 0xC5, 0xD6, 0xE7, 0xF8, 0x09}};

class Shelf : public ObjectValueCore {
 public:
  explicit Shelf(IType* type) : ObjectValueCore(type) {}
};

class ShelfType : public ObjectTypeCore {
 public:
  ShelfType()
      : ObjectTypeCore(kShelfClsid, u"Shelf", u"Полка", "IDS_TYPE_PRESENTATION_VALUEARRAY", true) {}
  InterfacePtr<IValue> createIValue() override { return InterfacePtr<IValue>(new Shelf(this)); }
};

IUnknown* shelf_type_object() {
  auto* type = new ShelfType;
  type->acquire();
  return type;
}

constexpr SCOM_ClassMapEntry kShelfClasses[] = {{kShelfClsid, &shelf_type_object, nullptr}};

TEST(ScomModule, TypesOfTheClassMapAreRegisteredWhileTheModuleRuns) {
  {
    SCOM_Module module("shelves", nullptr, kShelfClasses);
    module.initialize();
    const Type by_name(u"полка");
    EXPECT_EQ(by_name.getCLSID(), kShelfClsid);
    EXPECT_EQ(Type(kShelfClsid).getTypeCode(), TypeCode::Object);
    EXPECT_TRUE(by_name.hasCtor(0));
    EXPECT_FALSE(by_name.hasCtor(1));

    // The defaults of object values.
    const Value shelf(by_name.createIValue().get());
    const Value other(by_name.createIValue().get());
    bool flag = true;
    EXPECT_FALSE(shelf.getBoolean(flag));
    EXPECT_FALSE(flag);
    EXPECT_TRUE(shelf.equals(shelf));
    EXPECT_FALSE(shelf.equals(other));
    EXPECT_EQ(shelf.hashCode(),
              static_cast<int32_t>(reinterpret_cast<uintptr_t>(shelf.getIValue())));
    EXPECT_EQ(to_string(shelf), by_name.getIType()->getPresentation());
    std::vector<GenericValue*> params{const_cast<Value*>(&shelf)};
    EXPECT_THROW(by_name.ctor(params), CtorException);
  }
  EXPECT_THROW(Type(u"Shelf"), TypeException);
}

}  // namespace
}  // namespace core
