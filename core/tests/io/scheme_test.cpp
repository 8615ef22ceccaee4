#include "core/scheme.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "core/exception_classes.h"
#include "rivet/suspend_monitor.h"
#include "test_util.h"

namespace core {
namespace {

class TestScheme : public SchemeBase {
 public:
  explicit TestScheme(const char16_t* name, bool flag_chooses_set = false)
      : SchemeBase(name, flag_chooses_set) {}
};

TEST(Scheme, ReservedSetsAndEscaping) {
  InterfacePtr<TestScheme> fixed(new TestScheme(u"x-fixed"));
  InterfacePtr<TestScheme> chosen(new TestScheme(u"x-chosen", true));
  EXPECT_EQ(fixed->reservedSymbols(false), u"/\\;?*:@&=[]#");
  EXPECT_EQ(fixed->reservedSymbols(true), u"/\\;?*:@&=[]#");
  EXPECT_EQ(chosen->reservedSymbols(true), u"/\\;?*:@&=[]#");
  EXPECT_EQ(chosen->reservedSymbols(false), u"/\\;?*:@&=[]");
  std::vector<char16_t> units;
  chosen->IScheme_reservedSymbols(units, false);
  EXPECT_EQ(std::u16string(units.begin(), units.end()), u"/\\;?*:@&=[]");
  SchemeBase::pathSeparator(units);
  EXPECT_EQ(std::u16string(units.begin(), units.end()), u"/\\");

  EXPECT_EQ(chosen->IScheme_escape(u"100% a#b/[c]", false), u"100%25 a#b%2f%5bc%5d");
  EXPECT_EQ(chosen->IScheme_escape(u"100% a#b/[c]", true), u"100%25 a%23b%2f%5bc%5d");
  EXPECT_EQ(fixed->IScheme_escape(u"a#b", false), u"a%23b");
  EXPECT_EQ(fixed->IScheme_createURLString(u"/dir/a#b?.txt"), u"x-fixed:/dir/a%23b%3f.txt");
}

TEST(Scheme, UnsupportedOperationsNameTheirFunction) {
  InterfacePtr<TestScheme> scheme(new TestScheme(u"x-plain"));
  const URL url(u"x-plain://h/a");
  const struct {
    void (*call)(const SchemeBase&, const URL&);
    const char* where;
  } cases[] = {
      {[](const SchemeBase& s, const URL& u) { s.IScheme_createDirectory(u); },
       "SchemeBase::IScheme_createDirectory"},
      {[](const SchemeBase& s, const URL& u) { s.IScheme_remove(u, String()); },
       "SchemeBase::IScheme_remove"},
      {[](const SchemeBase& s, const URL& u) { s.IScheme_move(u, u); }, "SchemeBase::IScheme_move"},
  };
  for (const auto& c : cases) {
    try {
      c.call(*scheme, url);
      ADD_FAILURE() << c.where << " threw nothing";
    } catch (const UnsupportedOperationException& e) {
      EXPECT_TRUE(testing::IsExceptionWithText(e, UnsupportedOperationException::kClsid,
                                               "IDS_ERR_UNSUPPORTED_OPERATION"));
      EXPECT_NE(e.descr().toUtf8().find(c.where), std::string::npos) << e.descr().toUtf8();
    }
  }
  EXPECT_THROW_IDS(scheme->IScheme_openURL(url, FileMode::Read), FileException,
                   "IDS_FERR_BADSCHEME");
}

TEST(Scheme, Helpers) {
  struct NameCase {
    const char16_t* text;
    const char16_t* name;
  };
  const NameCase names[] = {
      {u"http://h", u"http"},
      {u"  svn+ssh:x", u"svn+ssh"},
      {u"C:\\dir", u""},
      {u"ab", u""},
      {u"a.b-c:", u"a.b-c"},
      {u"схема:x", u"схема"},
      {u"a b:c", u""},
      {u":x", u""},
      {u"", u""},
  };
  for (const NameCase& c : names) {
    EXPECT_EQ(SchemeBase::extractSchemeName(c.text), std::u16string_view(c.name))
        << String(c.text).toUtf8();
  }

  std::size_t pos = 0;
  const std::u16string_view path = u"a/b\\c";
  EXPECT_EQ(SchemeBase::getNextPathSegment(path, pos, true), u"a/");
  EXPECT_EQ(SchemeBase::getNextPathSegment(path, pos, false), u"b");
  EXPECT_EQ(SchemeBase::getNextPathSegment(path, pos, true), u"c");
  EXPECT_EQ(pos, path.size());
  EXPECT_EQ(SchemeBase::getNextPathSegment(path, pos, true), u"");

  struct VolumeCase {
    const char16_t* text;
    std::size_t pos;
    bool found;
    std::size_t at;
  };
  const VolumeCase volumes[] = {
      {u"C:\\x", 0, true, 0},  {u"/c:/x", 0, true, 1}, {u"c:", 0, true, 0},
      {u"cd:/x", 0, false, 0}, {u"c:x", 0, false, 0},  {u"//C:/", 0, false, 0},
      {u"x/C:", 1, true, 2},   {u"1:/", 0, false, 0},
  };
  for (const VolumeCase& c : volumes) {
    char16_t volume = 0;
    std::size_t at = c.pos;
    EXPECT_EQ(SchemeBase::toVolumePosition(c.text, volume, at), c.found) << String(c.text).toUtf8();
    EXPECT_EQ(at, c.found ? c.at : c.pos) << String(c.text).toUtf8();
  }
  EXPECT_EQ(SchemeBase::skipSpaces(u" \t\u3000x", 0), 3u);
  String out(u">");
  SchemeBase::copyPart(URL(u"http://h:1/p"), URL::kHost, 4, out);
  EXPECT_EQ(out, u">h:1");

  EXPECT_EQ(SchemeBase::addDefaultPort(URL(u"http://u@h/p?q"), u"80").text(), u"http://u@h:80/p?q");
  EXPECT_EQ(SchemeBase::addDefaultPort(URL(u"http://h:81/"), u"80").text(), u"http://h:81/");
  EXPECT_EQ(SchemeBase::addDefaultPort(URL(u"mailto:a@b"), u"25").text(), u"mailto:a@b");
  const IScheme* file = SchemeRegistry::instance().find(u"file");
  EXPECT_EQ(file->IScheme_createURLString(u"/tmp/a b#1"), u"file:///tmp/a b#1");
  EXPECT_EQ(file->IScheme_createURLString(u"C:\\x"), u"file:C:\\x");
  EXPECT_EQ(file->IScheme_createURLString(u"x/y"), u"file:x/y");
}

// A scheme whose whole path, "?" and "." included, is one name: it
// overrides one step.
class PathOnlyScheme : public SchemeBase {
 public:
  PathOnlyScheme() : SchemeBase(u"x-path") {}

