// Formats of numbers, dates and booleans, and format(): a value turned into
// text under a parameter string (core/params.h) of format keys. format() of
// a universal value picks the branch by the value's kind.
//
//   core::format(core::Numeric(1234.5), u"ND=10; NFD=2");         // u"1,234.50"
//   core::format(core::Date(2024, 3, 1, 9, 5, 0), u"DF='dd.MM.yyyy HH:mm'");
//                                                                  // u"01.03.2024 09:05"
//
// A value with white space or ";" must be quoted, as in any parameter
// string: unquoted, "DF=dd.MM.yyyy HH:mm" ends at the space.
//   core::format(true, u"BT=On; BF=Off");                          // u"On"
//
// Format keys (each also in its Russian spelling, looked up first):
//   L   Л    locale name (a bad name throws `LocaleException` ("IDS_BADLOCALENAME") for a number;
//            for a date or a boolean the thread's format is kept)
//   ND  ЧЦ   total digits          NFD ЧДЦ  fraction digits
//   NDS ЧРД  decimal separator     NGS ЧРГ  group separator (first character)
//   NG  ЧГ   grouping ("3;0", "3;2;0", "0")
//   NN  ЧО   negative order 0..4   NZ  ЧН   text for zero
//   NLZ ЧВН  leading zeros         NS  ЧС   decimal shift (divide by 10^NS)
//   NF  ЧФ   template around the number: "%1" in it stands for the number and
//            "%%" for "%"; a template without "%1" is put before the number
//            (NF=$ gives "$1,234").
//   DF  ДФ   date pattern (letters below)    DLF ДЛФ  D/T letters choosing a
//   DE  ДП   text for the empty date                  locale pattern
//   BT  БИ   text for True             BF  БЛ   text for False
// Unknown keys are ignored; a malformed tail ends the reading and what was
// read before it applies. A zero number gives the NZ text or, without NZ,
// the empty string. Without DE the empty date is formatted like any date
// (0001-01-01 00:00:00); a date beyond the valid range gives the empty
// string.
//
// Date pattern letters (DF and DateFormat::parseQ9Pattern), English and
// Russian spellings:
//   d dd / д дд       day of month (1, 01)
//   ddd dddd / ддд дддд   weekday name, short and full
//   M MM / М ММ       month number (1, 01)
//   MMM MMMM / МММ ММММ   month name, short and full
//   yy yyyy / гг гггг year, two and four digits (a single y/г means yy,
//                     three or more mean yyyy)
//   q / к             quarter (1..4)
//   H HH / Ч ЧЧ       hour 0-23        h hh / ч чч   hour 1-12
//   m mm / м мм       minute           s ss / с сс   second
//   tt / вв           AM/PM marker (any run of t or в)
// Runs longer than a letter's longest form take the longest form. Text in
// single quotes is literal ('' is one quote, inside quotes or out); every
// other character stands for itself.
//
// Thread safety: NumericFormat, DateFormat and BoolFormat are plain values.
// format() and DateFormat::format() keep ICU formatters in small per-thread
// caches (bounded, least recently used out first), so no call locks or
// touches another thread. The thread's own formats are in core/thread.h.
#ifndef CORE_FORMATS_H_
#define CORE_FORMATS_H_

#include <concepts>
#include <cstdint>
#include <vector>

#include "core/date.h"
#include "core/export.h"
#include "core/locale.h"
#include "core/numeric.h"
#include "core/string.h"

namespace core {

class GenericValue;

// Numbers as text with the symbols and grouping of a locale.
//
//   core::NumericFormat f(core::Locale(u"ru_RU"));
//   f.format(core::Numeric(-1234.5));        // u"-1 234,5" (U+00A0 groups)
//   f.setWin32NegativeOrder(0);
//   f.format(core::Numeric(-1234.5), 0, 0, 2, 2);   // u"(1 234,50)"
//
// Every digit comes from the number's decimal digits: a Numeric of any
// length is shown exactly.
class CORE_EXPORT NumericFormat {
 public:
  // Digit counts above this are taken as this.
  static constexpr unsigned kMaxDigits = 1000;

