#include <gtest/gtest.h>
#include <iconv.h>

#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "core/converter.h"
#include "core/exception_classes.h"
#include "core/messages.h"

namespace core {
namespace {

// Latin and Cyrillic that every encoding of the tests can carry.
const char16_t kMixed[] =
    u"Счёт 17 от 01.02.2024: Ёлки и палки, ЪЫЬ эюя, total 1 234,50 руб.; Invoice ABC-9 xyz";

// The bytes glibc's iconv makes of `text`, an independent converter.
std::string iconv_narrow(const char* encoding, std::u16string_view text) {
  iconv_t cd = iconv_open(encoding, "UTF-16LE");
  EXPECT_NE(cd, reinterpret_cast<iconv_t>(-1)) << encoding;
  std::string out(text.size() * 4 + 16, '\0');
  char* in = const_cast<char*>(reinterpret_cast<const char*>(text.data()));
  size_t in_left = text.size() * 2;
  char* target = out.data();
  size_t out_left = out.size();
  EXPECT_NE(iconv(cd, &in, &in_left, &target, &out_left), static_cast<size_t>(-1)) << encoding;
  iconv_close(cd);
  out.resize(out.size() - out_left);
  return out;
}

TEST(Converter, RoundTripsAgreeWithIconv) {
  struct Case {
    const char16_t* name;
    const char* iconv_name;
  };
  const Case cases[] = {
      {u"UTF-8", "UTF-8"},           {u"UTF-16LE", "UTF-16LE"},   {u"UTF-16BE", "UTF-16BE"},
      {u"UTF-32LE", "UTF-32LE"},     {u"windows-1251", "CP1251"}, {u"KOI8-R", "KOI8-R"},
      {u"ISO-8859-5", "ISO-8859-5"}, {u"IBM866", "CP866"},        {u"Shift_JIS", "SHIFT_JIS"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(String(c.name).toUtf8());
    const Converter converter(c.name);
    const std::string bytes = converter.narrow(kMixed);
    EXPECT_EQ(bytes, iconv_narrow(c.iconv_name, kMixed));
    EXPECT_EQ(converter.widen(bytes), String(kMixed));
  }
}

TEST(Converter, NarrowSubstitutesAndWidenRefusesBadBytes) {
  const Converter cyrillic(u"windows-1251");
  EXPECT_EQ(cyrillic.narrow(u"Я\u4E2D!"), std::string("\xDF?!"));
  try {
    Converter::utf8().widen(std::string("ok\xC3", 3));
    ADD_FAILURE() << "a truncated sequence was accepted";
  } catch (const ConverterException& e) {
    EXPECT_EQ(e.code(), ConverterException::Code::BadData);
    EXPECT_EQ(e.descr(), load_core_wstring("IDS_CNVERROR_BADDATA") + u" 'UTF-8'");
  }
}

TEST(Converter, BadNamesAreRefusedWithTheName) {
  try {
    Converter converter(u"koi9");
    ADD_FAILURE() << "accepted " << converter.name().toUtf8();
  } catch (const ConverterException& e) {
    EXPECT_EQ(e.code(), ConverterException::Code::BadName);
    EXPECT_EQ(e.descr(), load_core_wstring("IDS_CNVERROR_BADNAME") + u" 'koi9'");
  }
  EXPECT_THROW(Converter(u"кои8"), ConverterException);
  // An empty name is the system's encoding for a converter, an error for a
  // tester, whose message then names nothing.
  EXPECT_FALSE(Converter(u"").name().empty());
  try {
    EncodingTester tester{String()};
    ADD_FAILURE();
  } catch (const ConverterException& e) {
    EXPECT_EQ(e.descr(), load_core_wstring("IDS_CNVERROR_BADNAME"));
  }
}

TEST(Converter, SignaturesNamesAndStandards) {
  String name;
  EXPECT_EQ(Converter::detectUnicodeSignature(std::string("\xEF\xBB\xBFtext"), name), 3u);
  EXPECT_EQ(name, String(u"UTF-8"));
  EXPECT_EQ(Converter::detectUnicodeSignature(std::string("\xFF\xFEt\0", 4), name), 2u);
  EXPECT_EQ(name, String(u"UTF-16LE"));
  EXPECT_EQ(Converter::detectUnicodeSignature(std::string("plain"), name), 0u);
  EXPECT_TRUE(name.empty());
  EXPECT_EQ(Converter::detectUnicodeSignature(nullptr, 0, name), 0u);

  EXPECT_EQ(Converter::compareEncodingNames(String(u"utf-8"), String(u"UTF8")), 0);
  EXPECT_LT(Converter::compareEncodingNames(String(u"ascii"), String(u"utf-8")), 0);
  EXPECT_EQ(Converter::standardName(String(u"cp1251"), EncodingStandard::IANA),
            String(u"windows-1251"));
  EXPECT_EQ(Converter::standardName(String(u"UTF-8"), EncodingStandard::MIME), String(u"UTF-8"));
  EXPECT_THROW(Converter::standardName(String(u"koi9"), EncodingStandard::IANA),
               ConverterException);
  EXPECT_EQ(Converter::utf8().name(), String(u"UTF-8"));
  EXPECT_EQ(Converter::ascii().narrow(u"abc"), "abc");
}

// name() and the bad-data messages gave ICU's internal name of the table
// ("ibm-943_P15A-2003" for Shift_JIS) instead of the encoding's.
TEST(ConverterRegression, NameWasIcusInternalName) {
  struct Case {
    const char16_t* name;
    const char* bad_bytes;  // a sequence cut short
  };
  const Case cases[] = {{u"Shift_JIS", "a\x81"}, {u"utf8", "a\xD0"}, {u"windows-1251", nullptr}};
  for (const Case& c : cases) {
    SCOPED_TRACE(String(c.name).toUtf8());
    const Converter converter(c.name);
    EXPECT_EQ(converter.name(), String(c.name));
    EXPECT_EQ(StreamConverterToUnicode(c.name).name(), String(c.name));
    EXPECT_EQ(StreamConverterFromUnicode(c.name).name(), String(c.name));
    if (c.bad_bytes == nullptr) continue;
    const String expected = load_core_wstring("IDS_CNVERROR_BADDATA") + u" '" + c.name + u"'";
    try {
      (void)converter.widen(c.bad_bytes);
      ADD_FAILURE() << "accepted";
    } catch (const ConverterException& e) {
      EXPECT_EQ(e.descr(), expected);
    }
    StreamConverterToUnicode reader(c.name);
    const char* source = c.bad_bytes;
    char16_t buffer[8];
    char16_t* target = buffer;
    reader.widen(source, std::strlen(c.bad_bytes), target, 8);
    const char* end_of_input = nullptr;
    try {
      reader.widen(end_of_input, 0, target, 8);
      ADD_FAILURE() << "accepted";
    } catch (const ConverterException& e) {
      EXPECT_EQ(e.descr(), expected);
    }
  }
}

// Only four bytes reached ICU, so UTF-7's five-byte signature lost its "-".
TEST(ConverterRegression, FiveByteSignatureWasCut) {
  struct Case {
    const char* bytes;
    size_t length;
    const char16_t* name;
  };
  const Case cases[] = {
      {"+/v8-text", 9, u"UTF-7"}, {"+/v8-", 5, u"UTF-7"},        {"+/v8text", 8, u"UTF-7"},
      {"+/v8", 4, u"UTF-7"},      {"\xEF\xBB\xBF", 3, u"UTF-8"},
  };
  const size_t lengths[] = {5, 5, 4, 4, 3};
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(cases[i].bytes);
    String name;
    EXPECT_EQ(Converter::detectUnicodeSignature(cases[i].bytes, cases[i].length, name), lengths[i]);
    EXPECT_EQ(name, String(cases[i].name));
  }
}

// A stream writer wrote "?" for an unpaired surrogate that its contract
// refuses.
TEST(StreamConverterRegression, LoneSurrogateWrittenAsQuestionMark) {
  struct Case {
    const char16_t* encoding;
    std::u16string_view text;
    std::string_view written;  // what reaches the target before the refusal
  };
  const Case cases[] = {
      {u"UTF-8",
       u"a\xDC00"
       u"b",
       "a"},
      {u"windows-1251", u"\x0416\xD800\x0416", "\xC6"},
      {u"UTF-16", std::u16string_view(u"A\xD800", 2), std::string_view("A\0", 2)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(String(c.encoding).toUtf8());
    StreamConverterFromUnicode writer(c.encoding);
    const char16_t* source = c.text.data();
    char buffer[16];
    char* target = buffer;
    try {
      writer.narrow(source, c.text.size(), target, sizeof buffer);
      const char16_t* end_of_input = nullptr;
      writer.narrow(end_of_input, 0, target, sizeof buffer);
      ADD_FAILURE() << "accepted";
    } catch (const ConverterException& e) {
      EXPECT_EQ(e.code(), ConverterException::Code::BadData);
    }
    EXPECT_EQ(std::string_view(buffer, static_cast<size_t>(target - buffer)), c.written);
  }
  // A surrogate pair is one character, also when the pieces split it.
  StreamConverterFromUnicode writer(u"UTF-8");
  const char16_t* pair = u"\xD83D\xDE00";
  char buffer[8];
  char* target = buffer;
  const char16_t* source = pair;
  writer.narrow(source, 1, target, sizeof buffer);
  writer.narrow(source, 1, target, sizeof buffer);
  EXPECT_EQ(std::string(buffer, target), "\xF0\x9F\x98\x80");
}

// Converts `bytes` through a stream reader fed `piece` bytes at a time into
// a target of `room` units at a time.
String widen_in_pieces(StreamConverterToUnicode& reader, const std::string& bytes, size_t piece,
                       size_t room) {
  std::u16string out;
  std::vector<char16_t> buffer(room);
  const char* next = bytes.data();
  const char* const end = bytes.data() + bytes.size();
  while (next != end) {
    const char* source = next;
    const size_t length = std::min(piece, static_cast<size_t>(end - next));
    // Feed one piece until it is used up, whatever room the target has.
    while (source != next + length) {
      char16_t* target = buffer.data();
      reader.widen(source, static_cast<size_t>(next + length - source), target, room);
      out.append(buffer.data(), target);
    }
    next += length;
  }
  const char* flush = nullptr;
  char16_t* target = buffer.data();
  reader.widen(flush, 0, target, room);
  out.append(buffer.data(), target);
  return String(out);
}

// One Converter used by several threads at once: each call either holds the
// shared ICU converter or opens one of its own, and every thread gets the
// same bytes and text back.
TEST(Converter, SharedByThreadsGivesEveryThreadTheSameResult) {
  const Converter converter(u"windows-1251");
  const std::string expected = iconv_narrow("WINDOWS-1251", kMixed);
  std::vector<int> good(4, 0);
  std::vector<std::thread> threads;
  for (int& count : good) {
    threads.emplace_back([&converter, &expected, &count] {
      for (int i = 0; i < 50; ++i) {
        const std::string bytes = converter.narrow(kMixed);
        if (bytes == expected && converter.widen(bytes) == String(kMixed)) ++count;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, std::vector<int>(4, 50));
}

TEST(StreamConverter, PiecesOfEverySizeGiveTheWholeStringResult) {
  for (const char16_t* name : {u"UTF-8", u"Shift_JIS", u"UTF-16BE", u"windows-1251"}) {
    SCOPED_TRACE(String(name).toUtf8());
    const std::string bytes = Converter(name).narrow(kMixed);
    for (size_t piece = 1; piece <= 17; ++piece) {
      StreamConverterToUnicode reader(name);
      EXPECT_EQ(widen_in_pieces(reader, bytes, piece, piece % 5 + 2), String(kMixed))
          << "pieces of " << piece;
      EXPECT_EQ(reader.pending(), 0u);
    }
  }
}

TEST(StreamConverter, TruncatedSequenceAtTheEndIsBadData) {
  StreamConverterToUnicode reader(u"UTF-8");
  const std::string bytes("a\xD0", 2);
  const char* source = bytes.data();
  char16_t buffer[8];
  char16_t* target = buffer;
  reader.widen(source, bytes.size(), target, 8);
  EXPECT_EQ(target - buffer, 1);
  EXPECT_EQ(reader.pending(), 1u);
  const char* end_of_input = nullptr;
  EXPECT_THROW(reader.widen(end_of_input, 0, target, 8), ConverterException);
  // The copy shares the state: after the failure both start clean.
  StreamConverterToUnicode copy = reader;
  EXPECT_EQ(copy.pending(), 0u);
}

TEST(StreamConverter, WritersOfUtf16AndUtf32AreLittleEndianWithoutSignature) {
  StreamConverterFromUnicode writer(u"utf-16");
  EXPECT_EQ(Converter::compareEncodingNames(writer.name(), String(u"UTF-16LE")), 0);
  EXPECT_NE(writer.signature(), nullptr);
  const char16_t* source = u"Aж";
  char buffer[16];
  char* target = buffer;
  writer.narrow(source, 2, target, sizeof buffer);
  EXPECT_EQ(std::string(buffer, target), std::string("A\0\x36\x04", 4));
  EXPECT_EQ(writer.maxCharSize(), 2u);  // bytes per UTF-16 unit

  EXPECT_EQ(Converter::compareEncodingNames(StreamConverterFromUnicode(u"UTF32").name(),
                                            String(u"UTF-32LE")),
            0);
  // The byte-order-neutral reader announces no signature of its own.
  EXPECT_EQ(StreamConverterToUnicode(u"UTF-16").signature(), nullptr);
  EXPECT_EQ(StreamConverterToUnicode(u"windows-1251").signature(), nullptr);
  EXPECT_NE(StreamConverterToUnicode(u"UTF-8").signature(), nullptr);
}

TEST(StreamConverter, UnrepresentableCharactersAreWrittenAsQuestionMarks) {
  StreamConverterFromUnicode writer(u"KOI8-R");
  const char16_t* source = u"Ж\u4E2D";
  char buffer[8];
  char* target = buffer;
  writer.narrow(source, 2, target, sizeof buffer);
  EXPECT_EQ(std::string(buffer, target), std::string("\xF6?"));
}

TEST(EncodingTester, LooksOnlyAtTheFirstWindow) {
  EncodingTester cyrillic(String(u"windows-1251"));
  EXPECT_TRUE(cyrillic.performTest(u"Привет"));
  EXPECT_FALSE(cyrillic.performTest(u"Привет \u4E2D"));
  std::u16string long_text(EncodingTester::kWindowBytes, u'ж');
  long_text += u'\u4E2D';
  EXPECT_TRUE(cyrillic.performTest(long_text));
  long_text.erase(EncodingTester::kWindowBytes - 1, 1);
  EXPECT_FALSE(cyrillic.performTest(long_text));
}

}  // namespace
}  // namespace core