 protected:
  bool parsePath(ParseState& state) const override {
    const std::size_t end = std::min(state.text.find(u'#', state.pos), state.text.size());
    for (std::size_t i = URL::kDirectory; i <= URL::kName; ++i) state.marks[i] = state.pos;
    state.marks[URL::kDot] = state.marks[URL::kExtension] = end;
    state.pos = end;
    return true;
  }
};

TEST(SchemeRegistry, DispatchesByNameIgnoringCase) {
  SchemeRegistry& registry = SchemeRegistry::instance();
  EXPECT_EQ(registry.find(u"x-path"), nullptr);
  EXPECT_EQ(URL(u"X-Path://h/a?b.c").params(), u"b.c");
  registry.registerScheme(InterfacePtr<IScheme>(new PathOnlyScheme));
  ASSERT_NE(registry.find(u"X-PATH"), nullptr);
  const URL url(u"X-Path://h/a?b.c#f");
  EXPECT_EQ(url.file(), u"/a?b.c");
  EXPECT_EQ(url.ext(), u"");
  EXPECT_EQ(url.params(), u"");
  EXPECT_EQ(url.fragment(), u"f");
  EXPECT_EQ(registry.schemeOf(url), registry.find(u"x-path"));
  EXPECT_TRUE(registry.unregisterScheme(u"x-PATH"));
  EXPECT_FALSE(registry.unregisterScheme(u"x-path"));
  EXPECT_EQ(registry.find(u"x-path"), nullptr);

  EXPECT_NE(registry.find(u"FILE"), nullptr);
  EXPECT_NE(registry.find(u"sfile"), nullptr);
  EXPECT_THROW_IDS(registry.openURL(URL(u"nosuch://h/a"), FileMode::Read), FileException,
                   "IDS_FERR_BADSCHEME");
  EXPECT_THROW_IDS(registry.openURL(URL(u"relative/a"), FileMode::Read), FileException,
                   "IDS_FERR_BADSCHEME");
  EXPECT_THROW_IDS(registry.registerScheme(InterfacePtr<IScheme>()), IllegalArgumentException,
                   "IDS_ERR_ILLEGAL_ARGUMENT");
  EXPECT_THROW_IDS(registry.move(URL(u"file:///a"), URL(u"http://h/a")), FileException,
                   "IDS_FERROR_COPY_MOVE");
}

// A registered scheme that refused a text left the URL empty: the text was
// lost. The generic grammar now parses what a scheme refuses.
TEST(SchemeRegistry, RefusingSchemeLostTheText) {
  class Refusing : public SchemeBase {
   public:
    Refusing() : SchemeBase(u"x-refuse") {}
    bool IScheme_parseURL(const String& /*text*/, bool /*relative_allowed*/,
                          URL& /*out*/) const override {
      return false;
    }
  };
  SchemeRegistry::instance().registerScheme(InterfacePtr<IScheme>(new Refusing));
  const URL url(u"x-refuse://h/a.b");
  EXPECT_EQ(url.text(), u"x-refuse://h/a.b");
  EXPECT_EQ(url.host(), u"h");
  EXPECT_EQ(url.ext(), u"b");
  EXPECT_TRUE(SchemeRegistry::instance().unregisterScheme(u"x-refuse"));
}

// Lookups take no lock: URLs parsed while another thread registers and
// removes their scheme see either the old or the new table, never a torn one.
TEST(SchemeRegistry, LookupsRaceWithChanges) {
  std::atomic<bool> stop{false};
  std::vector<std::thread> readers;
  for (int i = 0; i < 2; ++i) {
    readers.emplace_back([&stop] {
      while (!stop) {
        const URL url(u"X-Race://h/a.b?c");
        if (url.ext() != u"b" || url.params() != u"c") {
          ADD_FAILURE() << url.text().toUtf8();
        }
      }
    });
  }
  for (int i = 0; i < 200; ++i) {
    SchemeRegistry::instance().registerScheme(InterfacePtr<IScheme>(new TestScheme(u"x-race")));
    EXPECT_TRUE(SchemeRegistry::instance().unregisterScheme(u"x-race"));
  }
  stop = true;
  for (std::thread& reader : readers) reader.join();
}

class FileSchemeTest : public testing::TempDirTest {
 protected:
  static std::string readAll(const URL& url) {
    auto file = SchemeRegistry::instance().openURL(url, FileMode::Read);
    std::string bytes(static_cast<std::size_t>(file->length()), '\0');
    EXPECT_EQ(file->read(bytes.data(), bytes.size()), bytes.size());
    return bytes;
  }
};

TEST_F(FileSchemeTest, OpensInEveryMode) {
  SchemeRegistry& registry = SchemeRegistry::instance();
  const URL a = url("a.txt");
  EXPECT_EQ(a.scheme(), u"file");
  registry.openURL(a, FileMode::Create)->write("hello", 5);
  EXPECT_EQ(readAll(a), "hello");
  registry.openURL(a, FileMode::Append)->write(" world", 6);
  EXPECT_EQ(readAll(a), "hello world");
  {
    auto file = registry.openURL(a, FileMode::Write);
    file->seek(6);
    file->write("WORLD", 5);
    EXPECT_EQ(file->position(), 11u);
    EXPECT_EQ(file->url(), a.text());
  }
  EXPECT_EQ(readAll(a), "hello WORLD");
  registry.openURL(a, FileMode::Create);
  EXPECT_EQ(readAll(a), "");
  EXPECT_THROW_IDS(registry.openURL(a, FileMode::CreateNew), FileException, "IDS_FERROR_FAILURE");
  registry.openURL(URL(u"sfile://" + String::fromUtf8(dir_) + u"/s.bin"), FileMode::CreateNew);
  EXPECT_EQ(readAll(url("s.bin")), "");
}

TEST_F(FileSchemeTest, FailuresCarryPathAndUrl) {
  SchemeRegistry& registry = SchemeRegistry::instance();
  const URL missing = url("missing.txt");
  try {
    registry.openURL(missing, FileMode::Read);
    ADD_FAILURE() << "opened a missing file";
  } catch (const FileException& e) {
    EXPECT_EQ(e.reason(), FileException::Error::FileNotFound);
    EXPECT_EQ(e.path().toUtf8(), dir_ + "/missing.txt");
    EXPECT_EQ(e.url(), missing);
  }
  EXPECT_THROW_IDS(registry.openURL(url("no/such/dir.txt"), FileMode::Create), FileException,
                   "IDS_FERROR_DIRNOTFOUND");
  EXPECT_THROW_IDS(registry.openURL(URL(String::fromUtf8(dir_)), FileMode::Read), FileException,
                   "IDS_FERR_ISADIR");
  EXPECT_THROW_IDS(registry.openURL(URL(u"file://server/share/a"), FileMode::Read), FileException,
                   "IDS_FERROR_BADPATH");
  EXPECT_THROW_IDS(registry.openURL(URL(u"file://"), FileMode::Read), FileException,
                   "IDS_FERROR_BADPATH");
  EXPECT_THROW_IDS(registry.remove(missing), FileException, "IDS_FERROR_FILENOTFOUND");
}

TEST_F(FileSchemeTest, DirectoriesRemoveAndMove) {
  SchemeRegistry& registry = SchemeRegistry::instance();
  IScheme* file = registry.find(u"file");
  const URL sub = url("sub");
  file->IScheme_createDirectory(sub);
  EXPECT_THROW_IDS(file->IScheme_createDirectory(sub), FileException, "IDS_FERROR_FAILURE");
  const URL inner = url("sub/x.bin");
  registry.openURL(inner, FileMode::Create)->write("x", 1);
  EXPECT_THROW_IDS(registry.remove(sub), FileException, "IDS_FERROR_FAILURE");  // not empty
  const URL moved = url("sub/y.bin");
  EXPECT_TRUE(move_file_with_wait(inner, moved));
  EXPECT_EQ(readAll(moved), "x");
  EXPECT_THROW_IDS(move_file_with_wait(inner, moved), FileException, "IDS_FERROR_FILENOTFOUND");
  file->IScheme_remove(sub, u"y.bin");
  EXPECT_TRUE(remove_file_with_wait(sub));
  EXPECT_THROW_IDS(registry.openURL(moved, FileMode::Read), FileException,
                   "IDS_FERROR_DIRNOTFOUND");
}

TEST_F(FileSchemeTest, HashInAFileNameMayBeAFragment) {
  SchemeRegistry& registry = SchemeRegistry::instance();
  const URL hashed = url("a#1.txt");
  ASSERT_TRUE(hashed.possiblyFragment());
  EXPECT_EQ(hashed.fragment(), u"1.txt");
  // Created under the shorter name "a", read back under the longer one when
  // only that exists.
  registry.openURL(hashed, FileMode::Create)->write("short", 5);
  EXPECT_EQ(readAll(url("a")), "short");
  ASSERT_EQ(std::system(("mv '" + dir_ + "/a' '" + dir_ + "/a#1.txt'").c_str()), 0);
  EXPECT_EQ(readAll(hashed), "short");
  EXPECT_FALSE(url("a?x#1").possiblyFragment());
}

// Fails as told, counting its attempts, for the waits.
class FlakyScheme : public SchemeBase {
 public:
  FlakyScheme() : SchemeBase(u"x-flaky") {}
  void IScheme_remove(const URL& url, const String& /*name*/) const override { fail(url); }
  void IScheme_move(const URL& from, const URL& /*to*/) const override { fail(from); }

