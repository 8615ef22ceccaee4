#include "core/list_stream.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/io.h"
#include "test_util.h"

namespace core {
namespace {

// ---------------------------------------------------------------------------
// The table of text cases (data/list_text.txt).

std::u16string unescape(std::string_view text) {
  std::u16string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      out.push_back(static_cast<unsigned char>(text[i]));
      continue;
    }
    const char c = text[++i];
    if (c == 'n') {
      out.push_back(u'\n');
    } else if (c == 'r') {
      out.push_back(u'\r');
    } else if (c == 's') {
      out.push_back(u' ');
    } else if (c == 'u') {
      out.push_back(
          static_cast<char16_t>(std::stoul(std::string(text.substr(i + 1, 4)), nullptr, 16)));
      i += 4;
    } else {
      out.push_back(static_cast<unsigned char>(c));
    }
  }
  return out;
}

std::string bytes_of(std::string_view spec) {
  std::string bytes;
  if (!spec.empty() && spec[0] == '*') {
    const int count = std::stoi(std::string(spec.substr(1)));
    for (int i = 0; i < count; ++i) bytes.push_back(static_cast<char>(i));
    return bytes;
  }
  for (std::size_t i = 0; i + 1 < spec.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoul(std::string(spec.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

struct Op {
  char kind;  // '{', '}', ',', 'k' (skip) or the value letter
  std::string arg;
};

std::vector<Op> parse_ops(std::string_view text) {
  std::vector<Op> ops;
  std::istringstream in{std::string(text)};
  std::string token;
  while (in >> token) {
    if (token == "{" || token == "}" || token == ",") {
      ops.push_back({token[0], ""});
    } else if (token == "skip") {
      ops.push_back({'k', ""});
    } else if (token.size() >= 2 && token[1] == '*') {
      ops.push_back({'x', token.substr(1)});
    } else {
      ops.push_back({token[0], token.substr(2)});
    }
  }
  return ops;
}

void write_ops(ListOutStream& out, const std::vector<Op>& ops) {
  for (const Op& op : ops) {
    switch (op.kind) {
      case '{':
        out.putBeginOfList();
        break;
      case '}':
        out.putEndOfList();
        break;
      case 'i':
        out.put(std::stoll(op.arg));
        break;
      case 'u':
        out.put(std::stoull(op.arg));
        break;
      case 'b':
        out.put(op.arg == "1");
        break;
      case 'c':
        out.put(static_cast<char16_t>(std::stoul(op.arg)));
        break;
      case 'd':
        out.put(std::strtod(op.arg.c_str(), nullptr));
        break;
      case 'f':
        out.put(std::strtof(op.arg.c_str(), nullptr));
        break;
      case 'n': {
        Numeric value;
        value.fromString(op.arg.c_str());
        out.put(value);
        break;
      }
      case 'g':
        out.put(GUID::parse(String::fromUtf8(op.arg)));
        break;
      case 's':
        out.put(String(unescape(op.arg)));
        break;
      case 'x':
        out.put(bytes_of(op.arg));
        break;
      default:
        FAIL() << "no writing form for " << op.kind;
    }
  }
}

// Reads the values `ops` name and checks each against the expected one.
void read_ops(ListInStream& in, const std::vector<Op>& ops) {
  for (const Op& op : ops) {
    SCOPED_TRACE(std::string(1, op.kind) + ":" + op.arg);
    switch (op.kind) {
      case '{':
        in.getBeginOfList();
        break;
      case '}':
        in.getEndOfList();
        break;
      case ',':
        EXPECT_TRUE(in.getComma());
        break;
      case 'k':
        in.skipListContent();
        break;
      case 'i': {
        long long value = 0;
        in.get(value);
        EXPECT_EQ(value, std::stoll(op.arg));
        break;
      }
      case 'u': {
        unsigned long long value = 0;
        in.get(value);
        EXPECT_EQ(value, std::stoull(op.arg));
        break;
      }
      case 'b': {
        bool value = false;
        in.get(value);
        EXPECT_EQ(value, op.arg == "1");
        break;
      }
      case 'c': {
        char16_t value = 0;
        in.get(value);
        EXPECT_EQ(value, static_cast<char16_t>(std::stoul(op.arg)));
        break;
      }
      case 'd': {
        double value = 0;
        in.get(value);
        EXPECT_EQ(value, std::strtod(op.arg.c_str(), nullptr));
        break;
      }
      case 'f': {
        float value = 0;
        in.get(value);
        EXPECT_EQ(value, std::strtof(op.arg.c_str(), nullptr));
        break;
      }
      case 'n': {
        Numeric value;
        in.get(value);
        Numeric expected;
        expected.fromString(op.arg.c_str());
        EXPECT_EQ(value.toString().toUtf8(), expected.toString().toUtf8());
        break;
      }
      case 'g': {
        GUID value{};
        in.get(value);
        EXPECT_EQ(value, GUID::parse(String::fromUtf8(op.arg)));
        break;
      }
      case 's': {
        String value;
        in.get(value);
        EXPECT_EQ(std::u16string_view(value), unescape(op.arg));
        break;
      }
      case 'x': {
        std::string value;
        in.get(value);
        EXPECT_EQ(value, bytes_of(op.arg));
        break;
      }
      default:
        FAIL() << "no reading form for " << op.kind;
    }
  }
}

String write_text(const std::vector<Op>& ops) {
  InterfacePtr<StringWriter> writer(new StringWriter);
  ListOutStream out(writer.get());
  write_ops(out, ops);
  out.close();
  return writer->str();
}

ListInStream text_in(const std::u16string& text) {
  InterfacePtr<IReader> reader(new StringReader(String(text)));
  return ListInStream(reader.get());
}

std::string printable(std::u16string_view text) { return String(text).toUtf8(); }

TEST(ListStream, TextTable) {
  std::ifstream file(CORE_TEST_DATA_DIR "/list_text.txt");
  ASSERT_TRUE(file) << "missing list_text.txt";
  std::string line;
  std::vector<Op> pending;
  int cases = 0;
  int number = 0;
  while (std::getline(file, line)) {
    ++number;
    if (line.empty() || line[0] == '#') continue;
    SCOPED_TRACE("list_text.txt:" + std::to_string(number) + ": " + line);
    const std::size_t space = line.find(' ');
    const std::string directive = line.substr(0, space);
    const std::string rest = line.substr(space + 1);
    if (directive == "write") {
      pending = parse_ops(rest);
      continue;
    }
    ++cases;
    if (directive == "text") {
      const std::u16string expected = unescape(rest);
      EXPECT_EQ(printable(write_text(pending)), printable(expected));
      ListInStream in = text_in(expected);
      read_ops(in, pending);
      EXPECT_EQ(in.peek(), ListToken::End);
      // The same calls through the binary encoding.
      InterfacePtr<MemoryFile> bytes(new MemoryFile);
      ListOutStream out(bytes.get());
      write_ops(out, pending);
      out.close();
      bytes->seek(0);
      ListInStream binary(bytes.get());
      read_ops(binary, pending);
      EXPECT_EQ(binary.peek(), ListToken::End);
      continue;
    }
    const std::size_t bar = rest.find(" | ");
    ASSERT_NE(bar, std::string::npos);
    const std::vector<Op> ops = parse_ops(rest.substr(0, bar));
    ListInStream in = text_in(unescape(rest.substr(bar + 3)));
    if (directive == "accept") {
      read_ops(in, ops);
    } else if (directive == "reject") {
      EXPECT_THROW_IDS(read_ops(in, ops), ListStreamException, "IDS_LISTSTREAMERROR");
    } else {
      ADD_FAILURE() << "unknown directive " << directive;
    }
  }
  EXPECT_GE(cases, 60);
}

// ---------------------------------------------------------------------------
// Writing details that the table cannot express.

TEST(ListStream, TextOverloadsAndLimits) {
  InterfacePtr<StringWriter> writer(new StringWriter);
  ListOutStream out(writer.get());
  out.putBeginOfList();
  out.put(static_cast<signed char>(-128));
  out.put(static_cast<short>(-32768));
  out.put(static_cast<unsigned short>(65535));
  out.put(u"ab\0cd", 5);  // stops at the zero unit
  out.put(static_cast<const char16_t*>(nullptr));
  out.put("xyz");  // a narrow text is bytes
  const char raw[] = {'\x01', '\x02'};
  out.put(static_cast<const void*>(raw), 2);
  std::vector<bool> bits{true, false};
  out.put(bits[0]);
  out.put(bits[1]);
  out.putEndOfList();
  out.close();
  EXPECT_EQ(writer->str().toUtf8(), "{-128,-32768,65535,\"ab\",\"\",eHl6,AQI=,1,0}");
  EXPECT_THROW_IDS(out.putBeginOfList(), ListStreamException, "IDS_LISTSTREAMERROR");
  out.close();  // a second close does nothing
}

TEST(ListStream, EndWithoutBeginIsRefused) {
  InterfacePtr<StringWriter> writer(new StringWriter);
  ListOutStream text(writer.get());
  EXPECT_THROW_IDS(text.putEndOfList(), ListStreamException, "IDS_LISTSTREAMERROR");
  InterfacePtr<MemoryFile> file(new MemoryFile);
  ListOutStream binary(file.get());
  EXPECT_THROW_IDS(binary.putEndOfList(), ListStreamException, "IDS_LISTSTREAMERROR");
}

TEST(ListStream, TextReachesWriterOnFlush) {
  InterfacePtr<StringWriter> writer(new StringWriter);
  ListOutStream out(writer.get());
  out.putBeginOfList();
  out.put(5);
  out.flush();
  EXPECT_EQ(writer->str().toUtf8(), "{5");
  out.putEndOfList();
  out.close();
  EXPECT_EQ(writer->str().toUtf8(), "{5}");
}

TEST(ListStream, ReadingOverloads) {
  ListInStream in = text_in(u"{\"abc\",\"abcd\",AQI=,AQI=,AQID,-5,200}");
  in.getBeginOfList();
  char16_t small[4];
  in.get(small, 4);
  EXPECT_EQ(std::u16string_view(small), u"abc");
  EXPECT_THROW_IDS(in.get(small, 4), ListStreamException, "IDS_LISTSTREAMERROR");

  in = text_in(u"{AQI=,AQID,-5,200,1}");
  in.getBeginOfList();
  unsigned char two[2] = {};
  in.get(two, 2);
  EXPECT_EQ(two[0], 1);
  EXPECT_EQ(two[1], 2);
  EXPECT_THROW_IDS(in.get(two, 2), ListStreamException, "IDS_LISTSTREAMERROR");

  in = text_in(u"{-5,200,1}");
  in.getBeginOfList();
  signed char sc = 0;
  in.get(sc);
  EXPECT_EQ(sc, -5);
  EXPECT_THROW_IDS(in.get(sc), ListStreamException, "IDS_LISTSTREAMERROR");  // 200
  in = text_in(u"{1}");
  in.getBeginOfList();
  std::vector<bool> bits{false};
  in.get(bits[0]);
  EXPECT_TRUE(bits[0]);
}

TEST(ListStream, StringDefaultAtEndOfList) {
  for (const char16_t* text : {u"{\"a\"}", u"{\"a\" , \"b\"}"}) {
    ListInStream in = text_in(text);
    in.getBeginOfList();
    String first;
    String second;
    in.get(first, u"x");
    in.get(second, String(u"dflt"));
    in.getEndOfList();
    EXPECT_EQ(first, u"a");
    EXPECT_EQ(second, std::u16string_view(text).size() > 6 ? u"b" : u"dflt");
  }
}

TEST(ListStream, SkipAndSaveKeepsEveryCharacter) {
  ListInStream in = text_in(u"{1, {\"a\"\"}\", x} ,\r\nAA==}");
  in.getBeginOfList();
  int first = 0;
  in.get(first);
  String saved;
  in.skipAndSaveListContent(saved);
  in.getEndOfList();
  EXPECT_EQ(saved.toUtf8(), ", {\"a\"\"}\", x} ,\r\nAA==");
  EXPECT_EQ(in.peek(), ListToken::End);
}

TEST(ListStream, PeekAndPosition) {
  ListInStream in = text_in(u" {\"s\",w,{}}");
  EXPECT_EQ(in.peek(), ListToken::BeginOfList);
  EXPECT_EQ(in.position(), 1u);
  in.getBeginOfList();
  EXPECT_EQ(in.peek(), ListToken::String);
  String s;
  in.get(s);
  EXPECT_EQ(in.peek(), ListToken::Comma);
  EXPECT_TRUE(in.getComma());
  EXPECT_EQ(in.peek(), ListToken::Word);
  in.get(s);
  EXPECT_FALSE(in.getComma() && in.getComma());
  EXPECT_EQ(in.peek(), ListToken::BeginOfList);
}

TEST(ListStream, ReinitRestartsOnNewSource) {
  ListInStream in = text_in(u"{1");
  in.getBeginOfList();
  InterfacePtr<IReader> reader(new StringReader(String(u"{2}")));
  in.reinit(reader.get());
  int value = 0;
  in.getBeginOfList();
  in.get(value);
  in.getEndOfList();
  EXPECT_EQ(value, 2);
}

// ---------------------------------------------------------------------------
// The binary encoding.

std::string write_binary(const std::vector<Op>& ops) {
  InterfacePtr<MemoryFile> file(new MemoryFile);
  ListOutStream out(file.get());
  write_ops(out, ops);
  out.close();
  return file->bytes();
}

std::string hex(const std::string& bytes) {
  std::string text;
  char digits[4];
  for (const char byte : bytes) {
    std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(byte));
    text += digits;
  }
  return text;
}

TEST(ListStream, BinaryTokenBytes) {
  struct Case {
    const char* ops;
    const char* bytes;
  } const kCases[] = {
      // "{" then 1 is one byte; "},{" one byte; "}" "," small number one byte.
      {"{ i:1 }", "4220"},
      {"{ { } { } }", "4040e02020"},
      {"{ { } i:5 }", "4040a620"},
      {"{ }", "4020"},
      {"{ i:9 i:10 i:255 i:256 i:65535 i:65536 }", "4a8b0a8bff8d00018dffff8f0000010020"},
      {"{ i:-1 i:-255 i:-256 i:-65536 }",
       "4c018cff8e00019000000100"
       "20"},
      {"{ u:4294967296 i:-4294967296 }", "51000000000100000092000000000100000020"},
      {"{ b:0 b:1 c:65 }", "41828b4120"},
      {"{ s:ab x:ff }", "5702610062009a01ff20"},
      {"{ g:00010203-0405-0607-0809-0a0b0c0d0e0f }",
       "550302010005040706"
       "08090a0b0c0d0e0f20"},
      {"{ n:-1.5 }", "56042d312e3520"},
      {"{ f:1 d:1 }", "530000803f94000000000000f03f20"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.ops);
    EXPECT_EQ(hex(write_binary(parse_ops(c.ops))), c.bytes);
  }
}

// Each side of the limits of the one-, two- and eight-byte counts, for byte
// blocks and strings alike; the length written must be read back.
TEST(ListStream, BinaryLengthPrefixes) {
  const struct {
    bool text;
    std::size_t count;
    unsigned kind;
    std::size_t count_bytes;
  } kCases[] = {
      {false, 0, 26, 1},     {false, 255, 26, 1},  {false, 256, 27, 2}, {false, 65535, 27, 2},
      {false, 65536, 28, 8}, {true, 0, 23, 1},     {true, 255, 23, 1},  {true, 256, 24, 2},
      {true, 65535, 24, 2},  {true, 65536, 25, 8},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::to_string(c.count) + (c.text ? " units" : " bytes"));
    const std::string block(c.count, 'x');
    const std::u16string text(c.count, u'y');
    InterfacePtr<MemoryFile> file(new MemoryFile);
    ListOutStream out(file.get());
    if (c.text) {
      out.put(String(text));
    } else {
      out.put(block);
    }
    out.close();
    const std::string& bytes = file->bytes();
    ASSERT_EQ(bytes.size(), 1 + c.count_bytes + c.count * (c.text ? 2 : 1));
    EXPECT_EQ(static_cast<unsigned char>(bytes[0]), c.kind);
    file->seek(0);
    ListInStream in(file.get());
    if (c.text) {
      String read;
      in.get(read);
      EXPECT_EQ(std::u16string_view(read), text);
    } else {
      std::string read;
      in.get(read);
      EXPECT_EQ(read, block);
    }
  }
}

// A document that uses every kind, for the corruption tests.
std::string sample_binary() {
  return write_binary(parse_ops(
      "{ i:1 i:-300 u:70000 { s:abc x:0102 } g:0ff0ac06-3ccb-4d9b-8a8b-6d1564e7b446 n:12.5 d:2.5 "
      "f:1 { } i:-5000000000 }"));
}

// Walks any document with peek, as a reader that does not know its layout.
void walk(ListInStream& in) {
  InterfacePtr<StringWriter> sink(new StringWriter);
  ListOutStream out(sink.get());
  copy_list_stream(in, out);
}

TEST(ListStream, BinaryTruncationIsAnError) {
  const std::string full = sample_binary();
  for (std::size_t cut = 1; cut < full.size(); ++cut) {
    SCOPED_TRACE(cut);
    InterfacePtr<MemoryFile> file(new MemoryFile(full.substr(0, cut)));
    ListInStream in(file.get());
    EXPECT_THROW_IDS(walk(in), ListStreamException, "IDS_LISTSTREAMERROR");
  }
}

TEST(ListStream, BinaryCorruptionNeverEscapesAsAnotherError) {
  const std::string full = sample_binary();
  int refused = 0;
  for (std::size_t at = 0; at < full.size(); ++at) {
    for (const unsigned char change : {0x00, 0x1F, 0x80, 0xFF}) {
      std::string bytes = full;
      bytes[at] = static_cast<char>(bytes[at] ^ change);
      InterfacePtr<MemoryFile> file(new MemoryFile(bytes));
      ListInStream in(file.get());
      try {
        walk(in);
      } catch (const ListStreamException&) {
        ++refused;
      }
    }
  }
  // Every token byte changed to 0 or to a kind above 28 is refused at least.
  EXPECT_GT(refused, 20);
}

TEST(ListStream, BinaryLengthBeyondInputFailsBeforeAllocating) {
  // A string of 2^62 units and a byte block of 2^40 bytes, each followed
  // by nothing.
  const std::string cases[] = {
      std::string("\x59\x00\x00\x00\x00\x00\x00\x00\x40", 9),
      std::string("\x5c\x00\x00\x00\x00\x00\x01\x00\x00", 9),
      std::string("\x56\xff\xff\xff\xff\x0f", 6),
      std::string("\x56\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01", 12),
  };
  for (const std::string& bytes : cases) {
    InterfacePtr<MemoryFile> file(new MemoryFile(bytes));
    ListInStream in(file.get());
    EXPECT_THROW_IDS(walk(in), ListStreamException, "IDS_LISTSTREAMERROR");
  }
}

TEST(ListStream, BinaryTypeMismatchesAreErrors) {
  const std::string bytes = write_binary(parse_ops("{ s:a i:-1 d:1.5 }"));
  InterfacePtr<MemoryFile> file(new MemoryFile(bytes));
  ListInStream in(file.get());
  in.getBeginOfList();
  int number = 0;
  EXPECT_THROW_IDS(in.get(number), ListStreamException, "IDS_LISTSTREAMERROR");
  file->seek(0);
  in.reinit(file.get());
  in.getBeginOfList();
  String text;
  in.get(text);
  unsigned value = 0;
  EXPECT_THROW_IDS(in.get(value), ListStreamException, "IDS_LISTSTREAMERROR");
}

TEST(ListStream, BinarySkipAndSaveGivesText) {
  const std::string bytes = write_binary(parse_ops("{ i:1 { s:a } x:0102 } i:2"));
  InterfacePtr<MemoryFile> file(new MemoryFile(bytes));
  ListInStream in(file.get());
  in.getBeginOfList();
  String saved;
  in.skipAndSaveListContent(saved);
  in.getEndOfList();
  int two = 0;
  in.get(two);
  EXPECT_EQ(saved.toUtf8(), "1,\n{\"a\"},AQI=");
  EXPECT_EQ(two, 2);
}

// Regression: binary skipAndSaveListContent dropped the comma after an
// element already read, which the text encoding keeps.
TEST(ListStream, BinarySkipAndSaveKeepsTheLeadingComma) {
  const struct {
    const char* ops;
    int read_first;  // elements read before the skip
    const char* saved;
  } cases[] = {
      {"{ i:1 i:2 i:3 }", 1, ",2,3"},
      {"{ i:1 i:2 i:3 }", 0, "1,2,3"},
      {"{ i:1 s:a x:0102 }", 1, ",\"a\",AQI="},
      {"{ i:1 i:2 }", 2, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.ops + std::string(" after ") + std::to_string(c.read_first));
    const std::vector<Op> ops = parse_ops(c.ops);
    InterfacePtr<MemoryFile> file(new MemoryFile(write_binary(ops)));
    ListInStream binary(file.get());
    ListInStream text = text_in(std::u16string(std::u16string_view(write_text(ops))));
    for (ListInStream* in : {&text, &binary}) {
      in->getBeginOfList();
      for (int i = 0; i < c.read_first; ++i) {
        int value = 0;
        in->get(value);
      }
      String saved;
      in->skipAndSaveListContent(saved);
      in->getEndOfList();
      EXPECT_EQ(printable(saved), printable(unescape(c.saved)));
    }
  }
}

// Regression: a ListInStream over a null reader or file dereferenced null.
TEST(ListStream, NullSourceThrowsInsteadOfCrashing) {
  ListInStream over_reader(static_cast<IReader*>(nullptr));
  ListInStream over_file(static_cast<IFile*>(nullptr));
  ListInStream over_stream(static_cast<IListInStream*>(nullptr));
  for (ListInStream* in : {&over_reader, &over_file, &over_stream}) {
    EXPECT_THROW_IDS(in->getBeginOfList(), ListStreamException, "IDS_LISTSTREAMERROR");
    EXPECT_THROW_IDS((void)in->peek(), ListStreamException, "IDS_LISTSTREAMERROR");
    EXPECT_THROW_IDS((void)in->position(), ListStreamException, "IDS_LISTSTREAMERROR");
    int value = 0;
    EXPECT_THROW_IDS(in->get(value), ListStreamException, "IDS_LISTSTREAMERROR");
    EXPECT_THROW_IDS(in->skipListContent(), ListStreamException, "IDS_LISTSTREAMERROR");
    InterfacePtr<StringWriter> writer(new StringWriter);
    ListOutStream out(writer.get());
    EXPECT_THROW_IDS(copy_list_stream(*in, out), ListStreamException, "IDS_LISTSTREAMERROR");
  }
  EXPECT_THROW_IDS((void)create_text_list_in_stream(nullptr), ListStreamException,
                   "IDS_LISTSTREAMERROR");
  EXPECT_THROW_IDS((void)create_binary_list_in_stream(nullptr), ListStreamException,
                   "IDS_LISTSTREAMERROR");
  // A stream over null becomes usable through reinit.
  InterfacePtr<IReader> reader(new StringReader(String(u"{}")));
  over_reader.reinit(reader.get());
  over_reader.getBeginOfList();
  over_reader.getEndOfList();
}

// The text form of `in` from where it stands, through copy_list_stream.
String copy_to_text(ListInStream& in) {
  InterfacePtr<StringWriter> writer(new StringWriter);
  ListOutStream out(writer.get());
  copy_list_stream(in, out);
  out.close();
  return writer->str();
}

std::string copy_to_binary(ListInStream& in) {
  InterfacePtr<MemoryFile> file(new MemoryFile);
  ListOutStream out(file.get());
  copy_list_stream(in, out);
  out.close();
  return file->bytes();
}

// Regression: an empty byte block wrote nothing, so a list ending with one
// read as "{1,}", which get accepted but skipping and copying refused. Every
// kind of value, empty and not, in every position, through every reader.
TEST(ListStream, EmptyByteBlockAtEndOfListSurvivesEveryReader) {
  const std::string values[] = {
      "i:-5",  "u:7",   "b:1",    "c:65",
      "d:2.5", "f:0.5", "n:-1.5", "g:0ff0ac06-3ccb-4d9b-8a8b-6d1564e7b446",
      "s:",    "s:ab",  "x:",     "x:0102",
  };
  const std::string shapes[] = {"{ V }",     "{ V i:1 }",     "{ i:1 V }", "{ i:1 V i:2 }",
                                "{ { V } }", "{ i:1 { V } }", "{ V V }",   "V"};
  for (const std::string& value : values) {
    for (std::string shape : shapes) {
      for (std::size_t at; (at = shape.find('V')) != std::string::npos;)
        shape.replace(at, 1, value);
      SCOPED_TRACE(shape);
      const std::vector<Op> ops = parse_ops(shape);
      const std::u16string text(std::u16string_view(write_text(ops)));
      const std::string binary = write_binary(ops);
      auto binary_in = [&binary] {
        InterfacePtr<MemoryFile> file(new MemoryFile(binary));
        return ListInStream(file.get());
      };
      const bool is_list = shape[0] == '{';

      ListInStream text_get = text_in(text);
      read_ops(text_get, ops);
      EXPECT_EQ(text_get.peek(), ListToken::End);
      ListInStream binary_get = binary_in();
      read_ops(binary_get, ops);
      EXPECT_EQ(binary_get.peek(), ListToken::End);

      for (const bool use_binary : {false, true}) {
        SCOPED_TRACE(use_binary ? "binary" : "text");
        if (is_list) {
          ListInStream skip = use_binary ? binary_in() : text_in(text);
          skip.getBeginOfList();
          skip.skipListContent();
          skip.getEndOfList();
          EXPECT_EQ(skip.peek(), ListToken::End);
          // What is saved reads back as the same values.
          ListInStream save = use_binary ? binary_in() : text_in(text);
          String saved;
          save.getBeginOfList();
          save.skipAndSaveListContent(saved);
          save.getEndOfList();
          EXPECT_EQ(save.peek(), ListToken::End);
          ListInStream again = text_in(u"{" + std::u16string(std::u16string_view(saved)) + u"}");
          read_ops(again, ops);
        }
        // Copies into either encoding keep every element.
        ListInStream to_text = use_binary ? binary_in() : text_in(text);
        const String copied = copy_to_text(to_text);
        EXPECT_EQ(printable(copied), printable(text));
        ListInStream copy_back = text_in(std::u16string(std::u16string_view(copied)));
        read_ops(copy_back, ops);
        ListInStream to_binary = use_binary ? binary_in() : text_in(text);
        InterfacePtr<MemoryFile> file(new MemoryFile(copy_to_binary(to_binary)));
        ListInStream from_copy(file.get());
        EXPECT_EQ(printable(copy_to_text(from_copy)), printable(text));
        if (value[0] == 's' || value[0] == 'x') {
          // Text carries no kinds: "" copied into binary is a string, which
          // still reads where bytes are asked for.
          file->seek(0);
          ListInStream typed(file.get());
          read_ops(typed, ops);
        }
      }
    }
  }
}

// A reader that cannot give units back.
class OneWayReader final : public UnknownImpl<IReader> {
 public:
  explicit OneWayReader(const String& text) : inner_(new StringReader(text)) {}
  std::size_t read(char16_t* buffer, std::size_t count) override {
    return inner_->read(buffer, count);
  }

 private:
  InterfacePtr<StringReader> inner_;
};

// Regression: a list reader pulled up to 4,096 characters from its reader
// (16 KB from its file) and kept them, so a second list read through another
// stream over the same source was lost.
TEST(ListStream, ListReaderLeavesWhatFollowsTheList) {
  const struct {
    const char* first;
    const char* second;
  } cases[] = {
      {"{ i:1 }", "{ i:2 }"},
      {"{ i:1 { s:a } }", "{ }"},
      {"{ x*5000 s:} }", "{ s:b x*3000 }"},
      {"{ { } }", "{ { i:1 } }"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.first) + " then " + c.second);
    const std::vector<Op> first = parse_ops(c.first);
    const std::vector<Op> second = parse_ops(c.second);
    const std::u16string text = std::u16string(std::u16string_view(write_text(first))) +
                                std::u16string(std::u16string_view(write_text(second)));
    const InterfacePtr<IReader> readers[] = {InterfacePtr<IReader>(new StringReader(String(text))),
                                             InterfacePtr<IReader>(new OneWayReader(String(text)))};
    for (const InterfacePtr<IReader>& reader : readers) {
      ListInStream one(reader.get());
      read_ops(one, first);
      ListInStream two(reader.get());  // while the first is still alive
      read_ops(two, second);
      EXPECT_EQ(two.peek(), ListToken::End);
    }
    // The binary encoding: two streams write one after the other into one file.
    InterfacePtr<MemoryFile> file(new MemoryFile);
    ListOutStream out_one(file.get());
    write_ops(out_one, first);
    out_one.close();
    const std::uint64_t first_size = file->position();
    ListOutStream out_two(file.get());
    write_ops(out_two, second);
    out_two.close();
    file->seek(0);
    ListInStream one(file.get());
    read_ops(one, first);
    EXPECT_EQ(file->position(), first_size);
    ListInStream two(file.get());
    read_ops(two, second);
    EXPECT_EQ(two.peek(), ListToken::End);
  }
  // A value outside any list, and a stream dropped after looking ahead.
  InterfacePtr<MemoryFile> file(new MemoryFile(write_binary(parse_ops("i:300 { }"))));
  {
    ListInStream in(file.get());
    int value = 0;
    in.get(value);
    EXPECT_EQ(value, 300);
    EXPECT_EQ(file->position(), 3u);
    EXPECT_EQ(in.peek(), ListToken::Comma);
  }
  EXPECT_EQ(file->position(), 3u);
}

TEST(ListStream, CopyConvertsBetweenEncodings) {
  const std::u16string text =
      u"{1,-2,18446744073709551615,-9223372036854775809,12.5,1e+300,\"s\",\n"
      u"{0ff0ac06-3ccb-4d9b-8a8b-6d1564e7b446,AQID}\n}";
  ListInStream in = text_in(text);
  InterfacePtr<MemoryFile> file(new MemoryFile);
  ListOutStream binary(file.get());
  copy_list_stream(in, binary);
  binary.close();
  file->seek(0);
  ListInStream back(file.get());
  InterfacePtr<StringWriter> writer(new StringWriter);
  ListOutStream out(writer.get());
  copy_list_stream(back, out);
  out.close();
  EXPECT_EQ(printable(writer->text()), printable(text));
}

TEST(ListStream, CopyRefusesOpenListsAndUnknownWords) {
  for (const char16_t* text : {u"{1", u"{what?}", u"{1}{2}"}) {
    SCOPED_TRACE(printable(text));
    ListInStream in = text_in(text);
    InterfacePtr<StringWriter> writer(new StringWriter);
    ListOutStream out(writer.get());
    EXPECT_THROW_IDS(copy_list_stream(in, out), ListStreamException, "IDS_LISTSTREAMERROR");
  }
}

// ---------------------------------------------------------------------------
// Values longer than the writers' buffers and readers' blocks: a string whose
// units to escape fall on every side of the writer's 8,192-unit buffer, Base64
// of many lines, and nesting that never spills a value.

// The quoted form of `text`, unit by unit.
std::u16string quoted_form(std::u16string_view text) {
  std::u16string out = u"\"";
  for (const char16_t c : text) {
    if (c == u'"') {
      out += u"\"\"";
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      static constexpr char16_t kHex[] = u"0123456789abcdef";
      out += u"\"\\";
      for (int shift = 12; shift >= 0; shift -= 4) out += kHex[(c >> shift) & 15];
    } else {
      out += c;
    }
  }
  return out + u"\"";
}

TEST(ListStream, LongValuesCrossEveryBufferBoundary) {
  std::vector<std::u16string> strings;
  for (std::size_t length : {8189u, 8190u, 8191u, 8192u, 8193u, 20000u}) {
    for (std::size_t escape_at : {std::size_t{0}, length - 3, length - 2, length - 1}) {
      std::u16string text(length, u'x');
      text[escape_at] = u'"';
      text[(escape_at + 7) % length] = static_cast<char16_t>(0xD83D);
      strings.push_back(text);
    }
  }
  std::string bytes(7001, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7);
  constexpr int kDepth = 20000;

  auto write = [&](ListOutStream& out) {
    out.putBeginOfList();
    for (const std::u16string& text : strings) out.put(String(text));
    out.put(bytes);
    for (int i = 0; i < kDepth; ++i) out.putBeginOfList();
    for (int i = 0; i < kDepth; ++i) out.putEndOfList();
    out.putEndOfList();
  };
  auto read = [&](ListInStream& in) {
    in.getBeginOfList();
    String text;
    for (const std::u16string& expected : strings) {
      in.get(text);
      ASSERT_EQ(std::u16string_view(text), expected);
    }
    std::string read_bytes;
    in.get(read_bytes);
    EXPECT_EQ(read_bytes, bytes);
    for (int i = 0; i < kDepth; ++i) in.getBeginOfList();
    for (int i = 0; i < kDepth; ++i) in.getEndOfList();
    in.getEndOfList();
    EXPECT_EQ(in.peek(), ListToken::End);
  };

  InterfacePtr<StringWriter> writer(new StringWriter);
  ListOutStream text_out(writer.get());
  write(text_out);
  text_out.close();
  const std::u16string& text = writer->text();
  // Each string as its quoted form, in order, each after a comma but the
  // first.
  std::size_t at = 1;
  for (const std::u16string& expected : strings) {
    const std::u16string form = quoted_form(expected);
    ASSERT_EQ(text.compare(at, form.size(), form), 0) << "at " << at;
    at += form.size() + 1;
  }
  {
    InterfacePtr<IReader> reader(new StringReader(writer->str()));
    ListInStream in(reader.get());
    read(in);
  }
  {
    InterfacePtr<IReader> reader(new OneWayReader(writer->str()));
    ListInStream in(reader.get());
    read(in);
  }
  InterfacePtr<MemoryFile> file(new MemoryFile);
  ListOutStream binary_out(file.get());
  write(binary_out);
  binary_out.close();
  file->seek(0);
  ListInStream binary_in(file.get());
  read(binary_in);
}

}  // namespace
}  // namespace core
