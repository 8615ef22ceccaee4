#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/messages.h"
#include "core/parameter_errors.h"
#include "core/scom.h"
#include "platform/stack_trace.h"
#include "test_util.h"

namespace core {
namespace {

using Category = Exception::Category;

Category category(unsigned value) { return static_cast<Category>(value); }

bool ends_with(const String& text, std::u16string_view tail) {
  return std::u16string_view(text).ends_with(tail);
}

int count_lines(const std::string& text) {
  return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

TEST(FormatExceptionDescr, EmptyTextSwallowsTheExtra) {
  EXPECT_EQ(format_exception_descr(String(u""), String(u"x")), u"");
  EXPECT_EQ(format_exception_descr(String(u"a"), String(u"")), u"a");
  EXPECT_EQ(format_exception_descr(String(u"a"), String(u"b")), u"a\nb");
}

TEST(FormatExceptionDescr, LocationFollowsTheDescription) {
  EXPECT_EQ(format_exception_descr("f.cpp", 42, u"read", String(u"a"), String(u"b")),
            u"a\nb\n[f.cpp - read (42)]");
  EXPECT_EQ(format_exception_descr("f.cpp", 42, u"read", String(u"a"), String()),
            u"a\n[f.cpp - read (42)]");
  // The location is kept even when the text is missing.
  EXPECT_EQ(format_exception_descr("f.cpp", 0, u"read", String(), String(u"b")),
            u"\n[f.cpp - read (0)]");
  EXPECT_EQ(format_exception_descr(nullptr, 4294967295u, nullptr, String(u"a"), String()),
            u"a\n[ -  (4294967295)]");
  // File names are UTF-8; a "%" in them is not a placeholder.
  EXPECT_EQ(format_exception_descr("\xD1\x84%d.cpp", 1, u"%s", String(u"a"), String()),
            u"a\n[\u0444%d.cpp - %s (1)]");
}

TEST(ExceptionCategories, CategoryOfMasksToEighteenBits) {
  EXPECT_EQ(Exception::categoryOf(category(17)).to_ullong(), 1ull << 17);
  EXPECT_EQ(Exception::categoryOf(Category::ZelUsage).to_ullong(), 1ull << 6);
  EXPECT_TRUE(Exception::categoryOf(category(18)).none());
  EXPECT_TRUE(Exception::categoryOf(category(64)).none());
  EXPECT_TRUE(Exception::categoryOf(category(0xFFFFFFFFu)).none());
  EXPECT_EQ(Exception::categoryOf({Category::Other, category(18), Category::ZelUsage}).to_ullong(),
            (1ull << 0) | (1ull << 6));
  EXPECT_TRUE(Exception::categoryOf({}).none());
}

TEST(ExceptionCategories, EachHasItsOwnPresentationIdentifier) {
  EXPECT_STREQ(Exception::categoryPresentationId(Category::ZelUsage),
               "IDS_ENUM_EXCEPTIONCATEGORY_ZELUSAGE");
  EXPECT_EQ(Exception::categoryPresentationId(category(18)), nullptr);
  std::set<std::string> ids;
  for (unsigned i = 0; i < Exception::kCategoryCount; ++i) {
    const char* id = Exception::categoryPresentationId(category(i));
    ASSERT_NE(id, nullptr) << i;
    EXPECT_FALSE(load_core_wstring(id).empty()) << id;
    ids.insert(id);
  }
  EXPECT_EQ(ids.size(), Exception::kCategoryCount);
  EXPECT_EQ(ids.count("IDS_ENUM_EXCEPTIONCATEGORY_ALL"), 0u);
}

TEST(ExceptionTrace, CapturedOnlyWithoutCauseOrCarriedTrace) {
  const Exception plain(u"plain");
  const std::string trace = plain.creationStackTrace();
  EXPECT_GT(count_lines(trace), 0);
  EXPECT_EQ(trace.rfind("#0 0x", 0), 0u) << trace;

  const Exception with_cause(u"outer", plain.object().get());
  EXPECT_EQ(with_cause.creationStackTrace(), "");

  const Exception carried(String(u"remote"), nullptr, GUID{}, Exception::Categories(),
                          String(u"far away"));
  EXPECT_EQ(carried.creationStackTrace(), "");
  EXPECT_EQ(carried.stackTrace(), u"far away");
}

volatile int deepest_level = 0;

// Not inlined, and with work after the call, so that every level of the
// recursion is a frame of its own.
__attribute__((noinline)) Exception make_deep(int depth) {
  if (depth == 0) return Exception(u"deep");
  Exception e = make_deep(depth - 1);
  deepest_level = depth;
  return e;
}

TEST(ExceptionTrace, KeepsAtMostOneHundredFrames) {
  EXPECT_EQ(count_lines(make_deep(150).creationStackTrace()), platform::StackTrace::kMaxFrames);
}

TEST(ExceptionTrace, SetOnClientFromServerMovesTheCarriedTrace) {
  const auto bits = Exception::categoryOf(
      {Category::LocalFile, Category::Application, Category::OsPermissionDenied, category(17)});
  Exception received(String(u"remote"), nullptr, GUID{}, bits, String(u"server frames"));
  received.setOnClientFromServer();
  EXPECT_EQ(received.serverStackTrace(), u"server frames");
  EXPECT_EQ(received.stackTrace(), u"");
  EXPECT_GT(count_lines(received.creationStackTrace()), 0);
  EXPECT_EQ(received.categories(), Exception::categoryOf({Category::Application, category(17)}));

  // With a cause no local trace is captured; with no carried trace only the
  // categories change.
  Exception cause(u"cause");
  Exception wrapped(String(u"remote"), cause.object().get(), GUID{}, bits, String(u"frames"));
  wrapped.setOnClientFromServer();
  EXPECT_EQ(wrapped.creationStackTrace(), "");
  EXPECT_EQ(wrapped.serverStackTrace(), u"frames");

  Exception local(String(u"local"), nullptr, GUID{}, bits, String());
  local.setOnClientFromServer();
  EXPECT_EQ(local.serverStackTrace(), u"");
  EXPECT_FALSE(local.categories().test(1));
  EXPECT_FALSE(local.categories().test(3));
  EXPECT_TRUE(local.categories().test(2));
}

TEST(ExceptionTrace, DemangleReadsMangledNamesOnly) {
  EXPECT_EQ(platform::demangle("_ZN4core6StringC1EPKDs"), "core::String::String(char16_t const*)");
  EXPECT_EQ(platform::demangle("main"), "main");
  EXPECT_EQ(platform::demangle("_Z"), "_Z");
  EXPECT_EQ(platform::demangle(nullptr), "");
}

// An exception object on the stack that records what happens to its count.
class CountedObject : public IExceptionObject {
 public:
  bool queryInterface(const GUID&, void** out) override {
    *out = nullptr;
    return false;
  }
  int32_t acquire() override { return ++count; }
  int32_t release() override {
    if (--count == 0) ++destroyed;
    return count;
  }
  const Exception& exception() const override { return wrapped; }

  int32_t count = 0;
  int destroyed = 0;
  Exception wrapped{u"wrapped"};
};

TEST(ExceptionChain, InnerTakesTheNewReferenceFirst) {
  CountedObject cause;
  {
    Exception e(u"outer", &cause);
    EXPECT_EQ(cause.count, 1);
    // Handing back the only reference must not free the cause in between.
    e.inner(e.inner().get());
    EXPECT_EQ(cause.count, 1);
    EXPECT_EQ(cause.destroyed, 0);
    Exception copy = e;
    EXPECT_EQ(cause.count, 2);
    e.inner(nullptr);
    EXPECT_EQ(cause.count, 1);
  }
  EXPECT_EQ(cause.count, 0);
  EXPECT_EQ(cause.destroyed, 1);
}

TEST(ExceptionChain, ObjectWrapsACopy) {
  IllegalStateException e(String(u"detail"));
  InterfacePtr<IExceptionObject> object = e.object();
  e.descr(String(u"changed"));
  EXPECT_EQ(object->exception().clsid(), IllegalStateException::kClsid);
  EXPECT_NE(object->exception().descr(), e.descr());
  EXPECT_TRUE(ends_with(object->exception().descr(), u"detail"));
  EXPECT_TRUE(object.query<IExceptionObject>());
  EXPECT_TRUE(object.query<IUnknown>());
}

TEST(ExceptionChain, GetExceptionObjectWalksTheCauseChain) {
  const TypeException root(String(u"T"));
  const IllegalStateException middle(String(u"m"), root.object().get());
  const IllegalArgumentException outer(String(u"o"), middle.object().get());
  const InterfacePtr<IExceptionObject> chain = outer.object();

  EXPECT_EQ(get_exception_object(chain.get(), IllegalArgumentException::kClsid), chain);
  InterfacePtr<IExceptionObject> found =
      get_exception_object(chain.get(), IllegalStateException::kClsid);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->exception().descr(), middle.descr());
  found = get_exception_object(chain.get(), TypeException::kClsid);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->exception().descr(), root.descr());
  EXPECT_FALSE(get_exception_object(chain.get(), LocaleException::kClsid));
  EXPECT_FALSE(get_exception_object(nullptr, TypeException::kClsid));