  mutable std::atomic<int> attempts{0};
  int failures = 0;
  FileException::Error error = FileException::Error::Sharing;
  bool other = false;

 private:
  void fail(const URL& url) const {
    if (++attempts > failures) return;
    if (other) throw IllegalStateException();
    throw FileException(error, url.text(), false, url, URL());
  }
};

TEST(FileWithWait, RetriesHeldFilesTenTimes) {
  InterfacePtr<FlakyScheme> flaky(new FlakyScheme);
  SchemeRegistry::instance().registerScheme(InterfacePtr<IScheme>(flaky));
  const URL url(u"x-flaky://h/f");

  flaky->failures = 2;
  std::atomic<bool> done{false};
  std::atomic<bool> seen_suspended{false};
  std::thread watcher([&] {
    while (!done) {
      for (const rivet::SuspendedThread& t : rivet::suspended_threads()) {
        if (t.reason.find("file") != std::string::npos) seen_suspended = true;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  });
  EXPECT_TRUE(remove_file_with_wait(url));
  done = true;
  watcher.join();
  EXPECT_EQ(flaky->attempts, 3);
  EXPECT_TRUE(seen_suspended);

  flaky->attempts = 0;
  flaky->failures = 100;
  EXPECT_FALSE(move_file_with_wait(url, URL(u"x-flaky://h/g")));
  EXPECT_EQ(flaky->attempts, 10);

  flaky->attempts = 0;
  flaky->error = FileException::Error::FileNotFound;
  EXPECT_THROW_IDS(remove_file_with_wait(url), FileException, "IDS_FERROR_FILENOTFOUND");
  EXPECT_EQ(flaky->attempts, 1);

  flaky->attempts = 0;
  flaky->other = true;
  EXPECT_THROW_IDS(move_file_with_wait(url, url), IllegalStateException, "IDS_ERR_ILLEGAL_STATE");
  EXPECT_EQ(flaky->attempts, 1);
  SchemeRegistry::instance().unregisterScheme(u"x-flaky");
}

}  // namespace
}  // namespace core
