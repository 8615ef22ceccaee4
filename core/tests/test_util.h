// Helpers shared by the unit tests.
#ifndef CORE_TESTS_TEST_UTIL_H_
#define CORE_TESTS_TEST_UTIL_H_

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "core/application_context.h"
#include "core/context.h"
#include "core/exception.h"
#include "core/io.h"
#include "core/list_stream.h"
#include "core/messages.h"
#include "core/persistence.h"
#include "core/string.h"
#include "core/thread.h"
#include "core/url.h"
#include "core/value.h"

namespace core::testing {

// Succeeds when `e` is of the class `clsid` and its description begins with
// the text of `id` up to the text's first placeholder (the rest depends on
// the arguments filled in).
inline ::testing::AssertionResult IsExceptionWithText(const Exception& e, const GUID& clsid,
                                                      const char* id) {
  if (e.clsid() != clsid) {
    return ::testing::AssertionFailure() << "clsid " << e.clsid().toString().toUtf8()
                                         << ", expected " << clsid.toString().toUtf8();
  }
  const String text = load_core_wstring(id);
  std::u16string_view prefix = text;
  prefix = prefix.substr(0, prefix.find(u'%'));
  const std::u16string_view descr = e.descr();
  if (descr.substr(0, prefix.size()) != prefix) {
    return ::testing::AssertionFailure()
           << "description \"" << e.descr().toUtf8() << "\" does not begin with the text of " << id
           << " \"" << text.toUtf8() << "\"";
  }
  return ::testing::AssertionSuccess();
}

// Runs `body` on a fresh thread whose locale is `locale`, so that a test's
// settings never leak into the next one.
template <class Body>
void in_locale(const char16_t* locale, Body body) {
  std::thread([&] {
    Thread::setLocale(Locale(locale));
    body();
  }).join();
}

// Registers an application context of compatibility level `level` for the
// scope, and removes it at the end.
class ScopedCompatibilityLevel {
 public:
  explicit ScopedCompatibilityLevel(int level) { set_application_context(new Context(level)); }
  ~ScopedCompatibilityLevel() { set_application_context(nullptr); }
  ScopedCompatibilityLevel(const ScopedCompatibilityLevel&) = delete;
  ScopedCompatibilityLevel& operator=(const ScopedCompatibilityLevel&) = delete;

 private:
  class Context : public UnknownImpl<IApplicationContext> {
   public:
    explicit Context(int level) : level_(level) {}
    int compatibilityLevel() override { return level_; }

   private:
    int level_;
  };
};

// A line of a test data file as text: UTF-8 with the escapes \\, \t and
// \uXXXX.
inline String unescape_data_line(const std::string& line) {
  std::string utf8;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char next = i + 1 < line.size() ? line[i + 1] : '\0';
    if (line[i] == '\\' && next == '\\') {
      utf8 += '\\';
      ++i;
    } else if (line[i] == '\\' && next == 't') {
      utf8 += '\t';
      ++i;
    } else if (line[i] == '\\' && next == 'u' && i + 5 < line.size()) {
      const char16_t unit[2] = {
          static_cast<char16_t>(std::stoul(line.substr(i + 2, 4), nullptr, 16)), 0};
      utf8 += String(unit).toUtf8();
      i += 5;
    } else {
      utf8 += line[i];
    }
  }
  return String::fromUtf8(utf8);
}

// What script code "object.Method(args)" does, through the calling helper;
// the result of a procedure is Undefined.
inline Value call(const Value& object, const char16_t* method, std::vector<Value> args = {}) {
  std::vector<GenericValue*> params;
  params.reserve(args.size());
  for (Value& arg : args) params.push_back(&arg);
  Value result;
  call_context_method(context_of(object.getIValue()), String(method), params, &result);
  return result;
}

// What script code "object.Name" reads.
inline Value prop(const Value& object, const char16_t* name) {
  Value value;
  get_context_property(context_of(object.getIValue()), String(name), value);
  return value;
}

// What script code "object.Name = value" does.
inline void set_prop(const Value& object, const char16_t* name, const Value& value) {
  set_context_property(context_of(object.getIValue()), String(name), value);
}

// Writes `value` and reads it back, in the text and in the binary encoding.
inline std::vector<Value> round_trips(const Value& value) {
  std::vector<Value> read;
  String text;
  value.toString(text);
  Value from_text;
  GenericValue::fromString(text, from_text);
  read.push_back(from_text);

  InterfacePtr<MemoryFile> bytes(new MemoryFile);
  {
    InterfacePtr<ListOutPersistenceStorage> out(
        new ListOutPersistenceStorage(ListOutStream(bytes.get())));
    value.serialize(out.get());
    out->writer().close();
  }
  bytes->seek(0);
  InterfacePtr<ListInPersistenceStorage> in(
      new ListInPersistenceStorage(ListInStream(bytes.get())));
  Value from_binary;
  GenericValue::deserialize(in.get(), from_binary);
  read.push_back(from_binary);
  return read;
}

// A fixture with a fresh temporary directory, removed with its content when
// the test ends.
class TempDirTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = ::testing::TempDir() + "core_test_XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    dir_ = pattern;
  }
  void TearDown() override { std::system(("rm -rf '" + dir_ + "'").c_str()); }

  // The URL of `name` inside the directory.
  URL url(const std::string& name) const { return URL(String::fromUtf8(dir_ + "/" + name)); }

  std::string dir_;
};

}  // namespace core::testing

// Expects `statement` to throw exactly `ExceptionClass` (checked by clsid)
// with a description that begins with the text of the message `id`.
#define EXPECT_THROW_IDS(statement, ExceptionClass, id)                                        \
  do {                                                                                         \
    try {                                                                                      \
      statement;                                                                               \
      ADD_FAILURE() << #statement " threw nothing";                                            \
    } catch (const ExceptionClass& thrown_exception) {                                         \
      EXPECT_TRUE(                                                                             \
          ::core::testing::IsExceptionWithText(thrown_exception, ExceptionClass::kClsid, id)); \
    } catch (...) {                                                                            \
      ADD_FAILURE() << #statement " threw something other than " #ExceptionClass;              \
    }                                                                                          \
  } while (false)

#endif  // CORE_TESTS_TEST_UTIL_H_