  // The outermost of two exceptions of one class is found first.
  const IllegalStateException twice(String(u"again"), chain.get());
  found = get_exception_object(twice.object().get(), IllegalStateException::kClsid);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->exception().descr(), twice.descr());
}

TEST(ExceptionCount, EveryConstructionCountsOnceAndCopiesDoNot) {
  ExceptionsCount& count = current_ecxeptions_count();
  const uint64_t before = count.value();
  const Exception first(u"one");
  const Exception copy = first;
  const InterfacePtr<IExceptionObject> object = first.object();
  EXPECT_EQ(count.value(), before + 1);
  try {
    parameter_type_mismatch(0);
  } catch (const ContextException&) {
  }
  EXPECT_EQ(count.value(), before + 2);
}

// The classes that carry one message identifier and the four shapes of
// description.
template <class E>
class MessageClass : public ::testing::Test {};

using MessageClasses =
    ::testing::Types<ApplicationException, CommandLineException, IllegalArgumentException,
                     IllegalStateException, ListStreamException, UnsupportedOperationException>;
TYPED_TEST_SUITE(MessageClass, MessageClasses);

TYPED_TEST(MessageClass, BuildsTheFourShapesFromItsOwnText) {
  using E = TypeParam;
  const String text = load_core_wstring(E::kMessageId);
  ASSERT_FALSE(text.empty()) << E::kMessageId;
  const String extra(u"extra");
  const Exception cause(u"cause");

  const E alone(cause.object().get());
  EXPECT_TRUE(testing::IsExceptionWithText(alone, E::kClsid, E::kMessageId));
  EXPECT_EQ(alone.descr(), text);
  ASSERT_TRUE(alone.inner());
  EXPECT_EQ(alone.inner()->exception().descr(), u"cause");

  EXPECT_EQ(E(extra).descr(), text + u"\nextra");
  EXPECT_EQ(E("x.cpp", 7, u"fn").descr(), text + u"\n[x.cpp - fn (7)]");
  EXPECT_EQ(E("x.cpp", 7, u"fn", extra).descr(), text + u"\nextra\n[x.cpp - fn (7)]");
  EXPECT_TRUE(E().categories().none());
  EXPECT_TRUE(E().uiHelperUUID().isNull());
}