  // The format of the process default locale.
  NumericFormat();
  explicit NumericFormat(const Locale& locale);

  const Locale& locale() const noexcept { return locale_; }

  const String& decimalSymbol() const noexcept { return decimal_; }
  const String& groupSymbol() const noexcept { return group_; }
  void setDecimalSymbol(const String& symbol) { decimal_ = symbol; }
  void setGroupSymbol(const String& symbol) { group_ = symbol; }

  // Sets the grouping from the Windows notation: group sizes 0-9 from the
  // decimal point leftwards separated by ";"; a final 0 repeats the size
  // before it ("3;0" thousands, "3;2;0" Indian), without it the digits left
  // of the last group are not grouped ("3" groups only the last three); "0"
  // or "" is no grouping. White space around sizes is allowed. Returns false,
  // leaving the grouping unchanged, for any other text.
  [[nodiscard]] bool setWin32Grouping(const String& grouping);
  // Sets the presentation of negative numbers by the Windows order:
  // 0 "(1.1)", 1 "-1.1", 2 "- 1.1", 3 "1.1-", 4 "1.1 -". Returns false,
  // leaving it unchanged, for any other order.
  [[nodiscard]] bool setWin32NegativeOrder(unsigned order);
  unsigned negativeOrder() const noexcept { return negative_order_; }

  // When on, the integer part of format(value, integerDigits, ...) is padded
  // with zeros to integerDigits.
  void setLeadingZeros(bool on) noexcept { leading_zeros_ = on; }
  bool leadingZeros() const noexcept { return leading_zeros_; }

  // All digits of `value`, grouped, with the negative order.
  String format(const Numeric& value) const;
  // `value` rounded to fractionDigits places (the thread's rounding mode)
  // and shown with at least minFractionDigits of them (trailing zeros beyond
  // that are dropped; a minimum above the maximum raises the maximum). When
  // integerLimited is non-zero and integerDigits > 0, a number whose integer
  // part needs more than integerDigits digits is shown as the largest number
  // of that shape, all nines (123456 with 3 integer and 1 fraction digit
  // gives "999.9"). Counts above kMaxDigits are taken as kMaxDigits.
  String format(const Numeric& value, unsigned integer_digits, unsigned integer_limited,
                unsigned fraction_digits, unsigned min_fraction_digits) const;

 private:
  String compose(bool negative, const char* integer, std::size_t integer_size, const char* fraction,
                 std::size_t fraction_size) const;

  Locale locale_;
  String decimal_;
  String group_;
  // Group sizes from the decimal point leftwards; the last repeats when
  // repeat_last_ is set.
  std::vector<unsigned char> grouping_;
  bool repeat_last_ = true;
  unsigned negative_order_ = 1;
  bool leading_zeros_ = false;
};

// The date and time patterns of a locale, and dates formatted by ICU pattern.
// Patterns are numbered from 1: short date, long date, time, short date and
// time, long date and time; number 4 is the presentation of dates.
//
//   core::DateFormat f(core::Locale(u"ru_RU"));
//   f.format(core::Date(2024, 3, 1, 9, 5, 0), f.getShortDateTimePattern());
//                                                  // u"01.03.2024, 09:05:00"
//
// The patterns are ICU's: short date (short style), long date (long style),
// time (medium style, with seconds), and ICU's combinations of the short or
// long date with that time.
class CORE_EXPORT DateFormat {
 public:
  static constexpr int kShortDate = 1;
  static constexpr int kLongDate = 2;
  static constexpr int kTime = 3;
  static constexpr int kShortDateTime = 4;
  static constexpr int kLongDateTime = 5;

  // The patterns of the process default locale.
  DateFormat();
  explicit DateFormat(const Locale& locale);

  const Locale& locale() const noexcept { return locale_; }

