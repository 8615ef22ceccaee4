#include "core/persistence.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "core/binary_data.h"
#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/io.h"
#include "core/list_stream.h"
#include "core/type_domain.h"
#include "core/value.h"
#include "test_util.h"

namespace core {
namespace {

// Writes with `write` through the text and the binary encodings, reads each
// back with `read`; returns the text.
std::string both_ways(const std::function<void(IOutPersistenceStorage*)>& write,
                      const std::function<void(IInPersistenceStorage*)>& read) {
  InterfacePtr<StringWriter> text(new StringWriter);
  InterfacePtr<ListOutPersistenceStorage> out(
      new ListOutPersistenceStorage(ListOutStream(text.get())));
  write(out.get());
  out->writer().close();
  InterfacePtr<IReader> reader(new StringReader(text->str()));
  InterfacePtr<ListInPersistenceStorage> in(
      new ListInPersistenceStorage(ListInStream(reader.get())));
  read(in.get());
  EXPECT_EQ(in->reader().peek(), ListToken::End);

  InterfacePtr<MemoryFile> file(new MemoryFile);
  InterfacePtr<ListOutPersistenceStorage> binaryOut(
      new ListOutPersistenceStorage(ListOutStream(file.get())));
  write(binaryOut.get());
  binaryOut->writer().close();
  file->seek(0);
  InterfacePtr<ListInPersistenceStorage> binaryIn(
      new ListInPersistenceStorage(ListInStream(file.get())));
  read(binaryIn.get());
  EXPECT_EQ(binaryIn->reader().peek(), ListToken::End);
  return text->str().toUtf8();
}

TEST(Persistence, EveryValueKindReadsBackEqual) {
  struct Case {
    Value value;
    const char* text;
  };
  Value type;
  type.assign(create_type_value(Type(TypeCode::Number).getCLSID()).get());
  const Case kCases[] = {
      {Value(), "{0}"},
      {Value(create_null_value()), "{1}"},
      {Value(true), "{2,1}"},
      {Value(false), "{2,0}"},
      {Value(Numeric(-12345) / Numeric(1000)), "{3,-12.345}"},
      {Value(String(u"a\"\n\U0001F600")), "{4,\"a\"\"\n\"\\d83d\"\\de00\"}"},
      {Value(Date(2024, 2, 29, 23, 59, 58)), "{5,638448479980000}"},
      {Value(Date()), "{5,0}"},
  };
  for (const Case& c : kCases) {
    Value read;
    const std::string text = both_ways([&](IOutPersistenceStorage* s) { c.value.serialize(s); },
                                       [&](IInPersistenceStorage* s) {
                                         GenericValue::deserialize(s, read);
                                         EXPECT_TRUE(read.equals(c.value)) << c.text;
                                       });
    EXPECT_EQ(text, c.text);
  }
  const std::uint8_t raw[] = {0xFB, 0xFF, 0x00};
  const Value blob(create_binary_data_value(std::span<const std::uint8_t>(raw)).get());
  Value readBlob;
  EXPECT_EQ(both_ways([&](IOutPersistenceStorage* s) { blob.serialize(s); },
                      [&](IInPersistenceStorage* s) { GenericValue::deserialize(s, readBlob); }),
            "{100,87126200-3e98-44e0-b931-ccb1d7edc497,+/8A}");
  EXPECT_TRUE(readBlob.equals(blob));
  Value readType;
  both_ways([&](IOutPersistenceStorage* s) { type.serialize(s); },
            [&](IInPersistenceStorage* s) { GenericValue::deserialize(s, readType); });
  EXPECT_EQ(readType.type().getTypeCode(), TypeCode::Type);
  EXPECT_TRUE(readType.equals(type));
}

TEST(Persistence, ValueToStringAndBack) {
  Value value(String(u"Привет, \"мир\""));
  String text;
  value.toString(text);
  EXPECT_EQ(text.toUtf8(), "{4,\"Привет, \"\"мир\"\"\"}");
  Value read;
  GenericValue::fromString(text, read);
  EXPECT_TRUE(read.equals(value));
  EXPECT_THROW_IDS(GenericValue::fromString(String(u"{4,\"x\"} {"), read), ListStreamException,
                   "IDS_LISTSTREAMERROR");
}

TEST(Persistence, MalformedValuesAreListStreamErrors) {
  for (const char16_t* text : {u"{6}", u"{2,2}", u"{5,3155378976000000}", u"{3,abc}", u"{4}", u"{}",
                               u"{0,1}", u"{1000,xyz}", u"{-1}"}) {
    SCOPED_TRACE(String(text).toUtf8());
    Value read;
    EXPECT_THROW_IDS(GenericValue::fromString(String(text), read), ListStreamException,
                     "IDS_LISTSTREAMERROR");
  }
}

TEST(Persistence, ObjectValuesHaveNoForm) {
  InterfacePtr<MemoryFile> file(new MemoryFile);  // any IUnknown that is not a value
  Value object;
  object.assign(static_cast<IUnknown*>(file.get()));
  String text;
  EXPECT_THROW_IDS(object.toString(text), UnsupportedOperationException,
                   "IDS_ERR_UNSUPPORTED_OPERATION");
}

TEST(Persistence, NumericDateGuidAndZoneForms) {
  Numeric number;
  number.fromString("-0.000000001");
  const Date date(1999, 12, 31, 23, 59, 59);
  const GUID guid = GUID::parse(u"0ff0ac06-3ccb-4d9b-8a8b-6d1564e7b446");
  const TimeZone zone(u"Europe/Berlin");
  Numeric readNumber;
  Date readDate;
  GUID readGuid{};
  TimeZone readZone(u"UTC");
  const std::string text = both_ways(
      [&](IOutPersistenceStorage* s) {
        to_stream(s->writer(), number);
        to_stream(s->writer(), date);
        to_stream(s->writer(), guid);
        zone.serialize(s->writer());
      },
      [&](IInPersistenceStorage* s) {
        from_stream(s->reader(), readNumber);
        from_stream(s->reader(), readDate);
        from_stream(s->reader(), readGuid);
        readZone.deserialize(s->reader());
      });
  EXPECT_EQ(text,
            "{-0.000000001},\n{630822815990000},\n{0ff0ac06-3ccb-4d9b-8a8b-6d1564e7b446},\n"
            "{\"Europe/Berlin\"}");
  EXPECT_EQ(readNumber, number);
  EXPECT_EQ(readDate, date);
  EXPECT_EQ(readGuid, guid);
  EXPECT_EQ(readZone.id(), zone.id());
}

// The stream members of Numeric and Date write the forms of to_stream and
// read them back, in the text encoding through a writer and a reader and in
// either encoding through a list stream.
template <class T>
void expect_member_round_trips(const std::vector<T>& values, const char16_t* expected_text) {
  InterfacePtr<StringWriter> text(new StringWriter);
  for (const T& value : values) value.toStream(text.get());
  EXPECT_EQ(text->str(), String(expected_text));
  // Each fromStream takes one list and leaves the rest to the next.
  InterfacePtr<IReader> reader(new StringReader(text->str()));
  for (const T& value : values) {
    T read;
    read.fromStream(reader.get());
    EXPECT_EQ(read, value);
  }
  char16_t rest = 0;
  EXPECT_EQ(reader->read(&rest, 1), 0u);

  for (const bool binary : {false, true}) {
    InterfacePtr<MemoryFile> file(new MemoryFile);
    InterfacePtr<StringWriter> words(new StringWriter);
    InterfacePtr<IListOutStream> out = binary ? create_binary_list_out_stream(file.get())
                                              : create_text_list_out_stream(words.get());
    for (const T& value : values) value.toBinary(out.get());
    out->close();
    file->seek(0);
    InterfacePtr<IReader> words_in(new StringReader(words->str()));
    InterfacePtr<IListInStream> in = binary ? create_binary_list_in_stream(file.get())
                                            : create_text_list_in_stream(words_in.get());
    for (const T& value : values) {
      T read;
      read.fromBinary(in.get());
      EXPECT_EQ(read, value) << (binary ? "binary" : "text");
    }
    EXPECT_EQ(in->peek(), ListToken::End);
  }
}

TEST(StreamMembers, NumericAndDateHaveStreamMembersThatRoundTrip) {
  Numeric third(1);
  third /= Numeric(3);
  Numeric big;
  big.fromString("-123456789012345678901234567890123456789.000000000000000000001");
  expect_member_round_trips<Numeric>({Numeric(), Numeric(-5), third, big},
                                     u"{0}{-5}{0.333333333333333333333333333}"
                                     u"{-123456789012345678901234567890123456789."
                                     u"000000000000000000001}");
  expect_member_round_trips<Date>({Date(), Date(2000, 1, 1), Date(Date::kMaxTicks)},
                                  u"{0}{630822816000000}{3155378975999999}");
}

TEST(StreamMembers, BadInputThrowsAndLeavesTheValueAlone) {
  for (const char16_t* text : {u"", u"{", u"{1", u"1}", u"{x}", u"{1,2}", u"}{1}", u"{{1}}"}) {
    SCOPED_TRACE(String(text).toUtf8());
    Numeric number(7);
    InterfacePtr<IReader> reader(new StringReader(String(text)));
    EXPECT_THROW_IDS(number.fromStream(reader.get()), ListStreamException, "IDS_LISTSTREAMERROR");
    EXPECT_EQ(number, Numeric(7));
  }
  for (const char16_t* text : {u"{3155378976000000}", u"{-1}", u"{1.5}", u"{\"1\"}"}) {
    SCOPED_TRACE(String(text).toUtf8());
    Date date(2020, 2, 29);
    InterfacePtr<IReader> reader(new StringReader(String(text)));
    EXPECT_THROW_IDS(date.fromStream(reader.get()), ListStreamException, "IDS_LISTSTREAMERROR");
    EXPECT_EQ(date, Date(2020, 2, 29));
  }
  Numeric number(7);
  Date date(2020, 2, 29);
  EXPECT_THROW_IDS(number.toStream(nullptr), IllegalArgumentException, "IDS_ERR_ILLEGAL_ARGUMENT");
  EXPECT_THROW_IDS(number.fromStream(nullptr), IllegalArgumentException,
                   "IDS_ERR_ILLEGAL_ARGUMENT");
  EXPECT_THROW_IDS(date.toBinary(nullptr), IllegalArgumentException, "IDS_ERR_ILLEGAL_ARGUMENT");
  EXPECT_THROW_IDS(date.fromBinary(nullptr), IllegalArgumentException, "IDS_ERR_ILLEGAL_ARGUMENT");
  EXPECT_EQ(number, Numeric(7));
  EXPECT_EQ(date, Date(2020, 2, 29));
}

TEST(Persistence, UnknownZoneIsAListStreamErrorWithItsCause) {
  InterfacePtr<IReader> reader(new StringReader(String(u"{\"No/Such_Zone\"}")));
  ListInStream in(reader.get());
  TimeZone zone(u"UTC");
  try {
    zone.deserialize(in);
    ADD_FAILURE() << "no exception";
  } catch (const ListStreamException& e) {
    ASSERT_TRUE(e.inner());
    EXPECT_EQ(e.inner()->exception().clsid(), TimeZoneException::kClsid);
  }
  EXPECT_EQ(zone.id(), u"UTC");
}

TEST(Persistence, ExceptionWithCauseRoundTrips) {
  const Exception cause(u"inner text");
  Exception::Categories categories;
  categories.set(1);
  categories.set(17);
  const NumericException outer_placeholder(NumericException::Code::Overflow);
  const Exception outer(u"outer", cause.object().get(),
                        GUID::parse(u"{00000001-0002-0003-0405-060708090a0b}"), categories,
                        String(u"remote trace"));
  Exception read(u"");
  const std::string text = both_ways([&](IOutPersistenceStorage* s) { outer.serialize(s); },
                                     [&](IInPersistenceStorage* s) { read.deserialize(s); });
  EXPECT_EQ(read.clsid(), Exception::kClsid);
  EXPECT_EQ(read.descr(), u"outer");
  EXPECT_EQ(read.stackTrace(), u"remote trace");
  EXPECT_EQ(read.categories(), categories);
  EXPECT_EQ(read.uiHelperUUID(), outer.uiHelperUUID());
  ASSERT_TRUE(read.inner());
  EXPECT_EQ(read.inner()->exception().descr(), u"inner text");
  EXPECT_FALSE(read.inner()->exception().inner());
  EXPECT_NE(text.find("\"100000000000000010\""), std::string::npos) << text;
  EXPECT_NE(text.find("{00000000-0000-0000-0000-000000000000}"), std::string::npos) << text;

  // Subclasses write their extra fields after the base part.
  NumericException subclass(NumericException::Code::DivideByZero);
  both_ways([&](IOutPersistenceStorage* s) { outer_placeholder.serialize(s); },
            [&](IInPersistenceStorage* s) { subclass.deserialize(s); });
  EXPECT_EQ(subclass.clsid(), NumericException::kClsid);
  EXPECT_EQ(subclass.descr(), outer_placeholder.descr());
  EXPECT_EQ(subclass.code(), NumericException::Code::Overflow);
}

TEST(Persistence, MalformedExceptionsAreListStreamErrors) {
  const std::u16string zero = u"00000000-0000-0000-0000-000000000000";
  const std::u16string bad[] = {
      u"{" + zero + u",\"d\",{" + zero + u"},\"\",\"0\"," + zero + u"}",  // short bits
      u"{" + zero + u",\"d\",{" + zero + u"},\"\",\"00000000000000000x\"," + zero + u"}",
      u"{" + zero + u",\"d\",{" + zero + u"},\"\",\"000000000000000000\"}",  // no uuid
  };
  for (const std::u16string& text : bad) {
    InterfacePtr<IReader> reader(new StringReader(String(text)));
    InterfacePtr<ListInPersistenceStorage> in(
        new ListInPersistenceStorage(ListInStream(reader.get())));
    Exception read(u"");
    EXPECT_THROW_IDS(read.deserialize(in.get()), ListStreamException, "IDS_LISTSTREAMERROR");
  }
  // Causes nested beyond the limit.
  std::u16string deep;
  const std::u16string one = u"0ff0ac06-3ccb-4d9b-8a8b-6d1564e7b446";
  for (int i = 0; i < 100; ++i) deep += u"{" + one + u",\"d\",";
  InterfacePtr<IReader> reader(new StringReader(String(deep)));
  InterfacePtr<ListInPersistenceStorage> in(
      new ListInPersistenceStorage(ListInStream(reader.get())));
  Exception read(u"");
  EXPECT_THROW_IDS(read.deserialize(in.get()), ListStreamException, "IDS_LISTSTREAMERROR");
}

}  // namespace
}  // namespace core