TEST(ExceptionClasses, SelectorsPickTheirIdentifiers) {
  EXPECT_THROW_IDS(throw ThreadException(ThreadException::Error::Timeout), ThreadException,
                   "IDS_ERR_THREAD_TIMEOUT");
  EXPECT_THROW_IDS(throw ThreadException(ThreadException::Error::Cancelled), ThreadException,
                   "IDS_ERR_THREAD_CANCELLED");
  EXPECT_THROW_IDS(throw BufferException(BufferException::Error::Underflow), BufferException,
                   "IDS_EXCP_BUFFER_UNDERFLOW");
  EXPECT_THROW_IDS(throw IOException(IOException::Error::UndecodedBytes), IOException,
                   "IDS_IO_ERR_UNDECODED_BYTES");
  EXPECT_THROW_IDS(throw NumericException(NumericException::Code::NegativePow), NumericException,
                   "IDS_NUMERROR_NEGATIVEPOW");
  EXPECT_THROW_IDS(throw StringTokenizerException(StringTokenizerException::Code::MissedDelim),
                   StringTokenizerException, "IDS_ERR_STRING_UTILS_MISSED_DELIM");
  EXPECT_THROW_IDS(throw ContextException("IDS_ERR_MEMORYLIMITS"), ContextException,
                   "IDS_ERR_MEMORYLIMITS");
  EXPECT_THROW_IDS(throw CtorException("IDS_TOO_MANY_PARAMETERS"), CtorException,
                   "IDS_TOO_MANY_PARAMETERS");

  const FileException file(FileException::Error::TooLongFileName, String(u"/tmp/x"));
  EXPECT_EQ(file.descr(), load_core_wstring("IDS_FERR_TOOLONGFILE") + u"\n/tmp/x");
  EXPECT_EQ(file.path(), u"/tmp/x");
  EXPECT_EQ(file.reason(), FileException::Error::TooLongFileName);

  const URL url(u"file:///data.bin");
  const StorageException storage(StorageException::Error::IsDestination, url, "s.cpp", 3, u"open");
  EXPECT_EQ(storage.descr(),
            load_core_wstring("IDS_STERROR_ISDESTINATION") + u"\n[s.cpp - open (3)]");
  EXPECT_EQ(storage.url(), url);
}

