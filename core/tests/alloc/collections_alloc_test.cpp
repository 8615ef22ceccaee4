#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "alloc/allocations.h"
#include "core/collections.h"

namespace core {
namespace {

using testing::allocations_of;

constexpr int kElements = 1024;

// Calls `method` of `context` by index with `args`, as compiled script code does.
void call(IContext* context, int method, std::vector<GenericValue*>& args, GenericValue* ret) {
  call_context_method(context, method, args, ret);
}

// The allocations of `body` run a second time: the first fills the
// thread's cache of small blocks, from which the Numbers results take
// theirs.
template <class Body>
std::uint64_t steady_allocations_of(Body body) {
  body();
  return allocations_of(body);
}

// Growth by doubling: a few reallocations, not one per element.
constexpr std::uint64_t kAmortisedBound = 2 * 11;

TEST(CollectionsAllocations, ArrayReadsAndWritesThroughTheHelperAllocateNothing) {
  const InterfacePtr<Array> array = create_array();
  Value element(7);
  Value index(3);
  Value result;
  std::vector<GenericValue*> one{&element};
  std::vector<GenericValue*> two{&index, &element};
  std::vector<GenericValue*> none;
  none.reserve(1);
  for (int i = 0; i < 8; ++i) call(array.get(), 3, one, nullptr);  // Add
  EXPECT_EQ(steady_allocations_of([&] {
              one[0] = &index;
              call(array.get(), 6, one, &result);  // Get
              call(array.get(), 7, two, nullptr);  // Set
              one[0] = &element;
              call(array.get(), 8, one, &result);   // Find
              call(array.get(), 0, none, &result);  // Count
            }),
            0u);
  EXPECT_TRUE(result.equals(8));
  EXPECT_TRUE(array->at(3).equals(7));
}

TEST(CollectionsAllocations, ArrayAddIsAmortised) {
  const InterfacePtr<Array> array = create_array();
  Value element(u"shared");
  std::vector<GenericValue*> one{&element};
  EXPECT_LE(allocations_of([&] {
              for (int i = 0; i < kElements; ++i) call(array.get(), 3, one, nullptr);
            }),
            kAmortisedBound);
  EXPECT_EQ(array->count(), kElements);
}

TEST(CollectionsAllocations, MapGetAndReplaceThroughTheHelperAllocateNothing) {
  const InterfacePtr<Map> map = create_map();
  std::vector<Value> keys;
  for (int i = 0; i < 16; ++i) keys.emplace_back(i);
  std::vector<GenericValue*> two{nullptr, nullptr};
  for (Value& key : keys) {
    two = {&key, &key};
    call(map.get(), 1, two, nullptr);  // Insert
  }
  const Value absent(u"absent");
  Value result;
  std::vector<GenericValue*> one{nullptr};
  EXPECT_EQ(steady_allocations_of([&] {
              one[0] = &keys[5];
              call(map.get(), 4, one, &result);  // Get
              two = {&keys[5], &keys[6]};
              call(map.get(), 1, two, nullptr);  // Insert over a present key
              one[0] = const_cast<Value*>(&absent);
              call(map.get(), 4, one, &result);  // Get of an absent key
            }),
            0u);
  EXPECT_TRUE(result.equals(Value()));
  EXPECT_TRUE(map->find(keys[5])->equals(6));
}

TEST(CollectionsAllocations, MapInsertIsAmortised) {
  const InterfacePtr<Map> map = create_map();
  std::vector<Value> keys;
  for (int i = 0; i < kElements; ++i) keys.emplace_back(i);
  std::vector<GenericValue*> two{nullptr, nullptr};
  EXPECT_LE(allocations_of([&] {
              for (Value& key : keys) {
                two[0] = &key;
                two[1] = &key;
                call(map.get(), 1, two, nullptr);
              }
            }),
            2 * kAmortisedBound);  // the entries and the slots grow apart
  EXPECT_EQ(map->count(), kElements);
}

TEST(CollectionsAllocations, StructurePropertyThroughTheHelperAllocatesNothing) {
  const InterfacePtr<Structure> structure = create_structure();
  const Value name(u"Amount");
  const Value other(u"amount");  // case ignored
  const Value amount(12);
  std::vector<GenericValue*> two{const_cast<Value*>(&name), const_cast<Value*>(&amount)};
  call(structure.get(), 1, two, nullptr);  // Insert
  Value out;
  Value found;
  two = {const_cast<Value*>(&other), &out};
  EXPECT_EQ(steady_allocations_of([&] { call(structure.get(), 4, two, &found); }), 0u);  // Property
  EXPECT_TRUE(found.equals(true));
  EXPECT_TRUE(out.equals(12));
}

}  // namespace
}  // namespace core