namespace core {
namespace {

TEST(Persistence, TypeDescriptionsReadBackEqual) {
  TypeDomainPattern number(TypeDomainPattern::kNumberType);
  number.setNumericQualifiers(NumericQualifiers(15, 2, true));
  TypeDomainPattern mixed(std::vector<GUID>{TypeDomainPattern::kStringType,
                                            TypeDomainPattern::kDateType,
                                            TypeDomainPattern::kBinaryDataType});
  mixed.setStringQualifiers(StringQualifiers(10, LengthKind::Fixed));
  mixed.setDateQualifiers(DateQualifiers(DateParts::Date));
  mixed.setBinaryQualifiers(BinaryQualifiers(8, LengthKind::Variable));
  const TypeDomainPattern patterns[] = {number, mixed, TypeDomainPattern()};
  for (const TypeDomainPattern& pattern : patterns) {
    TypeDomainPattern read_pattern(TypeDomainPattern::kStringType);
    TypeDomain read_domain;
    both_ways(
        [&](IOutPersistenceStorage* s) {
          pattern.serialize(s->writer());
          TypeDomain(pattern).serialize(s->writer());
        },
        [&](IInPersistenceStorage* s) {
          read_pattern.deserialize(s->reader());
          read_domain = TypeDomain::deserialize(s->reader());
        });
    EXPECT_TRUE(read_pattern == pattern);
    EXPECT_TRUE(read_domain == TypeDomain(pattern));
    EXPECT_EQ(read_pattern.hash(), pattern.hash());
  }
}

TEST(Persistence, MalformedTypeDescriptionsAreListStreamErrors) {
  for (const char16_t* text : {u"{1,{15,2,0},{0,1},{3},{0,1}}", u"{0,{15,2},{0,1},{3},{0,1}}",
                               u"{x}", u"{1,b0be78f2-0ee6-4d31-a3bb-77dd32ba5bec"}) {
    InterfacePtr<IReader> reader(new StringReader(String(text)));
    ListInStream in(reader.get());
    TypeDomainPattern pattern(TypeDomainPattern::kNumberType);
    const TypeDomainPattern before = pattern;
    EXPECT_THROW(pattern.deserialize(in), ListStreamException) << String(text).toUtf8();
    EXPECT_TRUE(pattern == before);  // unchanged by a failed read
  }
}

}  // namespace
}  // namespace core