// Every value of `Selector` from `first` to `first` + `count` - 1 gives a
// description of its own, so no identifier is misspelt or shared by mistake.
template <class E, class Selector>
void expect_distinct_texts(int count, int first = 0) {
  std::set<std::u16string> texts;
  for (int i = first; i < first + count; ++i) {
    const E e(static_cast<Selector>(i));
    EXPECT_FALSE(e.descr().empty()) << typeid(E).name() << " " << i;
    texts.insert(std::u16string(std::u16string_view(e.descr())));
  }
  EXPECT_EQ(texts.size(), static_cast<std::size_t>(count)) << typeid(E).name();
}

TEST(ExceptionClasses, EverySelectorHasATextOfItsOwn) {
  expect_distinct_texts<BufferException, BufferException::Error>(5);
  expect_distinct_texts<COMTypeException, COMTypeException::Code>(2);
  expect_distinct_texts<ConverterException, ConverterException::Code>(2, 1);
  expect_distinct_texts<FileException, FileException::Error>(26);
  expect_distinct_texts<IOException, IOException::Error>(7);
  expect_distinct_texts<NumericException, NumericException::Code>(3, 1);
  expect_distinct_texts<StringTemplateException, StringTemplateException::Code>(3);
  expect_distinct_texts<StringTokenizerException, StringTokenizerException::Code>(3);
  expect_distinct_texts<ThreadException, ThreadException::Error>(5);
  for (int i = 0; i < 4; ++i) {
    EXPECT_FALSE(StorageException(static_cast<StorageException::Error>(i), URL()).descr().empty());
  }
  EXPECT_FALSE(RegexException(RegexException::Error::RuleSyntax).descr().empty());
  EXPECT_FALSE(PivotSourceException(PivotSourceException::Error::DataSourceError).descr().empty());
  EXPECT_FALSE(ValueIsFilledException(1).descr().empty());
  EXPECT_FALSE(InteractiveSecurityException(String(u"run")).descr().empty());
}

TEST(ExceptionClasses, SelectorOutsideItsEnumerationGivesNoText) {
  EXPECT_EQ(ThreadException(static_cast<ThreadException::Error>(5)).descr(), u"");
  EXPECT_EQ(ThreadException(static_cast<ThreadException::Error>(-1), String(u"x")).descr(), u"");
  EXPECT_EQ(NumericException(static_cast<NumericException::Code>(4), "f", 1, u"w").descr(),
            u"\n[f - w (1)]");
  EXPECT_EQ(NumericException(static_cast<NumericException::Code>(0)).descr(), u"");
  EXPECT_EQ(ContextException(static_cast<const char*>(nullptr)).descr(), u"");
}

