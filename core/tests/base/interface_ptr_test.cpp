#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "core/interface_ptr.h"
#include "core/iunknown.h"
#include "core/refcountable.h"

namespace core {
namespace {

class IShape : public IUnknown {
 public:
  static constexpr GUID kIid = {0x11111111, 0x2222, 0x3333, {4, 4, 4, 4, 4, 4, 4, 4}};
  virtual int corners() = 0;
};

class INamed : public IUnknown {
 public:
  static constexpr GUID kIid = {0x55555555, 0x6666, 0x7777, {8, 8, 8, 8, 8, 8, 8, 8}};
  virtual const char* name() = 0;
};

class INever : public IUnknown {
 public:
  static constexpr GUID kIid = {0x99999999, 0, 0, {0, 0, 0, 0, 0, 0, 0, 1}};
};

// Counts its own destructions so tests can see exactly when objects die.
class Square : public UnknownImpl<IShape, INamed> {
 public:
  explicit Square(int* destroyed) : destroyed_(destroyed) {}
  ~Square() override { ++*destroyed_; }
  int corners() override { return 4; }
  const char* name() override { return "square"; }

 private:
  int* destroyed_;
};

TEST(InterfacePtr, HoldsOneReferenceAndReleasesTheLast) {
  int destroyed = 0;
  {
    InterfacePtr<IShape> a(new Square(&destroyed));
    EXPECT_EQ(a->acquire(), 2);  // the pointer's reference plus this one
    EXPECT_EQ(a->release(), 1);
    InterfacePtr<IShape> b = a;
    EXPECT_EQ(b->acquire(), 3);
    b->release();
    InterfacePtr<IShape> c = std::move(b);
    EXPECT_FALSE(b);
    EXPECT_EQ(c, a);
    a.reset();
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(InterfacePtr, SelfAssignmentKeepsTheObject) {
  int destroyed = 0;
  InterfacePtr<IShape> a(new Square(&destroyed));
  InterfacePtr<IShape>& alias = a;
  a = alias;
  a = std::move(alias);
  ASSERT_TRUE(a);
  EXPECT_EQ(a->corners(), 4);
  EXPECT_EQ(destroyed, 0);
  a.reset(a.get());
  EXPECT_EQ(destroyed, 0);
}

TEST(InterfacePtr, AdoptAndDetachMoveTheReferenceWithoutCounting) {
  int destroyed = 0;
  auto* raw = new Square(&destroyed);
  raw->acquire();
  InterfacePtr<IShape> held = InterfacePtr<IShape>::adopt(raw);
  IShape* detached = held.detach();
  EXPECT_FALSE(held);
  EXPECT_EQ(detached->release(), 0);
  EXPECT_EQ(destroyed, 1);
}

TEST(UnknownImpl, QueryInterfaceOffersExactlyTheListedInterfaces) {
  int destroyed = 0;
  InterfacePtr<IShape> shape(new Square(&destroyed));
  InterfacePtr<INamed> named = shape.query<INamed>();
  ASSERT_TRUE(named);
  EXPECT_STREQ(named->name(), "square");
  EXPECT_FALSE(shape.query<INever>());

  void* out = reinterpret_cast<void*>(1);
  EXPECT_FALSE(shape->queryInterface(INever::kIid, &out));
  EXPECT_EQ(out, nullptr);

  InterfacePtr<IUnknown> unknown = named.query<IUnknown>();
  ASSERT_TRUE(unknown);
  // Every interface of the object leads back to one and the same IUnknown.
  EXPECT_EQ(unknown, shape.query<IUnknown>());
  shape.reset();
  named.reset();
  EXPECT_EQ(destroyed, 0);
  unknown.reset();
  EXPECT_EQ(destroyed, 1);
}

TEST(UnknownImpl, CountsStayExactUnderConcurrentHolders) {
  int destroyed = 0;
  InterfacePtr<IShape> shared(new Square(&destroyed));
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&shared] {
      for (int i = 0; i < 10000; ++i) {
        InterfacePtr<IShape> copy = shared;
        InterfacePtr<INamed> other = copy.query<INamed>();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(shared->acquire(), 2);
  shared->release();
  shared.reset();
  EXPECT_EQ(destroyed, 1);
}

struct Page : Refcountable<Page> {
  int value = 0;
};

TEST(Refcountable, CopiesStartWithTheirOwnCount) {
  Page page;
  page.acquire();
  page.acquire();
  Page copy = page;
  EXPECT_EQ(copy.refcount(), 0);
  copy = page;
  EXPECT_EQ(copy.refcount(), 0);
  EXPECT_EQ(page.release(), 1);
  EXPECT_EQ(page.release(), 0);
  // release() never destroys: the object is still usable at 0.
  page.value = 7;
  EXPECT_EQ(page.refcount(), 0);
}

}  // namespace
}  // namespace core
