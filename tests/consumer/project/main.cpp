// A program outside the source tree that uses the installed library the way a
// platform module does. It exits non-zero when anything is off.
#include <core/core.h>
#include <rivet/rivet.h>

#include <cstdio>

int main() {
  core::CoreInitManager started;

  const core::Locale russian(u"ru_RU");
  core::Thread::setLocale(russian);
  if (core::Thread::firstDayOfWeek() != core::WeekDay::Monday) return 1;

  const core::GUID id = core::GUID::parse(u"{A5AC9977-CC6B-4878-95B5-4969293F7ED5}");
  if (id != core::LocaleException::kClsid) return 2;

  try {
    core::Locale bad(u"xx_YY");
    return 3;
  } catch (const core::LocaleException& e) {
    if (e.clsid() != core::LocaleException::kClsid) return 4;
  }

  if (core::compare_nocase(u"ПРИВЕТ, World", u"привет, world") != 0) return 5;

  void* block = rivet_malloc(16);
  rivet_free(block);

  std::printf("consumer: %s\n", (core::String(u"ok ") + russian.name()).toUtf8().c_str());
  return 0;
}
