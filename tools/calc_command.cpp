// coretool calc "EXPRESSION" [--round N] [--mode 0|1]
#include <charconv>
#include <cstdio>
#include <string>
#include <string_view>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

// A refused expression: what is wrong and where.
struct SyntaxError {
  std::string message;
  std::size_t position;
};

// expression := term (("+" | "-") term)*
// term       := unary (("*" | "/" | "%") unary)*
// unary      := ("-" | "+") unary | primary
// primary    := number | "(" expression ")"
class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  core::Numeric parse() {
    core::Numeric value = expression();
    skipSpace();
    if (pos_ < text_.size()) fail("unexpected \"" + std::string(1, text_[pos_]) + "\"");
    return value;
  }

 private:
  static constexpr int kMaxDepth = 200;

  core::Numeric expression() {
    core::Numeric value = term();
    for (;;) {
      const char op = peek();
      if (op != '+' && op != '-') return value;
      ++pos_;
      const core::Numeric right = term();
      if (op == '+') {
        value += right;
      } else {
        value -= right;
      }
    }
  }

  core::Numeric term() {
    core::Numeric value = unary();
    for (;;) {
      const char op = peek();
      if (op != '*' && op != '/' && op != '%') return value;
      ++pos_;
      const core::Numeric right = unary();
      if (op == '*') {
        value *= right;
      } else if (op == '/') {
        value /= right;
      } else {
        value %= right;
      }
    }
  }

  core::Numeric unary() {
    const char c = peek();
    if (c == '-' || c == '+') {
      ++pos_;
      Nesting nesting(*this);
      core::Numeric value = unary();
      return c == '-' ? -value : value;
    }
    return primary();
  }

  core::Numeric primary() {
    const char c = peek();
    if (c == '(') {
      ++pos_;
      Nesting nesting(*this);
      core::Numeric value = expression();
      if (peek() != ')') fail("missing \")\"");
      ++pos_;
      return value;
    }
    if ((c >= '0' && c <= '9') || c == '.') {
      // The number's own text: the reader stops at the first character that
      // is not part of it.
      const std::string rest(text_.substr(pos_));
      core::Numeric value;
      const char* end = nullptr;
      value.fromString(rest.c_str(), &end);
      const std::string_view read(rest.c_str(), static_cast<std::size_t>(end - rest.c_str()));
      if (read.find_first_of("0123456789") == std::string_view::npos) fail("expected a number");
      pos_ += read.size();
      return value;
    }
    fail(pos_ < text_.size() ? "unexpected \"" + std::string(1, text_[pos_]) + "\""
                             : std::string("unexpected end of the expression"));
  }

  // Bounds the recursion, so that deep nesting is refused, not a crash.
  class Nesting {
   public:
    explicit Nesting(Parser& parser) : parser_(parser) {
      if (++parser_.depth_ > kMaxDepth) parser_.fail("nested too deeply");
    }
    ~Nesting() { --parser_.depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

   private:
    Parser& parser_;
  };

  char peek() {
    skipSpace();
    return pos_ < text_.size() ? text_[pos_] : '\0';
  }

  void skipSpace() {
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t')) ++pos_;
  }

  [[noreturn]] void fail(const std::string& message) { throw SyntaxError{message, pos_ + 1}; }

  std::string_view text_;
  std::size_t pos_ = 0;
  int depth_ = 0;
};

bool parse_int(std::string_view text, int& out) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), out);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

// The result's brace-list forms, written by its stream members and read
// back through them.
void print_stream_forms(const core::Numeric& value) {
  core::InterfacePtr<core::StringWriter> text(new core::StringWriter);
  value.toStream(text.get());
  std::printf("text form:   %s\n", text->str().toUtf8().c_str());

  core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile);
  core::InterfacePtr<core::IListOutStream> out = core::create_binary_list_out_stream(file.get());
  value.toBinary(out.get());
  out->close();
  std::printf("binary form:");
  for (const unsigned char byte : file->bytes()) std::printf(" %02x", byte);
  std::printf("\n");

  file->seek(0);
  core::Numeric from_binary;
  from_binary.fromBinary(core::create_binary_list_in_stream(file.get()).get());
  core::InterfacePtr<core::IReader> reader(new core::StringReader(text->str()));
  core::Numeric from_text;
  from_text.fromStream(reader.get());
  std::printf("read back:   %s\n",
              from_binary == value && from_text == value ? "equal" : "DIFFERENT");
}

int run(const Arguments& args) {
  const std::string_view* expression = nullptr;
  bool stream_forms = false;
  bool round = false;
  int digits = 0;
  int mode = static_cast<int>(core::NumericRoundMode::HalfAwayFromZero);
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--round" || args[i] == "--mode") {
      int value = 0;
      if (i + 1 == args.size() || !parse_int(args[i + 1], value)) return usage_error(kCalcCommand);
      if (args[i] == "--round") {
        round = true;
        digits = value;
      } else {
        if (value != 0 && value != 1) return usage_error(kCalcCommand);
        mode = value;
      }
      ++i;
    } else if (args[i] == "--stream") {
      stream_forms = true;
    } else if (expression == nullptr) {
      expression = &args[i];
    } else {
      return usage_error(kCalcCommand);
    }
  }
  if (expression == nullptr) return usage_error(kCalcCommand);
  try {
    core::Numeric value = Parser(*expression).parse();
    if (round) value.round(digits, static_cast<core::NumericRoundMode>(mode));
    std::string text;
    value.toString(text);
    std::printf("%s\n", text.c_str());
    if (stream_forms) print_stream_forms(value);
    return 0;
  } catch (const SyntaxError& e) {
    std::fprintf(stderr, "coretool: calc: %s at position %zu\n", e.message.c_str(), e.position);
    return 1;
  } catch (const core::Exception& e) {
    return report_failure(e);
  }
}

}  // namespace

const Command kCalcCommand = {
    "calc",
    "  calc \"EXPR\" [--round N] [--mode 0|1] [--stream]\n"
    "                  exact decimal arithmetic: + - * / %, parentheses and\n"
    "                  unary minus; prints the canonical text. --round N rounds\n"
    "                  the result to N places (negative: tens, hundreds, ...);\n"
    "                  --mode 0 rounds an exact half toward zero, 1 (default)\n"
    "                  away from it; --stream adds the brace-list text and\n"
    "                  binary forms of the result and reads them back\n",
    &run};

}  // namespace coretool
