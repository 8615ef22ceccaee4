#include "core/numeric.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>

#include "core/exception_classes.h"
#include "core/thread.h"
#include "test_util.h"

namespace core {
namespace {

using Mode = NumericRoundMode;

Numeric num(const char* text) {
  Numeric n;
  const char* end = nullptr;
  n.fromString(text, &end);
  EXPECT_EQ(*end, '\0') << "not all of \"" << text << "\" was read";
  return n;
}

std::string str(const Numeric& n) {
  std::string text;
  n.toString(text);
  EXPECT_EQ(n.toString(), String::fromUtf8(text));
  return text;
}

// Expects `statement` to throw NumericException with `code` and its message.
#define EXPECT_NUMERIC_ERROR(statement, expected_code, id)  \
  do {                                                      \
    EXPECT_THROW_IDS(statement, NumericException, id);      \
    try {                                                   \
      statement;                                            \
    } catch (const NumericException& e) {                   \
      EXPECT_EQ(static_cast<int>(e.code()), expected_code); \
    }                                                       \
  } while (false)

TEST(Numeric, NormalisedLayoutDropsZeroLimbsAtBothEnds) {
  const Numeric billion = num("1000000000");
  EXPECT_EQ(billion.limbCount(), 1);
  EXPECT_EQ(billion.fractionLimbs(), -1);
  EXPECT_EQ(billion.limbs()[0], 1u);
  EXPECT_EQ(Numeric(1000000000), billion);
  EXPECT_EQ(Numeric(1000000000).limbCount(), 1);

  const Numeric mixed = num("1000000000.5");  // an inner zero limb stays
  ASSERT_EQ(mixed.limbCount(), 3);
  EXPECT_EQ(mixed.fractionLimbs(), 1);
  EXPECT_EQ(mixed.limbs()[0], 500000000u);
  EXPECT_EQ(mixed.limbs()[1], 0u);
  EXPECT_EQ(mixed.limbs()[2], 1u);

  const Numeric tiny = num("0.000000000000000001");  // leading fraction limbs are not stored
  EXPECT_EQ(tiny.limbCount(), 1);
  EXPECT_EQ(tiny.fractionLimbs(), 2);
  EXPECT_EQ(tiny.limbs()[0], 1u);

  // The same value reached by different routes has the same representation.
  const Numeric sum = num("999999999.75") + num("0.25");
  EXPECT_EQ(sum.limbCount(), 1);
  EXPECT_EQ(sum.fractionLimbs(), -1);
}

TEST(Numeric, ZeroHasNoSign) {
  const Numeric zero;
  const Numeric negated = -zero;
  EXPECT_EQ(zero.sign(), 0);
  EXPECT_EQ(negated.sign(), 0);
  EXPECT_EQ(zero.compare(negated), 0);
  EXPECT_TRUE(negated.zero());
  EXPECT_EQ(negated.calculateChecksum(0), zero.calculateChecksum(0));
  EXPECT_EQ(str(num("-0.000")), "0");
  EXPECT_EQ(str(num("5") - num("5")), "0");
  EXPECT_EQ((num("-5") + num("5")).calculateChecksum(7), zero.calculateChecksum(7));
  EXPECT_EQ(str(num("-0.4").round(0, Mode::HalfAwayFromZero)), "0");
  EXPECT_EQ(num("-0.4").round(0, Mode::HalfAwayFromZero).calculateChecksum(0),
            zero.calculateChecksum(0));
}

TEST(Numeric, IntegerConstructorsCoverTheirRanges) {
  EXPECT_EQ(str(Numeric(static_cast<short>(SHRT_MIN))), "-32768");
  EXPECT_EQ(str(Numeric(static_cast<unsigned short>(USHRT_MAX))), "65535");
  EXPECT_EQ(str(Numeric(INT_MIN)), "-2147483648");
  EXPECT_EQ(str(Numeric(UINT_MAX)), "4294967295");
  EXPECT_EQ(str(Numeric(LLONG_MIN)), "-9223372036854775808");
  EXPECT_EQ(str(Numeric(ULLONG_MAX)), "18446744073709551615");
  EXPECT_EQ(str(Numeric(1000000000000000000LL)), "1000000000000000000");
  EXPECT_EQ(str(Numeric(-1000000001000000000LL)), "-1000000001000000000");
}

TEST(Numeric, DoubleConstructorTakesTheShortestText) {
  EXPECT_EQ(str(Numeric(0.1)), "0.1");
  EXPECT_EQ(str(Numeric(-1.5e-7)), "-0.00000015");
  EXPECT_EQ(str(Numeric(123456789.125)), "123456789.125");
  EXPECT_EQ(str(Numeric(1e21)), "1000000000000000000000");
  EXPECT_EQ(Numeric(1e21).limbCount(), 1);
  EXPECT_EQ(str(Numeric(5e-324)).size(), 326u);  // "0." and 323 zeros and 5
  EXPECT_EQ(str(Numeric(0.0)), "0");
  EXPECT_EQ(str(Numeric(-0.0)), "0");
  EXPECT_NUMERIC_ERROR(static_cast<void>(Numeric(std::numeric_limits<double>::infinity())), 3,
                       "IDS_NUMERROR_OVERFLOW");
  EXPECT_NUMERIC_ERROR(static_cast<void>(Numeric(std::nan(""))), 3, "IDS_NUMERROR_OVERFLOW");
}

TEST(Numeric, ReadsTextByTheStateMachine) {
  struct Case {
    const char* text;
    const char* value;
    std::ptrdiff_t stop;
  };
  const Case cases[] = {
      {"000123.4500", "123.45", 11},
      {".5", "0.5", 2},
      {"-.5", "-0.5", 3},
      {"  +12abc", "12", 5},
      {"+ 12", "0", 1},
      {"- 5", "0", 1},
      {"+-5", "0", 1},
      {"0-5", "0", 1},
      {"00.00100", "0.001", 8},
      {"1.2.3", "1.2", 3},
      {"\t\n\r 7", "7", 5},
      {"", "0", 0},
      {"abc", "0", 0},
      {".", "0", 1},
      {"5.", "5", 2},
      {"-000", "0", 4},
      {"1e5", "1", 1},
      {"12 34", "12", 2},
      {"1,5", "1", 1},
      {"0001000000000", "1000000000", 13},
      {"-00.0000000001000000000", "-0.0000000001", 23},
  };
  for (const Case& c : cases) {
    Numeric n(42);
    const char* end = nullptr;
    n.fromString(c.text, &end);
    EXPECT_EQ(str(n), c.value) << c.text;
    EXPECT_EQ(end - c.text, c.stop) << c.text;
  }
  // The wide form classes every unit of 256 and above as "other".
  const char16_t wide[] = u"12\u0661\u0035";
  const char16_t* end16 = nullptr;
  Numeric n;
  n.fromString(wide, &end16);
  EXPECT_EQ(str(n), "12");
  EXPECT_EQ(end16 - wide, 2);
  const char16_t high[] = {u'7', static_cast<char16_t>(u'0' + 0x100), u'\0'};
  n.fromString(high, &end16);
  EXPECT_EQ(str(n), "7");
  EXPECT_EQ(end16 - high, 1);
  // Bytes of 128 and above stop the narrow form.
  const char bytes[] = {'4', static_cast<char>(0xB9), '\0'};
  const char* end8 = nullptr;
  n.fromString(bytes, &end8);
  EXPECT_EQ(str(n), "4");
  EXPECT_EQ(end8 - bytes, 1);
  n.fromString(static_cast<const char*>(nullptr));
  EXPECT_TRUE(n.zero());
}

TEST(Numeric, WritesPlainText) {
  EXPECT_EQ(str(num("1000000000")), "1000000000");
  EXPECT_EQ(str(num("1000000000000000000000000000")), "1000000000000000000000000000");
  EXPECT_EQ(str(num("0.000000001")), "0.000000001");
  EXPECT_EQ(str(num("-1000000000.000000001")), "-1000000000.000000001");
  const std::string long_text = "-" + std::string(600, '9') + "." + std::string(500, '1');
  EXPECT_EQ(str(num(long_text.c_str())), long_text);  // beyond the stack buffer
}

TEST(Numeric, CompareAlignsOnThePoint) {
  EXPECT_LT(num("0.999999999999"), num("1"));
  EXPECT_GT(num("1000000000"), num("999999999.999999999"));
  EXPECT_GT(num("1.0000000000000000001"), num("1"));
  EXPECT_LT(num("-2"), num("-1.5"));
  EXPECT_LT(num("-1"), num("0"));
  EXPECT_GT(num("0.000000000000000001"), num("-1000000000"));
  EXPECT_EQ(num("1.50").compare(num("1.5")), 0);
}

TEST(Numeric, DivisionFollowsTheFixedRule) {
  EXPECT_EQ(str(num("1") / num("3")), "0.333333333333333333333333333");
  EXPECT_EQ(str(num("2") / num("3")), "0.666666666666666666666666667");
  EXPECT_EQ(str(num("-2") / num("3")), "-0.666666666666666666666666667");
  EXPECT_EQ(str(num("2") / num("-3")), "-0.666666666666666666666666667");
  EXPECT_EQ(str(num("10") / num("4")), "2.5");
  // 1 / 2^28 = 0.000000003725290298461914062|5: the next limb is exactly
  // 500,000,000, which rounds the magnitude up.
  EXPECT_EQ(str(num("1") / num("268435456")), "0.000000003725290298461914063");
  EXPECT_EQ(str(num("-1") / num("268435456")), "-0.000000003725290298461914063");
  // A two-limb divisor gives a fraction limb more.
  unsigned length = 0;
  unsigned precision = 0;
  (num("1") / num("1000000001")).lengthAndPrecision(length, precision);
  EXPECT_EQ(precision, 36u);
  // A dividend with dropped zero limbs counts its fraction limbs as 0.
  EXPECT_EQ(str(num("1000000000") / num("3")), "333333333.333333333333333333333333333");
  // A divisor with many fraction limbs makes the quotient's count negative.
  const Numeric q = num("1") / num("0.000000000000000000000000000000000000000000003");
  EXPECT_EQ(q.fractionLimbs(), -2);
  EXPECT_EQ(str(q), std::string(27, '3') + std::string(18, '0'));
  EXPECT_EQ(str(num("12345.67") / num("-0.05")), "-246913.4");
}

TEST(Numeric, DivisionByZeroThrowsEvenForZero) {
  EXPECT_NUMERIC_ERROR(num("1") / Numeric(), 1, "IDS_NUMERROR_DIVIDEBYZERO");
  EXPECT_NUMERIC_ERROR(Numeric() / Numeric(), 1, "IDS_NUMERROR_DIVIDEBYZERO");
  EXPECT_NUMERIC_ERROR(num("1") % Numeric(), 1, "IDS_NUMERROR_DIVIDEBYZERO");
  EXPECT_NUMERIC_ERROR(Numeric() % Numeric(), 1, "IDS_NUMERROR_DIVIDEBYZERO");
  EXPECT_EQ(str(Numeric() / num("7")), "0");
}

TEST(Numeric, RemainderKeepsTheDividendsSign) {
  EXPECT_EQ(str(num("7") % num("2")), "1");
  EXPECT_EQ(str(num("-7") % num("2")), "-1");
  EXPECT_EQ(str(num("7") % num("-2")), "1");
  EXPECT_EQ(str(num("-7.5") % num("2")), "-1.5");
  EXPECT_EQ(str(num("0.7") % num("0.25")), "0.2");
  EXPECT_EQ(str(num("1") % num("3")), "1");
  EXPECT_EQ(str(num("1000000000") % num("7")), "6");
  EXPECT_EQ(str(num("6") % num("3")), "0");
  EXPECT_EQ(str(num("123456789012345678901234567890") % num("0.000000001")), "0");
}

TEST(Numeric, RoundsBothModes) {
  struct Case {
    const char* value;
    int digits;
    const char* toward;  // mode 0
    const char* away;    // mode 1
  };
  const Case cases[] = {
      {"2.345", 2, "2.34", "2.35"},
      {"2.3451", 2, "2.35", "2.35"},
      {"-2.345", 2, "-2.34", "-2.35"},
      {"2.34", 2, "2.34", "2.34"},
      {"2.34", 5, "2.34", "2.34"},
      {"2.5", 0, "2", "3"},
      {"0.5", 0, "0", "1"},
      {"0.6", 0, "1", "1"},
      {"0.6", -1, "0", "0"},
      {"999999999.9999999999", 0, "1000000000", "1000000000"},
      {"0.96", 1, "1", "1"},
      {"1234.5", -2, "1200", "1200"},
      {"1250", -2, "1200", "1300"},
      {"1250.0001", -2, "1300", "1300"},
      // cut on a limb boundary: the next limb decides against 500,000,000
      {"0.1234567895", 9, "0.123456789", "0.12345679"},
      {"1.0000000005000000001", 9, "1.000000001", "1.000000001"},
      {"1.0000000004999999999", 9, "1", "1"},
      // dropped integer limbs count as zeros
      {"5000000000", -10, "0", "10000000000"},
      {"15000000000", -10, "10000000000", "20000000000"},
      {"1000000000", -9, "1000000000", "1000000000"},
      {"1000000000", -10, "0", "0"},
      {"400000000", -9, "0", "0"},
      {"600000000", -9, "1000000000", "1000000000"},
      {"600000000", -19, "0", "0"},
      {"-999999999999999999.5", 0, "-999999999999999999", "-1000000000000000000"},
      {"123", INT_MAX, "123", "123"},
      {"123", INT_MIN, "0", "0"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(str(num(c.value).round(c.digits, Mode::HalfTowardZero)), c.toward)
        << c.value << " to " << c.digits;
    EXPECT_EQ(str(num(c.value).round(c.digits, Mode::HalfAwayFromZero)), c.away)
        << c.value << " to " << c.digits;
  }
  EXPECT_THROW(num("1").round(0, static_cast<Mode>(2)), IllegalArgumentException);
}

TEST(Numeric, RoundWithoutModeUsesTheThreadsMode) {
  const Mode saved = Thread::roundMode();
  Thread::setRoundMode(Mode::HalfTowardZero);
  EXPECT_EQ(str(num("2.345").round(2)), "2.34");
  Thread::setRoundMode(Mode::HalfAwayFromZero);
  EXPECT_EQ(str(num("2.345").round(2)), "2.35");
  Thread::setRoundMode(saved);
}

TEST(Numeric, FloorCutsTowardZero) {
  EXPECT_EQ(str(num("1.5").floor()), "1");
  EXPECT_EQ(str(num("-1.5").floor()), "-1");
  EXPECT_EQ(str(num("0.5").floor()), "0");
  EXPECT_EQ(num("-0.5").floor().sign(), 0);
  const Numeric whole = num("1000000000.5").floor();
  EXPECT_EQ(str(whole), "1000000000");
  EXPECT_EQ(whole.limbCount(), 1);
  EXPECT_EQ(str(num("1000000000").floor()), "1000000000");
}

TEST(Numeric, LengthAndPrecision) {
  struct Case {
    const char* value;
    unsigned length;
    unsigned precision;
  };
  const Case cases[] = {
      {"0", 1, 0},
      {"000123.4500", 5, 2},
      {"1000000000", 10, 0},
      {"0.5", 1, 1},
      {"0.000000001", 9, 9},
      {"-12.000000000001", 14, 12},
      {"1000000000000000000000", 22, 0},
  };
  for (const Case& c : cases) {
    unsigned length = 99;
    unsigned precision = 99;
    num(c.value).lengthAndPrecision(length, precision);
    EXPECT_EQ(length, c.length) << c.value;
    EXPECT_EQ(precision, c.precision) << c.value;
  }
}

TEST(Numeric, IntegerConversions) {
  long long out = 77;
  EXPECT_TRUE(num("-9223372036854775808").toInteger(out));
  EXPECT_EQ(out, LLONG_MIN);
  EXPECT_TRUE(num("9223372036854775807").toInteger(out));
  EXPECT_EQ(out, LLONG_MAX);
  EXPECT_TRUE(num("5000000000000000000").toInteger(out));
  EXPECT_EQ(out, 5000000000000000000LL);
  out = 77;
  EXPECT_FALSE(num("9223372036854775808").toInteger(out));
  EXPECT_FALSE(num("5.5").toInteger(out));
  EXPECT_FALSE(num("1000000000000000000000000000000").toInteger(out));
  EXPECT_EQ(out, 77);

  EXPECT_EQ(static_cast<long long>(num("-5.7")), -5);
  EXPECT_EQ(static_cast<long long>(num("1000000000000000000000000000000")), LLONG_MAX);
  EXPECT_EQ(static_cast<long long>(num("-9223372036854775809")), LLONG_MIN);
  EXPECT_EQ(static_cast<long>(num("-12.9")), -12L);
}

TEST(Numeric, SafeConversionsThrowOverflowOutOfRange) {
  EXPECT_EQ(num("255.9").safeAsByte(), 255);
  EXPECT_EQ(num("-0.5").safeAsByte(), 0);
  EXPECT_NUMERIC_ERROR(num("256").safeAsByte(), 3, "IDS_NUMERROR_OVERFLOW");
  EXPECT_NUMERIC_ERROR(num("-1").safeAsByte(), 3, "IDS_NUMERROR_OVERFLOW");
  EXPECT_EQ(num("65535").safeAsUInt16(), 65535);
  EXPECT_NUMERIC_ERROR(num("65536").safeAsUInt16(), 3, "IDS_NUMERROR_OVERFLOW");
  EXPECT_EQ(num("4294967295").safeAsUInt32(), 4294967295u);
  EXPECT_NUMERIC_ERROR(num("4294967296").safeAsUInt32(), 3, "IDS_NUMERROR_OVERFLOW");
  EXPECT_EQ(num("18446744073709551615").safeAsUInt64(), ULLONG_MAX);
  EXPECT_NUMERIC_ERROR(num("18446744073709551616").safeAsUInt64(), 3, "IDS_NUMERROR_OVERFLOW");
  EXPECT_EQ(num("-9223372036854775808").safeAsInt64(), LLONG_MIN);
  EXPECT_NUMERIC_ERROR(num("-9223372036854775809").safeAsInt64(), 3, "IDS_NUMERROR_OVERFLOW");
  EXPECT_NUMERIC_ERROR(num("9223372036854775808").safeAsInt64(), 3, "IDS_NUMERROR_OVERFLOW");
  EXPECT_NUMERIC_ERROR(num("1000000000000000000000000000000").safeAsInt64(), 3,
                       "IDS_NUMERROR_OVERFLOW");
}

TEST(Numeric, DoubleConversionRoundsCorrectly) {
  EXPECT_EQ(static_cast<double>(num("0.1")), 0.1);
  EXPECT_EQ(static_cast<double>(num("-123456789012345678901234567890.5")),
            -123456789012345678901234567890.5);
  EXPECT_EQ(static_cast<double>(num("1000000000")), 1e9);
  const std::string huge = "1" + std::string(400, '0');
  EXPECT_EQ(static_cast<double>(num(huge.c_str())), std::numeric_limits<double>::infinity());
  EXPECT_EQ(static_cast<double>(-num(huge.c_str())), -std::numeric_limits<double>::infinity());
  const std::string tiny = "0." + std::string(400, '0') + "1";
  EXPECT_EQ(static_cast<double>(num(tiny.c_str())), 0.0);
}

TEST(Numeric, Power) {
  EXPECT_EQ(str(Numeric(2).pow(10)), "1024");
  EXPECT_EQ(str(num("1.5").pow(3)), "3.375");
  EXPECT_EQ(str(Numeric(-2).pow(3)), "-8");
  EXPECT_EQ(str(Numeric(-2).pow(4)), "16");
  EXPECT_EQ(str(Numeric(2).pow(-2)), "0.25");
  EXPECT_EQ(str(Numeric(3).pow(-1)), "0.333333333333333333333333333");
  EXPECT_EQ(str(Numeric(10).pow(30)), "1" + std::string(30, '0'));
  EXPECT_EQ(str(Numeric().pow(0)), "1");
  EXPECT_EQ(str(Numeric().pow(5)), "0");
  EXPECT_EQ(str(Numeric(4).pow(num("0.5"))), "2");
  EXPECT_EQ(str(Numeric(-1).pow(num("1000000000000000000000000000001"))), "-1");
  EXPECT_EQ(str(Numeric(-1).pow(num("1000000000000000000000000000000"))), "1");
  EXPECT_NUMERIC_ERROR(Numeric().pow(-1), 1, "IDS_NUMERROR_DIVIDEBYZERO");
  EXPECT_NUMERIC_ERROR(Numeric(-8).pow(num("0.5")), 2, "IDS_NUMERROR_NEGATIVEPOW");
  EXPECT_NUMERIC_ERROR(Numeric(10).pow(200000), 3, "IDS_NUMERROR_OVERFLOW");
  EXPECT_NUMERIC_ERROR(Numeric(2).pow(num("100000000000000000000")), 3, "IDS_NUMERROR_OVERFLOW");
  EXPECT_NUMERIC_ERROR(Numeric(10).pow(num("1000.5")), 3, "IDS_NUMERROR_OVERFLOW");
}

TEST(Numeric, RangeIsGuarded) {
  Numeric n(1000000000);
  Numeric last = n;
  try {
    for (int i = 0; i < 40; ++i) {
      n *= n;
      last = n;
    }
    ADD_FAILURE() << "no overflow";
  } catch (const NumericException& e) {
    EXPECT_EQ(e.code(), NumericException::Code::Overflow);
  }
  EXPECT_EQ(n, last);  // unchanged by the failed step
  EXPECT_EQ(n.limbCount(), 1);
  EXPECT_EQ(n.fractionLimbs(), -(1 << 21));
}

TEST(Numeric, DigitsForFormats) {
  char buffer[64];
  EXPECT_TRUE(num("123.456").digits(buffer, 6, 2, Mode::HalfAwayFromZero));
  EXPECT_STREQ(buffer, "012346");
  EXPECT_FALSE(num("123.456").digits(buffer, 4, 2, Mode::HalfAwayFromZero));
  EXPECT_STREQ(buffer, "2346");
  EXPECT_FALSE(num("99.995").digits(buffer, 4, 2, Mode::HalfAwayFromZero));  // 100.00
  EXPECT_TRUE(num("-0.005").digits(buffer, 3, 2, Mode::HalfAwayFromZero));
  EXPECT_STREQ(buffer, "001");
  EXPECT_TRUE(num("-0.005").digits(buffer, 3, 2, Mode::HalfTowardZero));
  EXPECT_STREQ(buffer, "000");
  EXPECT_TRUE(num("1000000000.5").digits(buffer, 12, 1, Mode::HalfTowardZero));
  EXPECT_STREQ(buffer, "010000000005");
  EXPECT_THROW((void)num("1").digits(buffer, 1, 2, Mode::HalfTowardZero), IllegalArgumentException);

  EXPECT_TRUE(num("-123.45").digits(buffer, 6));
  EXPECT_STREQ(buffer, "12345");
  EXPECT_FALSE(num("-123.45").digits(buffer, 5));
  EXPECT_STREQ(buffer, "");
  EXPECT_TRUE(num("0.05").digits(buffer, 6));
  EXPECT_STREQ(buffer, "05");
}

TEST(Numeric, ChecksumMixesSignExtendedBytes) {
  // Values worked out by hand from the definition; 500,000,000 and the
  // negative sign put bytes of 128 and above into the mix.
  EXPECT_EQ(Numeric().calculateChecksum(0), 0x1u);
  EXPECT_EQ(num("-0.5").calculateChecksum(0), 0xb7a56c68u);
  EXPECT_EQ(num("1000000000").calculateChecksum(12345), 0x7c6551b9u);
  // Equal values give equal checksums whatever route built them.
  const Numeric a = num("1.10");
  const Numeric b = num("11") / num("10");
  const Numeric c(1.1);
  EXPECT_EQ(a.calculateChecksum(99), b.calculateChecksum(99));
  EXPECT_EQ(a.calculateChecksum(99), c.calculateChecksum(99));
  EXPECT_NE(a.calculateChecksum(99), num("-1.1").calculateChecksum(99));
  EXPECT_NE(a.calculateChecksum(99), num("1.1000000001").calculateChecksum(99));
}

TEST(Numeric, Literals) {
  EXPECT_EQ(str(create_numeric_from_hex_literal_string(u"0xFF")), "255");
  EXPECT_EQ(str(create_numeric_from_hex_literal_string(u"ff")), "255");
  EXPECT_EQ(str(create_numeric_from_hex_literal_string(u"0X1f")), "31");
  EXPECT_EQ(str(create_numeric_from_hex_literal_string(u"0x0")), "0");
  EXPECT_EQ(
      str(create_numeric_from_hex_literal_string(String(u"0x") + String(std::u16string(32, u'F')))),
      "340282366920938463463374607431768211455");
  EXPECT_EQ(str(create_numeric_from_binary_literal_string(u"0b101")), "5");
  EXPECT_EQ(str(create_numeric_from_binary_literal_string(u"1111111111111111111111111111111")),
            "2147483647");
  EXPECT_EQ(str(create_numeric_from_binary_literal_string(String(std::u16string(64, u'1')))),
            "18446744073709551615");
  for (const char16_t* bad : {u"", u"0x", u"0xG", u"-1", u" 1", u"1 ", u"0x1.5"}) {
    EXPECT_THROW_IDS(create_numeric_from_hex_literal_string(bad), IllegalArgumentException,
                     "IDS_ERR_ILLEGAL_ARGUMENT");
  }
  for (const char16_t* bad : {u"", u"0b", u"0b2", u"12", u"0x1"}) {
    EXPECT_THROW_IDS(create_numeric_from_binary_literal_string(bad), IllegalArgumentException,
                     "IDS_ERR_ILLEGAL_ARGUMENT");
  }
  EXPECT_THROW(create_numeric_from_hex_literal_string(String(std::u16string(4097, u'1'))),
               IllegalArgumentException);
  EXPECT_NO_THROW(create_numeric_from_hex_literal_string(String(std::u16string(4096, u'f'))));
}

TEST(Numeric, CopyAndMoveAcrossTheBuiltInBuffer) {
  const Numeric big = num("123456789012345678901234567890123456789012345678901234567890.5");
  const Numeric small = num("-42.5");
  Numeric copy = big;
  EXPECT_EQ(copy, big);
  Numeric moved = std::move(copy);
  EXPECT_EQ(moved, big);
  EXPECT_TRUE(copy.zero());  // NOLINT(bugprone-use-after-move): a moved-from number is zero
  moved = small;             // into a heap buffer
  EXPECT_EQ(str(moved), "-42.5");
  moved = big;
  Numeric target = small;
  target = std::move(moved);
  EXPECT_EQ(target, big);
  target = Numeric(small);  // inline move into a heap-backed number
  EXPECT_EQ(str(target), "-42.5");
  Numeric& self = target;
  target = self;
  EXPECT_EQ(str(target), "-42.5");
  Numeric x = big;
  x += x;
  EXPECT_EQ(x, big * Numeric(2));
  Numeric& alias = x;
  x -= alias;
  EXPECT_TRUE(x.zero());
}

}  // namespace
}  // namespace core
