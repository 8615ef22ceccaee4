#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "core/exception_classes.h"
#include "core/resource_bundle.h"
#include "core/scom.h"

namespace core {
namespace {

std::string* hook_log = nullptr;
void first_hook(bool starting) { *hook_log += starting ? "+1" : "-1"; }
void second_hook(bool starting) { *hook_log += starting ? "+2" : "-2"; }

constexpr SCOM_ClassMapEntry kClasses[] = {
    {{0x1, 0x2, 0x3, {4, 5, 6, 7, 8, 9, 10, 11}}, &first_hook},
    {{0x2, 0x2, 0x3, {4, 5, 6, 7, 8, 9, 10, 11}}, nullptr},
    {{0x3, 0x2, 0x3, {4, 5, 6, 7, 8, 9, 10, 11}}, &second_hook},
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
