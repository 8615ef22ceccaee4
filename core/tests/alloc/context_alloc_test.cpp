#include <gtest/gtest.h>

#include <vector>

#include "alloc/allocations.h"
#include "core/context.h"

namespace core {
namespace {

using testing::allocations_of;

constexpr ContextParamDefault kOptional[] = {
    ContextParamDefault::notGiven(), ContextParamDefault::undefined(), ContextParamDefault::null(),
    ContextParamDefault::boolean(true)};
constexpr ContextMethodDecl kMethods[] = {
    {{u"Count", u"Количество"}, 0, true},
    {{u"Insert", u"Вставить"}, 5, false, kOptional},
};
constexpr ContextTable kTable{{}, kMethods};

class Idle final : public UnknownImpl<IContextExtImplBase> {
 public:
  IContextDefBase* getIContextDef() override { return static_context_def<kTable>(); }
  bool getPropVal(int, GenericValue&) override { return false; }
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>&) override {
    if (ret_val != nullptr) ret_val->assign(true);
    return method == 0 || method == 1;
  }
};

template <class Strategy>
void expect_lookups_allocate_nothing() {
  IContextDefBase* def = static_context_def<kTable>();
  Strategy strategy;
  const String english(u"INSERT");
  const String russian(u"вставить");
  EXPECT_EQ(strategy.findMethod(def, english), 1);  // builds the cache
  EXPECT_EQ(allocations_of([&] {
              EXPECT_EQ(strategy.findMethod(def, english), 1);
              EXPECT_EQ(strategy.findMethod(def, russian), 1);
              EXPECT_EQ(strategy.findMethod(def, String(u"Nothing")), -1);
            }),
            0u);
}

TEST(ContextAllocations, LookupsAllocateNothingOnceTheCacheIsBuilt) {
  expect_lookups_allocate_nothing<ContextDefHashCached>();
  expect_lookups_allocate_nothing<ContextDefCached>();
  expect_lookups_allocate_nothing<ContextDefNoncached>();
}

TEST(ContextAllocations, ACallThroughTheHelperAllocatesNothing) {
  InterfacePtr<Idle> idle(new Idle);
  Value first(true);
  std::vector<GenericValue*> args;
  args.reserve(8);
  const String count(u"Количество");
  const String insert(u"insert");
  Value result;
  Value nothing;
  call_context_method(idle.get(), count, args, &result);  // builds the cache
  (void)proceed_call_unspecified_value();                 // made on first use, once per process
  EXPECT_EQ(allocations_of([&] {
              call_context_method(idle.get(), count, args, &result);
              args.push_back(&first);
              call_context_method(idle.get(), insert, args, &nothing);  // four defaults
            }),
            0u);
  EXPECT_TRUE(result.equals(true));
  EXPECT_TRUE(is_undefined_value(nothing));
}

}  // namespace
}  // namespace core
