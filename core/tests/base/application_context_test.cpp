#include <gtest/gtest.h>

#include "core/application_context.h"

namespace core {
namespace {

class FixedLevel : public UnknownImpl<IApplicationContext> {
 public:
  FixedLevel(int level, bool* destroyed) : level_(level), destroyed_(destroyed) {}
  ~FixedLevel() override { *destroyed_ = true; }
  int compatibilityLevel() override { return level_; }

 private:
  int level_;
  bool* destroyed_;
};

TEST(ApplicationContext, RegisteringHoldsAReferenceUntilReplacedOrRemoved) {
  EXPECT_FALSE(application_context());
  bool first_destroyed = false;
  bool second_destroyed = false;
  set_application_context(new FixedLevel(80311, &first_destroyed));
  ASSERT_TRUE(application_context());
  EXPECT_EQ(application_context()->compatibilityLevel(), 80311);

  set_application_context(new FixedLevel(1, &second_destroyed));
  EXPECT_TRUE(first_destroyed);
  EXPECT_EQ(application_context()->compatibilityLevel(), 1);

  InterfacePtr<IApplicationContext> kept = application_context();
  set_application_context(nullptr);
  EXPECT_FALSE(application_context());
  EXPECT_FALSE(second_destroyed);  // `kept` still holds it
  kept.reset();
  EXPECT_TRUE(second_destroyed);
}

}  // namespace
}  // namespace core