  const String& getShortDatePattern() const noexcept { return patterns_[0]; }
  const String& getLongDatePattern() const noexcept { return patterns_[1]; }
  const String& getTimePattern() const noexcept { return patterns_[2]; }
  const String& getShortDateTimePattern() const noexcept { return patterns_[3]; }
  const String& getLongDateTimePattern() const noexcept { return patterns_[4]; }
  // Pattern `number` (kShortDate..kLongDateTime); any other number gives
  // the short date-and-time pattern.
  const String& getPattern(int number) const noexcept;

  // `date` under the ICU `pattern` in the format's locale; the empty string
  // for an invalid date. Dates carry no zone and are shown as written, on
  // the proleptic Gregorian calendar. A malformed pattern is shown as far as
  // ICU reads it; never throws on bad patterns.
  String format(const Date& date, const String& pattern) const;
  // format(date, getShortDateTimePattern()).
  String format(const Date& date) const;

  // Translates a pattern of the letters in the table at the top of this
  // header into an ICU pattern.
  static String parseQ9Pattern(const String& pattern);

 private:
  Locale locale_;
  String patterns_[5];
};

// The texts of False and True in a locale's language.
//
//   core::BoolFormat f(core::Locale(u"ru_RU"));
//   f.format(true);                  // u"Да"
//   bool b;
//   f.parse(u" ложь ", b);           // true; b is false
//   f.parse(u"да", b);               // false: "Да" is written, never read
//
// Russian locales give "Нет"/"Да", all others "No"/"Yes"; when the host's
// compatibility level (core/application_context.h) is below 2 the texts are
// "Ложь"/"Истина" and "False"/"True". The level is read at each call.
class CORE_EXPORT BoolFormat {
 public:
  // The texts of the process default locale.
  BoolFormat();
  explicit BoolFormat(const Locale& locale);

  const Locale& locale() const noexcept { return locale_; }

  const String& trueText() const;
  const String& falseText() const;
  String format(bool value) const;

  // Reads the names of True and False in the locale's language ("True" and
  // "False", or "Истина" and "Ложь"), ignoring case and surrounding white
  // space, whatever the compatibility level. The answer words "Yes"/"No" and
  // "Да"/"Нет" are presentation only and are never read back: a text such as
  // "yes" is no boolean (so a String value "yes" does not convert to one).
  // Returns false, leaving `out` unchanged, for any other text.
  [[nodiscard]] bool parse(const String& text, bool& out) const;

 private:
  Locale locale_;
  bool russian_ = false;
};

namespace detail {
CORE_EXPORT String format_bool(bool value, const String& format_string);
}  // namespace detail

// `value` as text under `format_string` (see the key table at the top).
// The number branch throws `LocaleException` ("IDS_BADLOCALENAME") for a bad L
// name; nothing else throws for any format string.
CORE_EXPORT String format(const Numeric& value, const String& format_string);
CORE_EXPORT String format(const Date& value, const String& format_string);
// Only for bool itself, so that an integer argument is not taken for one.
template <class B>
requires std::same_as<B, bool> String format(B value, const String& format_string) {
  return detail::format_bool(value, format_string);
}

// A universal value (core/value.h) as text: a Number, Date or Boolean value
// goes to the overload of its kind above, under the same keys and with the
// same failures; every other kind (Undefined, Null, String, Type, objects)
// gives its ordinary presentation in the thread's settings, the format
// string unread: a String gives its text, Undefined and Null the empty
// string.
//   core::format(core::Value(12.5), u"NFD=2");     // u"12.50"
//   core::format(core::Value(u"text"), u"NFD=2");  // u"text"
CORE_EXPORT String format(const GenericValue& value, const String& format_string);

// The format string rewritten with English keys, in the order of the key
// table, each holding the value format() uses (quoted where needed), unknown
// keys and malformed tails dropped, NS pairs summed and NLZ as "1". Strings
// that format alike give one canonical text, usable as a cache key. Never
// throws.
CORE_EXPORT String canonical_format(const String& format_string);

// The locale name that `format_string` selects by L (Russian spelling
// first), or the empty string when it names none. Never throws.
CORE_EXPORT String get_locale_name_from_format(const String& format_string);

}  // namespace core

#endif  // CORE_FORMATS_H_