TEST(ExceptionClasses, ArgumentFillsThePlaceholder) {
  ASSERT_EQ(message_arguments("IDS_BADLOCALENAME"), "s");
  const String locale_text = load_core_wstring("IDS_BADLOCALENAME");
  ASSERT_NE(std::u16string_view(locale_text).find(u"%s"), std::u16string_view::npos);
  const LocaleException locale(String(u"xx_YY"));
  EXPECT_EQ(locale.descr(), format_message(locale_text, {u"xx_YY"}));
  EXPECT_NE(std::u16string_view(locale.descr()).find(u"xx_YY"), std::u16string_view::npos);
  EXPECT_EQ(std::u16string_view(locale.descr()).find(u"%s"), std::u16string_view::npos);

  const String zone_text = load_core_wstring("IDS_BADTIMEZONEID");
  EXPECT_EQ(TimeZoneException(String(u"Mars/Olympus")).descr(),
            format_message(zone_text, {u"Mars/Olympus"}));

  const String type_text = load_core_wstring("IDS_TYPEERROR_TYPENOTDEFINED");
  EXPECT_EQ(TypeException(String(u"Widget")).descr(), format_message(type_text, {u"Widget"}));
  EXPECT_EQ(TypeException().descr(), format_message(type_text, {u""}));
  EXPECT_EQ(std::u16string_view(TypeException().descr()).find(u"%s"), std::u16string_view::npos);
}

TEST(ExceptionClasses, ClassIdentifiersAreDistinct) {
  const GUID ids[] = {
      Exception::kClsid,
      ApplicationException::kClsid,
      BufferException::kClsid,
      COMTypeException::kClsid,
      CancelOperationException::kClsid,
      CommandLineException::kClsid,
      ComparatorException::kClsid,
      ContextException::kClsid,
      ConverterException::kClsid,
      CtorException::kClsid,
      DataSourceException::kClsid,
      EDBException::kClsid,
      FileException::kClsid,
      IOException::kClsid,
      IllegalArgumentException::kClsid,
      IllegalStateException::kClsid,
      InteractiveSecurityException::kClsid,
      ListStreamException::kClsid,
      LocaleException::kClsid,
      NetDataExchangeException::kClsid,
      NumericException::kClsid,
      PivotSourceException::kClsid,
      ProfileSrcException::kClsid,
      RegexException::kClsid,
      RemotingException::kClsid,
      SCOM_Exception::kClsid,
      StackOverflowException::kClsid,
      StorageException::kClsid,
      StringTemplateException::kClsid,
      StringTokenizerException::kClsid,
      ThreadException::kClsid,
      TimeZoneException::kClsid,
      TypeDomainPatternProviderException::kClsid,
      TypeException::kClsid,
      UnsupportedOperationException::kClsid,
      ValueIsFilledException::kClsid,
      VersionException::kClsid,
  };
  EXPECT_EQ(std::set<GUID>(std::begin(ids), std::end(ids)).size(), std::size(ids));

  // The derived class of the tree keeps its own clsid.
  const NetDataExchangeException net(String(u"reset"), NetDataExchangeException::ErrorKind::Socket,
                                     104);
  const RemotingException& remoting = net;
  EXPECT_EQ(remoting.clsid(), NetDataExchangeException::kClsid);
  EXPECT_EQ(net.code(), 104);

  static_assert(!std::is_base_of_v<Exception, ThreadDeath>);
  static_assert(!std::is_base_of_v<Exception, HexConvExc>);
  static_assert(!std::is_base_of_v<Exception, ProcessInitException>);
}

