// A consumer that calls core and nothing of rivet, linked with --as-needed:
// the program itself then needs only libcore.so, which has to find
// librivet.so on its own.
#include <core/core.h>

#include <cstdio>

int main() {
  core::CoreInitManager started;
  core::Numeric third(1);
  third /= core::Numeric(3);
  const core::String text = core::format(third, u"NFD=3; L=en_US");
  if (text != core::String(u"0.333")) return 1;
  std::printf("core_only: %s\n", text.toUtf8().c_str());
  return 0;
}
