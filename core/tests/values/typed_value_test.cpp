#include "core/typed_value.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "core/binary_data.h"
#include "core/exception_classes.h"
#include "core/thread.h"
#include "test_util.h"

namespace core {
namespace {

using P = TypeDomainPattern;

TypeDomain number_domain(unsigned digits, unsigned fraction, bool nonnegative = false) {
  P pattern(P::kNumberType);
  pattern.setNumericQualifiers(NumericQualifiers(digits, fraction, nonnegative));
  return TypeDomain(pattern);
}

TypeDomain string_domain(unsigned length, LengthKind kind) {
  P pattern(P::kStringType);
  pattern.setStringQualifiers(StringQualifiers(length, kind));
  return TypeDomain(pattern);
}

TypeDomain date_domain(int parts) {
  P pattern(P::kDateType);
  pattern.setDateQualifiers(DateQualifiers(parts));
  return TypeDomain(pattern);
}

Numeric number_of(const char* text) {
  Numeric number;
  number.fromString(text);
  return number;
}

// Restores the calling thread's rounding mode at the end of a test.
class RoundModeGuard {
 public:
  RoundModeGuard() : saved_(Thread::roundMode()) {}
  ~RoundModeGuard() { Thread::setRoundMode(saved_); }

 private:
  NumericRoundMode saved_;
};

TEST(TypedValue, NumbersFollowTheQualifiers) {
  RoundModeGuard guard;
  Thread::setRoundMode(NumericRoundMode::HalfAwayFromZero);
  TypedValue value(number_domain(5, 2));
  struct Case {
    const char* in;
    const char* out;
  };
  for (const Case& c :
       {Case{"12345.678", "999.99"}, Case{"-12345.678", "-999.99"}, Case{"12.345", "12.35"},
        Case{"-12.345", "-12.35"}, Case{"999.995", "999.99"}, Case{"-999.995", "-999.99"},
        Case{"999.994", "999.99"}, Case{"1000", "999.99"}, Case{"0.001", "0"},
        Case{"0.005", "0.01"}, Case{"123.4", "123.4"}}) {
    value.assign(number_of(c.in));
    EXPECT_TRUE(value.equals(number_of(c.out))) << c.in;
  }
  Thread::setRoundMode(NumericRoundMode::HalfTowardZero);
  value.assign(number_of("12.345"));
  EXPECT_TRUE(value.equals(number_of("12.34")));
  value.assign(number_of("12.3451"));
  EXPECT_TRUE(value.equals(number_of("12.35")));

  TypedValue nonnegative(number_domain(5, 2, true));
  nonnegative.assign(-5);
  EXPECT_TRUE(nonnegative.equals(0));
  nonnegative.assign(-0.001);
  EXPECT_TRUE(nonnegative.equals(0));

  TypedValue unlimited(number_domain(0, 0, false));
  const Numeric huge = number_of("-123456789012345678901234567890.123456789");
  unlimited.assign(huge);
  EXPECT_TRUE(unlimited.equals(huge));
}

TEST(TypedValue, ANumberWithoutIntegerDigitsFitsAnAllFractionDomain) {
  TypedValue value(number_domain(2, 2));
  EXPECT_TRUE(value.equals(0));  // the default value stays zero, not 0.99
  value.assign(0.5);
  EXPECT_TRUE(value.equals(0.5));
  value.assign(-0.25);
  EXPECT_TRUE(value.equals(-0.25));
  value.assign(1);
  EXPECT_TRUE(value.equals(0.99));
  value.assign(0);
  EXPECT_TRUE(value.equals(0));
}

TEST(TypedValue, EveryAdjustedNumberFitsAndRoundsByTheThreadsMode) {
  RoundModeGuard guard;
  std::mt19937_64 random(77);
  auto digits_text = [&](unsigned count) {
    std::string text;
    for (unsigned i = 0; i < count; ++i) text += static_cast<char>('0' + random() % 10);
    return text;
  };
  for (int i = 0; i < 4000; ++i) {
    const unsigned digits = 1 + random() % 20;
    const unsigned fraction = random() % (digits + 1);
    const bool nonnegative = random() % 4 == 0;
    const NumericRoundMode mode = static_cast<NumericRoundMode>(random() % 2);
    Thread::setRoundMode(mode);
    const std::string text =
        (random() % 2 ? "-" : "") + digits_text(random() % 24) + "." + digits_text(random() % 12);
    const Numeric in = number_of(text.c_str());
    TypedValue value(number_domain(digits, fraction, nonnegative));
    value.assign(in);
    Numeric out;
    ASSERT_TRUE(value.getNumeric(out));

    unsigned length = 0;
    unsigned precision = 0;
    out.lengthAndPrecision(length, precision);
    const unsigned integer = out.zero() ? 0 : length - precision;
    ASSERT_LE(integer, digits - fraction) << text << " in " << digits << "," << fraction;
    ASSERT_LE(precision, fraction) << text;

    Numeric expected = in;
    if (nonnegative && expected.sign() < 0) expected = Numeric();
    expected.round(static_cast<int>(fraction), mode);
    if (out != expected) {
      // Saturated: the largest number of the qualifiers with the sign.
      std::string largest = std::string(digits - fraction, '9');
      if (largest.empty()) largest = "0";
      if (fraction > 0) largest += "." + std::string(fraction, '9');
      ASSERT_EQ(out.abs(), number_of(largest.c_str())) << text;
      ASSERT_EQ(out.sign(), in.sign()) << text;
      ASSERT_GT(expected.abs(), out.abs()) << text;
    }
  }
}

TEST(TypedValue, MergedQualifiersHoldEveryValueOfBoth) {
  std::mt19937 random(5);
  for (int i = 0; i < 500; ++i) {
    const unsigned da = 1 + random() % 30;
    const unsigned db = 1 + random() % 30;
    const NumericQualifiers a(da, random() % (da + 1), random() % 2);
    const NumericQualifiers b(db, random() % (db + 1), random() % 2);
    P merged(P::kNumberType);
    merged.setNumericQualifiers(a.merge(b));
    TypedValue holder{TypeDomain(merged)};
    for (const NumericQualifiers& q : {a, b}) {
      P pattern(P::kNumberType);
      pattern.setNumericQualifiers(q);
      TypedValue source{TypeDomain(pattern)};
      // Numbers of `q`: whatever comes out of a holder of `q`.
      for (int n = 0; n < 4; ++n) {
        std::string text = random() % 2 ? "-" : "";
        for (unsigned k = random() % 40; k > 0; --k) text += static_cast<char>('0' + random() % 10);
        text += '.';
        for (unsigned k = random() % 40; k > 0; --k) text += static_cast<char>('0' + random() % 10);
        source.assign(number_of(text.c_str()));
        holder.assign(source);
        ASSERT_TRUE(holder.equals(source)) << to_string(source).toUtf8();
      }
    }
  }
}

TEST(TypedValue, StringsAreCutAndPaddedToTheirLength) {
  TypedValue fixed(string_domain(5, LengthKind::Fixed));
  EXPECT_TRUE(fixed.equals(u"     "));  // the default value, padded
  fixed.assign(u"abc");
  EXPECT_TRUE(fixed.equals(u"abc  "));
  fixed.assign(u"abcdefghij");
  EXPECT_TRUE(fixed.equals(u"abcde"));

  TypedValue variable(string_domain(5, LengthKind::Variable));
  const Value three(u"abc");
  variable.assign(three);
  EXPECT_EQ(variable.getIValue(), three.getIValue());  // kept, not copied
  variable.assign(u"abcdefghij");
  EXPECT_TRUE(variable.equals(u"abcde"));

  TypedValue unlimited(string_domain(0, LengthKind::Fixed));
  unlimited.assign(u"any length at all");
  EXPECT_TRUE(unlimited.equals(u"any length at all"));

  // A cut never splits a surrogate pair.
  fixed.assign(u"abcd\U0001F600");
  EXPECT_TRUE(fixed.equals(u"abcd "));
  variable.assign(u"abcd\U0001F600");
  EXPECT_TRUE(variable.equals(u"abcd"));
  variable.assign(u"abc\U0001F600x");
  EXPECT_TRUE(variable.equals(u"abc\U0001F600"));
}

TEST(TypedValue, DatesKeepTheirParts) {
  const Date moment(2024, 3, 15, 13, 45, 30);
  TypedValue date_only(date_domain(1));
  date_only.assign(moment);
  EXPECT_TRUE(date_only.equals(Date(2024, 3, 15)));
  TypedValue time_only(date_domain(2));
  time_only.assign(moment);
  EXPECT_TRUE(time_only.equals(Date(1, 1, 1, 13, 45, 30)));
  TypedValue both(date_domain(0));
  both.assign(moment);
  EXPECT_TRUE(both.equals(moment));
  both.assign(Date(Date::kMaxTicks + 1));
  EXPECT_TRUE(both.equals(Date()));
  EXPECT_TRUE(TypedValue(date_domain(2)).equals(Date()));
}

TEST(TypedValue, BinaryDataIsCutAndPaddedWithZeros) {
  P pattern(P::kBinaryDataType);
  pattern.setBinaryQualifiers(BinaryQualifiers(4, LengthKind::Fixed));
  TypedValue fixed{TypeDomain(pattern)};
  auto bytes_of = [](const GenericValue& value) {
    const BinaryDataValue* data = binary_data_of(value.getIValue());
    EXPECT_NE(data, nullptr);
    return data != nullptr ? std::vector<std::uint8_t>(data->bytes().begin(), data->bytes().end())
                           : std::vector<std::uint8_t>{};
  };
  EXPECT_EQ(bytes_of(fixed), (std::vector<std::uint8_t>{0, 0, 0, 0}));
  fixed.assign(create_binary_data_value(std::vector<std::uint8_t>{7, 8}).get());
  EXPECT_EQ(bytes_of(fixed), (std::vector<std::uint8_t>{7, 8, 0, 0}));
  fixed.assign(create_binary_data_value(std::vector<std::uint8_t>{1, 2, 3, 4, 5, 6}).get());
  EXPECT_EQ(bytes_of(fixed), (std::vector<std::uint8_t>{1, 2, 3, 4}));

  pattern.setBinaryQualifiers(BinaryQualifiers(4, LengthKind::Variable));
  TypedValue variable{TypeDomain(pattern)};
  EXPECT_EQ(bytes_of(variable), std::vector<std::uint8_t>{});
  variable.assign(create_binary_data_value(std::vector<std::uint8_t>{7, 8}).get());
  EXPECT_EQ(bytes_of(variable), (std::vector<std::uint8_t>{7, 8}));
  variable.assign(create_binary_data_value(std::vector<std::uint8_t>{1, 2, 3, 4, 5}).get());
  EXPECT_EQ(bytes_of(variable), (std::vector<std::uint8_t>{1, 2, 3, 4}));
}

TEST(TypedValue, AValueOfATypeNotAllowedBecomesTheDefaultValue) {
  TypedValue number(number_domain(5, 2));
  number.assign(u"12");
  EXPECT_TRUE(number.equals(0));
  number.assign(true);
  EXPECT_TRUE(number.equals(0));
  number.assign(7);
  number.clear();
  EXPECT_TRUE(number.equals(0));

  P pattern(std::vector<GUID>{P::kStringType, P::kNumberType});
  pattern.setStringQualifiers(StringQualifiers(3, LengthKind::Fixed));
  TypedValue text{TypeDomain(pattern)};
  text.assign(Date(2020, 1, 1));
  EXPECT_TRUE(text.equals(u"   "));
  text.assign(42);
  EXPECT_TRUE(text.equals(42));

  // The empty domain keeps everything.
  TypedValue any;
  EXPECT_TRUE(is_undefined_value(any));
  any.assign(Date(2020, 1, 1));
  EXPECT_TRUE(any.equals(Date(2020, 1, 1)));
  any.setIValue(nullptr);
  EXPECT_TRUE(is_undefined_value(any));

  // A domain of an object type whose default value is of another kind.
  const GUID com_object = Value(static_cast<IUnknown*>(binary_data_type())).type().getCLSID();
  TypedValue objects{TypeDomain(com_object)};
  EXPECT_TRUE(is_undefined_value(objects));
  objects.assign(5);
  EXPECT_TRUE(is_undefined_value(objects));
}

TEST(TypedValue, SetDomainResetsAndChangeDomainReadjusts) {
  TypedValue value(number_domain(10, 3));
  value.assign(number_of("123.456"));
  value.changeDomain(number_domain(5, 1));
  EXPECT_TRUE(value.equals(number_of("123.5")));
  EXPECT_EQ(value.typeDomain(), number_domain(5, 1));
  value.changeDomain(number_domain(2, 0));
  EXPECT_TRUE(value.equals(99));
  value.changeDomain(string_domain(2, LengthKind::Fixed));
  EXPECT_TRUE(value.equals(u"  "));

  value.assign(u"ab");
  value.setDomain(string_domain(4, LengthKind::Fixed));
  EXPECT_TRUE(value.equals(u"    "));
  value.assign(u"ab");
  value.setDefaultValue();
  EXPECT_TRUE(value.equals(u"    "));

  EXPECT_THROW_IDS(value.setDomain(TypeDomain(GUID{1, 2, 3, {4}})), TypeException,
                   "IDS_TYPEERROR_TYPENOTDEFINED");
}

TEST(TypedValue, CopiesMovesAndAssignments) {
  TypedValue a(number_domain(3, 1));
  a.assign(12.34);
  TypedValue copy = a;
  EXPECT_EQ(copy.typeDomain(), a.typeDomain());
  EXPECT_EQ(copy.getIValue(), a.getIValue());

  TypedValue moved = std::move(copy);
  EXPECT_TRUE(moved.equals(12.3));
  EXPECT_TRUE(copy.typeDomain().empty());  // NOLINT(bugprone-use-after-move)
  EXPECT_TRUE(is_undefined_value(copy));

  TypedValue b(string_domain(2, LengthKind::Variable));
  b = a;  // takes the domain and the value
  EXPECT_TRUE(b.equals(12.3));
  b = static_cast<const GenericValue&>(Value(123.45));  // keeps the domain
  EXPECT_TRUE(b.equals(99.9));

  Value plain;
  plain.assign(b);
  EXPECT_TRUE(plain.equals(99.9));
  EXPECT_TRUE(b.equals(plain));
  EXPECT_EQ(b.type().getTypeCode(), TypeCode::Number);
  EXPECT_EQ(b.hashCode(), 99);
}

}  // namespace
}  // namespace core