TEST(ParameterErrors, ReportTheOneBasedNumberAndTheExtra) {
  ASSERT_EQ(message_arguments("IDS_PARAMETER_N_TYPE_MISMATCH"), "d");
  const String type_text = load_core_wstring("IDS_PARAMETER_N_TYPE_MISMATCH");
  ASSERT_FALSE(type_text.empty());
  try {
    parameter_type_mismatch(0);
    ADD_FAILURE() << "returned";
  } catch (const ContextException& e) {
    EXPECT_EQ(e.clsid(), ContextException::kClsid);
    EXPECT_EQ(e.descr(), format_message(type_text, {1}));
    EXPECT_NE(std::u16string_view(e.descr()).find(u'1'), std::u16string_view::npos);
    EXPECT_EQ(e.categories(), Exception::categoryOf(Category::ZelUsage));
    EXPECT_FALSE(e.inner());
  }
  try {
    parameter_type_mismatch(0, String(u"t"));
    ADD_FAILURE() << "returned";
  } catch (const ContextException& e) {
    EXPECT_EQ(e.descr(), format_message(type_text, {1}) + u" (t)");
  }
  try {
    parameter_value_mismatch(41, String(u"count"));
    ADD_FAILURE() << "returned";
  } catch (const ContextException& e) {
    EXPECT_EQ(e.descr(), format_message(load_core_wstring("IDS_PARAMETER_N_VALUE_MISMATCH"), {42}) +
                             u" (count)");
  }
}

TEST(ParameterErrors, NumbersBeyondFiveDigitsAreCutToTheTextLengthPlusThree) {
  const String text = load_core_wstring("IDS_PARAMETER_N_VALUE_MISMATCH");
  ASSERT_FALSE(text.empty());
  try {
    parameter_value_mismatch(99998);  // reports 99999: five digits fit
  } catch (const ContextException& e) {
    EXPECT_EQ(e.descr(), format_message(text, {99999}));
  }
  try {
    parameter_value_mismatch(4294967295u, String(u"x"));  // reports 4294967296
  } catch (const ContextException& e) {
    EXPECT_EQ(e.descr(), format_message(text, {4294967296ll}).substr(0, text.size() + 3) + u" (x)");
  }
}

TEST(ParameterErrors, ConstructorFormsThrowCtorException) {
  EXPECT_THROW_IDS(ctor_parameter_type_mismatch(2), CtorException, "IDS_PARAMETER_N_TYPE_MISMATCH");
  EXPECT_THROW_IDS(ctor_parameter_value_mismatch(2, String(u"v")), CtorException,
                   "IDS_PARAMETER_N_VALUE_MISMATCH");
  try {
    ctor_parameter_value_mismatch(2, String(u"v"));
  } catch (const CtorException& e) {
    EXPECT_TRUE(ends_with(e.descr(), u" (v)"));
    EXPECT_EQ(e.categories(), Exception::categoryOf(Category::ZelUsage));
  }
}

// The message-identifier shapes of CtorException (and ContextException)
// gave no category, where every parameter and context error has ZelUsage.
TEST(ExceptionRegression, CtorExceptionWithoutUsageCategory) {
  const Exception cases[] = {
      CtorException("IDS_TOO_MANY_PARAMETERS"),
      CtorException("IDS_NOT_ENOUGH_PARAMETERS", String(u"x")),
      CtorException("IDS_VS_UNSERIALIZABLE_VALUE", "f.cpp", 1, u"w"),
      CtorException("IDS_TOO_MANY_PARAMETERS", "f.cpp", 1, u"w", String(u"x")),
      ContextException("IDS_ERR_MEMORYLIMITS"),
      ContextException("IDS_PROPERTY_TYPE_MISMATCH", "f.cpp", 1, u"w", String(u"x")),
  };
  for (const Exception& e : cases) {
    SCOPED_TRACE(e.descr().toUtf8());
    EXPECT_EQ(e.categories(), Exception::categoryOf(Category::ZelUsage));
  }
}

TEST(ParameterErrors, PropertyValueMismatchKeepsTheCause) {
  const IllegalArgumentException cause(String(u"why"));
  try {
    property_value_mismatch(cause.object().get());
  } catch (const ContextException& e) {
    EXPECT_TRUE(
        testing::IsExceptionWithText(e, ContextException::kClsid, "IDS_PROPERTY_VALUE_MISMATCH"));
    EXPECT_EQ(e.descr(), load_core_wstring("IDS_PROPERTY_VALUE_MISMATCH"));
    ASSERT_TRUE(e.inner());
    EXPECT_EQ(e.inner()->exception().clsid(), IllegalArgumentException::kClsid);
    EXPECT_EQ(e.creationStackTrace(), "");
    EXPECT_EQ(e.categories(), Exception::categoryOf(Category::ZelUsage));
  }
}

}  // namespace
}  // namespace core