namespace core {
namespace {

TEST(Persistence, ExtraFieldsOfExceptionsRoundTrip) {
  const FileException file(FileException::Error::FileNotFound, String(u"/data/счёт.txt"), true,
                           URL(u"file:///data/"), URL(u"file:///backup/"));
  FileException read_file(FileException::Error::Access);
  const std::string text = both_ways([&](IOutPersistenceStorage* s) { file.serialize(s); },
                                     [&](IInPersistenceStorage* s) { read_file.deserialize(s); });
  EXPECT_EQ(read_file.reason(), FileException::Error::FileNotFound);
  EXPECT_EQ(read_file.path(), file.path());
  EXPECT_TRUE(read_file.isDirectory());
  EXPECT_EQ(read_file.url(), file.url());
  EXPECT_EQ(read_file.secondUrl(), file.secondUrl());
  EXPECT_NE(text.find("\"file:///backup/\""), std::string::npos) << text;

  const VersionException version(String(u"needs a newer release"), "8.3.20",
                                 String(u"https://example.test/update"));
  VersionException read_version(String(), "", String());
  both_ways([&](IOutPersistenceStorage* s) { version.serialize(s); },
            [&](IInPersistenceStorage* s) { read_version.deserialize(s); });
  EXPECT_EQ(read_version.requestedVersion(), "8.3.20");
  EXPECT_EQ(read_version.downloadResource(), version.downloadResource());
}

// Every cause was written as a plain Exception, so a cause's own fields (a
// ConverterException's code) were lost; a cause that cannot write itself was
// written all the same.
TEST(ExceptionRegression, CauseOwnFieldsLost) {
  struct Case {
    InterfacePtr<IExceptionObject> cause;  // null: none
    const char* written;                   // a piece of the text form
  };
  const Case cases[] = {
      {ConverterException(ConverterException::Code::BadName, String(u"koi9")).object(),
       "\n{1},\"trace\""},
      {FileException(FileException::Error::FileNotFound, String(u"/a"), true, URL(u"file:///a"),
                     URL(u"file:///b"))
           .object(),
       "\n{7,\"/a\",1,\"file:///a\",\"file:///b\"},\"trace\""},
      {NetDataExchangeException(String(u"net"), NetDataExchangeException::ErrorKind{}, 7).object(),
       "\n{0,7},\"trace\""},
      // A cause with a cause of its own, both with own fields.
      {NumericException(NumericException::Code::Overflow,
                        ConverterException(ConverterException::Code::BadData).object().get())
           .object(),
       "\n{2},\"\",\"000000000000000000\",00000000-0000-0000-0000-000000000000},\n{3},\"trace\""},
      {Exception(u"plain").object(), "\"plain\",\n{00000000-0000-0000-0000-000000000000}"},
      {nullptr, "\"outer\",\n{00000000-0000-0000-0000-000000000000},\"trace\""},
  };
  for (const Case& c : cases) {
    const Exception outer(String(u"outer"), c.cause.get(), GUID{}, Exception::Categories(),
                          String(u"trace"));
    Exception read(u"");
    const std::string first = both_ways([&](IOutPersistenceStorage* s) { outer.serialize(s); },
                                        [&](IInPersistenceStorage* s) { read.deserialize(s); });
    SCOPED_TRACE(first);
    EXPECT_NE(first.find(c.written), std::string::npos);
    ASSERT_EQ(static_cast<bool>(read.inner()), static_cast<bool>(c.cause));
    if (c.cause) {
      EXPECT_EQ(read.inner()->exception().clsid(), c.cause->exception().clsid());
    }
    // What was read writes the same text again: the cause kept its fields.
    Exception again(u"");
    EXPECT_EQ(both_ways([&](IOutPersistenceStorage* s) { read.serialize(s); },
                        [&](IInPersistenceStorage* s) { again.deserialize(s); }),
              first);
  }
}

// A cause that does not offer the serializable interface is left out.
TEST(ExceptionRegression, UnserializableCauseWritten) {
  class Foreign final : public UnknownImpl<IExceptionObject> {
   public:
    const Exception& exception() const override { return exception_; }

   private:
    Exception exception_{u"foreign"};
  };
  const InterfacePtr<IExceptionObject> foreign(new Foreign);
  const Exception outer(String(u"outer"), foreign.get(), GUID{}, Exception::Categories(),
                        String(u"trace"));
  Exception read(u"");
  const std::string text = both_ways([&](IOutPersistenceStorage* s) { outer.serialize(s); },
                                     [&](IInPersistenceStorage* s) { read.deserialize(s); });
  EXPECT_EQ(text.find("foreign"), std::string::npos) << text;
  EXPECT_FALSE(read.inner());
  EXPECT_EQ(read.descr(), u"outer");
  EXPECT_EQ(read.stackTrace(), u"trace");
  // Own fields of a class the library does not know are refused.
  const std::u16string zero = u"00000000-0000-0000-0000-000000000000";
  const std::u16string unknown = u"0ff0ac06-3ccb-4d9b-8a8b-6d1564e7b446";
  InterfacePtr<IReader> reader(new StringReader(String(
      u"{" + zero + u",\"d\",{" + unknown + u",\"c\",{" + zero + u"},\"\",\"000000000000000000\"," +
      zero + u"},{1},\"\",\"000000000000000000\"," + zero + u"}")));
  InterfacePtr<ListInPersistenceStorage> in(
      new ListInPersistenceStorage(ListInStream(reader.get())));
  EXPECT_THROW_IDS(read.deserialize(in.get()), ListStreamException, "IDS_LISTSTREAMERROR");
}

TEST(Persistence, TruncatedExtraFieldsAreListStreamErrors) {
  InterfacePtr<StringWriter> text(new StringWriter);
  InterfacePtr<ListOutPersistenceStorage> out(
      new ListOutPersistenceStorage(ListOutStream(text.get())));
  StorageException(StorageException::Error::Overflow, URL(u"q9stg64://c:/1/")).serialize(out.get());
  out->writer().close();
  const String whole = text->str();
  // Cut inside the extra list: the base part reads, the extra fields fail.
  const String cut = whole.substr(0, whole.size() - 3);
  InterfacePtr<IReader> reader(new StringReader(cut));
  InterfacePtr<ListInPersistenceStorage> in(
      new ListInPersistenceStorage(ListInStream(reader.get())));
  StorageException read(StorageException::Error::BadFormat, URL(u"file:///x"));
  EXPECT_THROW(read.deserialize(in.get()), ListStreamException);
  EXPECT_EQ(read.reason(), StorageException::Error::BadFormat);  // the fields stay
}

}  // namespace
}  // namespace core
