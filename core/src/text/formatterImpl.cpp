// Implements core/formats.h: number, date and boolean formats.
#include <unicode/datefmt.h>
#include <unicode/decimfmt.h>
#include <unicode/gregocal.h>
#include <unicode/numfmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/locale_data.h"
#include "core/application_context.h"
#include "core/exception_classes.h"
#include "core/formats.h"
#include "core/nocase.h"
#include "core/params.h"
#include "core/thread.h"
#include "core/value.h"
#include "internal/chars.h"
#include "internal/icu.h"

namespace core {
namespace {

// A small table of the most recently used entries, newest first. Lookups
// are linear; the tables stay a few entries long so that a stream of
// distinct keys cannot grow memory.
template <class Value, std::size_t kCapacity>
class LruCache {
 public:
  Value* find(std::u16string_view key) {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      if (std::u16string_view(entries_[i].first) == key) {
        if (i != 0) std::rotate(entries_.begin(), entries_.begin() + i, entries_.begin() + i + 1);
        return entries_.front().second.get();
      }
    }
    return nullptr;
  }

  Value& insert(std::u16string_view key, std::unique_ptr<Value> value) {
    if (entries_.size() == kCapacity) entries_.pop_back();
    entries_.emplace(entries_.begin(), String(key), std::move(value));
    return *entries_.front().second;
  }

 private:
  std::vector<std::pair<String, std::unique_ptr<Value>>> entries_;
};

// The Locale of `name`, kept per thread. Throws LocaleException for a bad
// name (bad names are not kept).
const Locale& cached_locale(const String& name) {
  thread_local LruCache<Locale, 8> cache;
  if (Locale* locale = cache.find(name)) return *locale;
  return cache.insert(name, std::make_unique<Locale>(name));
}

struct Grouping {
  std::vector<unsigned char> sizes;
  bool repeat_last = true;
};

const Grouping& locale_grouping(const Locale& locale) {
  thread_local LruCache<Grouping, 8> cache;
  if (Grouping* grouping = cache.find(locale.name())) return *grouping;
  auto grouping = std::make_unique<Grouping>();
  grouping->sizes = {3};
  detail::IcuStatus status;
  std::unique_ptr<icu::NumberFormat> format(
      icu::NumberFormat::createInstance(locale.data().icu, status));
  if (status.isSuccess()) {
    if (const auto* decimal = dynamic_cast<const icu::DecimalFormat*>(format.get())) {
      const int32_t primary = decimal->getGroupingSize();
      const int32_t secondary = decimal->getSecondaryGroupingSize();
      if (!decimal->isGroupingUsed() || primary <= 0 || primary > 9) {
        grouping->sizes.clear();
      } else {
        grouping->sizes = {static_cast<unsigned char>(primary)};
        if (secondary > 0 && secondary <= 9 && secondary != primary) {
          grouping->sizes.push_back(static_cast<unsigned char>(secondary));
        }
      }
    }
  }
  return cache.insert(locale.name(), std::move(grouping));
}

using Patterns = std::array<String, 5>;

const Patterns& locale_patterns(const Locale& locale) {
  thread_local LruCache<Patterns, 8> cache;
  if (Patterns* patterns = cache.find(locale.name())) return *patterns;
  auto patterns = std::make_unique<Patterns>();
  const icu::Locale& icu_locale = locale.data().icu;
  using Icu = icu::DateFormat;
  std::unique_ptr<Icu> formats[5] = {
      std::unique_ptr<Icu>(Icu::createDateInstance(Icu::kShort, icu_locale)),
      std::unique_ptr<Icu>(Icu::createDateInstance(Icu::kLong, icu_locale)),
      std::unique_ptr<Icu>(Icu::createTimeInstance(Icu::kMedium, icu_locale)),
      std::unique_ptr<Icu>(Icu::createDateTimeInstance(Icu::kShort, Icu::kMedium, icu_locale)),
      std::unique_ptr<Icu>(Icu::createDateTimeInstance(Icu::kLong, Icu::kMedium, icu_locale))};
  static const char16_t* const k_fallback[5] = {u"yyyy-MM-dd", u"d MMMM y", u"HH:mm:ss",
                                                u"yyyy-MM-dd HH:mm:ss", u"d MMMM y HH:mm:ss"};
  for (int i = 0; i < 5; ++i) {
    const auto* simple = dynamic_cast<const icu::SimpleDateFormat*>(formats[i].get());
    if (simple == nullptr) {
      (*patterns)[i] = k_fallback[i];
      continue;
    }
    icu::UnicodeString pattern;
    simple->toPattern(pattern);
    (*patterns)[i] = detail::from_icu(pattern);
  }
  return cache.insert(locale.name(), std::move(patterns));
}

// An ICU formatter of `pattern` in `locale`, on the proleptic Gregorian
// calendar in GMT, kept per thread; null when ICU refuses the pattern.
icu::SimpleDateFormat* cached_date_formatter(const Locale& locale, const String& pattern) {
  struct Entry {
    std::unique_ptr<icu::SimpleDateFormat> format;
  };
  thread_local LruCache<Entry, 16> cache;
  String key = locale.name();
  key.append(u'\0');
  key.append(pattern);
  if (Entry* entry = cache.find(key)) return entry->format.get();
  auto entry = std::make_unique<Entry>();
  detail::IcuStatus status;
  auto format = std::make_unique<icu::SimpleDateFormat>(detail::alias_icu(pattern),
                                                        locale.data().icu, status);
  if (status.isSuccess()) {
    auto calendar = std::make_unique<icu::GregorianCalendar>(icu::TimeZone::getGMT()->clone(),
                                                             locale.data().icu, status);
    if (status.isSuccess()) {
      calendar->setGregorianChange(-8.64e15, status);
      format->adoptCalendar(calendar.release());
      entry->format = std::move(format);
    }
  }
  return cache.insert(key, std::move(entry)).format.get();
}

// Milliseconds from 0001-01-01 to 1970-01-01.
constexpr std::int64_t kUnixEpochMillis = 62135596800000;

bool same_key(std::u16string_view name, std::u16string_view english,
              std::u16string_view russian) noexcept {
  return (name.size() == english.size() && compare_nocase(name, english) == 0) ||
         (name.size() == russian.size() && compare_nocase(name, russian) == 0);
}

// The integer of a key value: white space, an optional sign, ASCII digits;
// saturated far beyond any meaningful count.
long long read_integer(const String& text) noexcept {
  const char16_t* p = text.c_str();
  const char16_t* end = p + text.size();
  while (p != end && detail::is_white_space(*p)) ++p;
  bool negative = false;
  if (p != end && (*p == u'+' || *p == u'-')) negative = *p++ == u'-';
  long long value = 0;
  for (; p != end && *p >= u'0' && *p <= u'9'; ++p) {
    value = std::min<long long>(value * 10 + (*p - u'0'), 1'000'000'000'000LL);
  }
  return negative ? -value : value;
}

unsigned read_count(const String& text) noexcept {
  const long long value = read_integer(text);
  return value < 0 ? 0u : static_cast<unsigned>(std::min<long long>(value, UINT_MAX));
}

// The pairs of a format string up to its end or a malformed tail.
using Pairs = std::vector<std::pair<String, String>>;

Pairs read_pairs(const String& format_string) {
  Pairs pairs;
  ParamsIterator it(format_string.c_str());
  while (it.next()) pairs.emplace_back(it.name(), it.value());
  return pairs;
}

// The value of the first pair with the Russian spelling, else of the first
// with the English one; null when neither is present.
const String* lookup(const Pairs& pairs, std::u16string_view english, std::u16string_view russian) {
  for (const auto& [name, value] : pairs) {
    if (name.size() == russian.size() && compare_nocase(name, russian) == 0) return &value;
  }
  for (const auto& [name, value] : pairs) {
    if (name.size() == english.size() && compare_nocase(name, english) == 0) return &value;
  }
  return nullptr;
}

// Moves the decimal point of `number` `shift` places to the left (to the
// right when negative), exactly.
constexpr long long kMaxShift = 10000;

// The number keys of a format string as the number branch reads them: each
// pair in order is matched against both spellings of every key; a later pair
// of a key replaces an earlier one, except that shifts add up. Views point
// into the pairs read.
struct NumberKeys {
  long long shift = 0;                      // NS, clamped to +-kMaxShift
  std::vector<const String*> locales;       // L, every one in order
  String decimal;                           // NDS: the first unit of a non-empty value
  String group;                             // NGS: likewise
  const String* grouping = nullptr;         // NG
  int negative_order = -1;                  // NN: 0 to 4; -1 when not set
  std::optional<unsigned> digits;           // ND, not yet limited to kMaxDigits
  std::optional<unsigned> fraction_digits;  // NFD, likewise
  bool leading_zeros = false;               // NLZ
  const String* zero_text = nullptr;        // NZ
  const String* template_text = nullptr;    // NF
};

NumberKeys read_number_keys(const Pairs& pairs) {
  NumberKeys keys;
  for (const auto& [name, text] : pairs) {
    if (same_key(name, u"NS", u"ЧС")) {
      keys.shift = std::clamp(keys.shift + read_integer(text), -kMaxShift, kMaxShift);
    } else if (same_key(name, u"L", u"Л")) {
      keys.locales.push_back(&text);
    } else if (same_key(name, u"NDS", u"ЧРД")) {
      if (!text.empty()) keys.decimal = text.substr(0, 1);
    } else if (same_key(name, u"NGS", u"ЧРГ")) {
      if (!text.empty()) keys.group = text.substr(0, 1);
    } else if (same_key(name, u"NG", u"ЧГ")) {
      keys.grouping = &text;
    } else if (same_key(name, u"NN", u"ЧО")) {
      if (!text.empty() && text[0] >= u'0' && text[0] <= u'4') keys.negative_order = text[0] - u'0';
    } else if (same_key(name, u"ND", u"ЧЦ")) {
      keys.digits = read_count(text);
    } else if (same_key(name, u"NFD", u"ЧДЦ")) {
      keys.fraction_digits = read_count(text);
    } else if (same_key(name, u"NLZ", u"ЧВН")) {
      keys.leading_zeros = true;
    } else if (same_key(name, u"NZ", u"ЧН")) {
      keys.zero_text = &text;
    } else if (same_key(name, u"NF", u"ЧФ")) {
      keys.template_text = &text;
    }
  }
  return keys;
}

String decimal_text(long long value) { return String::fromUtf8(std::to_string(value)); }

void shift_decimal(Numeric& number, long long shift) {
  if (shift == 0 || number.zero()) return;
  shift = std::clamp(shift, -kMaxShift, kMaxShift);
  std::string text;
  number.toString(text);
  const bool negative = text[0] == '-';
  std::string digits = negative ? text.substr(1) : text;
  std::size_t point = digits.find('.');
  if (point == std::string::npos)
    point = digits.size();
  else
    digits.erase(point, 1);
  long long position = static_cast<long long>(point) - shift;
  if (position < 0) {
    digits.insert(0, static_cast<std::size_t>(-position), '0');
    position = 0;
  } else if (position > static_cast<long long>(digits.size())) {
    digits.append(static_cast<std::size_t>(position) - digits.size(), '0');
  }
  digits.insert(static_cast<std::size_t>(position), 1, '.');
  if (negative) digits.insert(0, 1, '-');
  number.fromString(digits.c_str());
}

String apply_template(const String& pattern, const String& number) {
  const std::u16string_view text = pattern;
  if (text.find(u"%1") == std::u16string_view::npos) return pattern + number;
  String result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == u'%' && i + 1 < text.size() && text[i + 1] == u'1') {
      result.append(std::u16string_view(number));
      ++i;
    } else if (text[i] == u'%' && i + 1 < text.size() && text[i + 1] == u'%') {
      result.append(u'%');
      ++i;
    } else {
      result.append(text[i]);
    }
  }
  return result;
}

const String kTrueTexts[2][2] = {{String(u"Yes"), String(u"True")},
                                 {String(u"Да"), String(u"Истина")}};
const String kFalseTexts[2][2] = {{String(u"No"), String(u"False")},
                                  {String(u"Нет"), String(u"Ложь")}};

// The pair of kTrueTexts and kFalseTexts that holds the names of True and
// False rather than the answer words.
constexpr int kNamePair = 1;

int bool_pair() {
  const InterfacePtr<IApplicationContext> context = application_context();
  return context && context->compatibilityLevel() < kCompatibilityCurrentBoolTexts ? 1 : 0;
}

}  // namespace

// NumericFormat ------------------------------------------------------------

NumericFormat::NumericFormat() : NumericFormat(Locale::processDefault()) {}

NumericFormat::NumericFormat(const Locale& locale)
    : locale_(locale), decimal_(locale.decimalSymbol()), group_(locale.groupSymbol()) {
  const Grouping& grouping = locale_grouping(locale);
  grouping_ = grouping.sizes;
  repeat_last_ = grouping.repeat_last;
}

bool NumericFormat::setWin32Grouping(const String& grouping) {
  std::vector<unsigned char> sizes;
  const std::u16string_view text = grouping;
  std::size_t start = 0;
  while (true) {
    const std::size_t stop = std::min(text.find(u';', start), text.size());
    const std::u16string_view item = detail::trim_white_space(text.substr(start, stop - start));
    if (item.size() != 1 || item[0] < u'0' || item[0] > u'9') {
      if (!(item.empty() && text.find_first_not_of(u" \t") == std::u16string_view::npos)) {
        return false;
      }
    } else {
      sizes.push_back(static_cast<unsigned char>(item[0] - u'0'));
    }
    if (stop == text.size()) break;
    start = stop + 1;
  }
  bool repeat = false;
  if (!sizes.empty() && sizes.back() == 0) {
    sizes.pop_back();
    repeat = true;
  }
  // A zero anywhere else ends the grouping there.
  const auto zero = std::find(sizes.begin(), sizes.end(), 0);
  if (zero != sizes.end()) {
    sizes.erase(zero, sizes.end());
    repeat = false;
  }
  grouping_ = std::move(sizes);
  repeat_last_ = repeat;
  return true;
}

bool NumericFormat::setWin32NegativeOrder(unsigned order) {
  if (order > 4) return false;
  negative_order_ = order;
  return true;
}

String NumericFormat::compose(bool negative, const char* integer, std::size_t integer_size,
                              const char* fraction, std::size_t fraction_size) const {
  String out;
  out.reserve(integer_size * 2 + fraction_size + 8);
  if (negative) {
    if (negative_order_ == 0) out.append(u'(');
    if (negative_order_ == 1) out.append(u'-');
    if (negative_order_ == 2) out.append(u"- ");
  }
  // Positions (counted from the decimal point) after which a group
  // separator follows.
  std::size_t next_break = 0;
  std::size_t group_index = 0;
  auto advance = [&]() {
    if (group_index < grouping_.size()) {
      next_break += grouping_[group_index++];
    } else if (repeat_last_ && !grouping_.empty()) {
      next_break += grouping_.back();
    } else {
      next_break = SIZE_MAX;
    }
  };
  advance();
  std::vector<std::size_t> breaks;
  while (next_break < integer_size) {
    breaks.push_back(next_break);
    advance();
  }
  auto pending = breaks.rbegin();
  for (std::size_t i = 0; i < integer_size; ++i) {
    const std::size_t left = integer_size - i;
    if (pending != breaks.rend() && *pending == left && i != 0) {
      out.append(std::u16string_view(group_));
      ++pending;
    }
    out.append(static_cast<char16_t>(integer[i]));
  }
  if (fraction_size != 0) {
    out.append(std::u16string_view(decimal_));
    for (std::size_t i = 0; i < fraction_size; ++i) out.append(static_cast<char16_t>(fraction[i]));
  }
  if (negative) {
    if (negative_order_ == 0) out.append(u')');
    if (negative_order_ == 3) out.append(u'-');
    if (negative_order_ == 4) out.append(u" -");
  }
  return out;
}

String NumericFormat::format(const Numeric& value) const {
  std::string text;
  value.toString(text);
  const bool negative = text[0] == '-';
  const std::size_t begin = negative ? 1 : 0;
  const std::size_t point = std::min(text.find('.'), text.size());
  const std::size_t fraction = point == text.size() ? text.size() : point + 1;
  return compose(negative, text.data() + begin, point - begin, text.data() + fraction,
                 text.size() - fraction);
}

String NumericFormat::format(const Numeric& value, unsigned integer_digits,
                             unsigned integer_limited, unsigned fraction_digits,
                             unsigned min_fraction_digits) const {
  integer_digits = std::min(integer_digits, kMaxDigits);
  min_fraction_digits = std::min(min_fraction_digits, kMaxDigits);
  fraction_digits = std::max(std::min(fraction_digits, kMaxDigits), min_fraction_digits);
  Numeric rounded = value;
  rounded.round(static_cast<int>(fraction_digits));
  std::string text;
  rounded.toString(text);
  const bool negative = text[0] == '-';
  const std::size_t begin = negative ? 1 : 0;
  const std::size_t point = std::min(text.find('.'), text.size());
  std::string integer = text.substr(begin, point - begin);
  std::string fraction = point == text.size() ? std::string() : text.substr(point + 1);
  if (integer_limited != 0 && integer_digits > 0 && integer.size() > integer_digits) {
    integer.assign(integer_digits, '9');
    fraction.assign(fraction_digits, '9');
  }
  if (fraction.size() < min_fraction_digits)
    fraction.append(min_fraction_digits - fraction.size(), '0');
  if (leading_zeros_ && integer.size() < integer_digits) {
    integer.insert(0, integer_digits - integer.size(), '0');
  }
  return compose(negative, integer.data(), integer.size(), fraction.data(), fraction.size());
}

// DateFormat ---------------------------------------------------------------

DateFormat::DateFormat() : DateFormat(Locale::processDefault()) {}

DateFormat::DateFormat(const Locale& locale) : locale_(locale) {
  const Patterns& patterns = locale_patterns(locale);
  std::copy(patterns.begin(), patterns.end(), patterns_);
}

const String& DateFormat::getPattern(int number) const noexcept {
  return number >= kShortDate && number <= kLongDateTime ? patterns_[number - 1] : patterns_[3];
}

String DateFormat::format(const Date& date, const String& pattern) const {
  if (!date.isValid()) return String();
  icu::SimpleDateFormat* formatter = cached_date_formatter(locale_, pattern);
  if (formatter == nullptr) return String();
  const auto millis = static_cast<std::int64_t>(date.ticks() / 10) - kUnixEpochMillis;
  icu::UnicodeString text;
  formatter->format(static_cast<UDate>(millis), text);
  return detail::from_icu(text);
}

String DateFormat::format(const Date& date) const { return format(date, patterns_[3]); }

String DateFormat::parseQ9Pattern(const String& pattern) {
  struct Letter {
    char16_t english;
    char16_t russian;
    // The ICU forms for runs of 1, 2, 3 and 4 or more letters.
    const char16_t* forms[4];
  };
  static constexpr Letter kLetters[] = {
      {u'd', u'д', {u"d", u"dd", u"EEE", u"EEEE"}},   {u'M', u'М', {u"M", u"MM", u"MMM", u"MMMM"}},
      {u'y', u'г', {u"yy", u"yy", u"yyyy", u"yyyy"}}, {u'q', u'к', {u"Q", u"Q", u"Q", u"Q"}},
      {u'H', u'Ч', {u"H", u"HH", u"HH", u"HH"}},      {u'h', u'ч', {u"h", u"hh", u"hh", u"hh"}},
      {u'm', u'м', {u"m", u"mm", u"mm", u"mm"}},      {u's', u'с', {u"s", u"ss", u"ss", u"ss"}},
      {u't', u'в', {u"a", u"a", u"a", u"a"}},
  };
  const std::u16string_view text = pattern;
  String out;
  bool literal_open = false;  // an ICU quoted literal is open in `out`
  auto literal = [&](char16_t c) {
    if (c == u'\'') {
      out.append(u"''");
      return;
    }
    const bool ascii_letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
    if (ascii_letter && !literal_open) {
      out.append(u'\'');
      literal_open = true;
    } else if (!ascii_letter && literal_open) {
      out.append(u'\'');
      literal_open = false;
    }
    out.append(c);
  };
  auto close_literal = [&]() {
    if (literal_open) out.append(u'\'');
    literal_open = false;
  };
  std::size_t i = 0;
  while (i < text.size()) {
    const char16_t c = text[i];
    if (c == u'\'') {
      if (i + 1 < text.size() && text[i + 1] == u'\'') {
        literal(u'\'');
        i += 2;
        continue;
      }
      // Quoted text up to the closing quote (or the end); '' inside is one
      // quote.
      ++i;
      while (i < text.size()) {
        if (text[i] == u'\'') {
          if (i + 1 < text.size() && text[i + 1] == u'\'') {
            literal(u'\'');
            i += 2;
            continue;
          }
          ++i;
          break;
        }
        literal(text[i++]);
      }
      continue;
    }
    const Letter* letter = nullptr;
    for (const Letter& candidate : kLetters) {
      if (c == candidate.english || c == candidate.russian) letter = &candidate;
    }
    if (letter == nullptr) {
      literal(c);
      ++i;
      continue;
    }
    std::size_t run = 1;
    while (i + run < text.size() && text[i + run] == c) ++run;
    close_literal();
    out.append(letter->forms[std::min<std::size_t>(run, 4) - 1]);
    i += run;
  }
  close_literal();
  return out;
}

// BoolFormat ---------------------------------------------------------------

BoolFormat::BoolFormat() : BoolFormat(Locale::processDefault()) {}

BoolFormat::BoolFormat(const Locale& locale)
    : locale_(locale), russian_(locale.language() == u"ru") {}

const String& BoolFormat::trueText() const { return kTrueTexts[russian_][bool_pair()]; }

const String& BoolFormat::falseText() const { return kFalseTexts[russian_][bool_pair()]; }

String BoolFormat::format(bool value) const { return value ? trueText() : falseText(); }

bool BoolFormat::parse(const String& text, bool& out) const {
  // Only the pair of names is read; the answer pair would let "yes" pass for
  // a boolean.
  const std::u16string_view word = detail::trim_white_space(text);
  if (compare_nocase(word, kTrueTexts[russian_][kNamePair]) == 0) {
    out = true;
    return true;
  }
  if (compare_nocase(word, kFalseTexts[russian_][kNamePair]) == 0) {
    out = false;
    return true;
  }
  return false;
}

// format -------------------------------------------------------------------

String format(const Numeric& value, const String& format_string) {
  const Pairs pairs = read_pairs(format_string);
  const NumberKeys keys = read_number_keys(pairs);
  // Every locale named is built, in order, so that a bad name throws even
  // when a later one replaces it.
  const Locale* locale = nullptr;
  for (const String* name : keys.locales) locale = &cached_locale(*name);
  Numeric number = value;
  shift_decimal(number, keys.shift);

  std::optional<NumericFormat> own;
  if (locale != nullptr) own.emplace(*locale);
  const NumericFormat& base = own ? *own : Thread::getNumericFormat();
  auto modifiable = [&]() -> NumericFormat& {
    if (!own) own.emplace(base);
    return *own;
  };
  if (!keys.decimal.empty()) modifiable().setDecimalSymbol(keys.decimal);
  if (!keys.group.empty()) modifiable().setGroupSymbol(keys.group);
  if (keys.grouping != nullptr) (void)modifiable().setWin32Grouping(*keys.grouping);
  if (keys.negative_order >= 0)
    (void)modifiable().setWin32NegativeOrder(static_cast<unsigned>(keys.negative_order));

  unsigned fraction = std::min(keys.fraction_digits.value_or(0), NumericFormat::kMaxDigits);
  unsigned integer = 0;
  const unsigned total = std::min(keys.digits.value_or(0), NumericFormat::kMaxDigits);
  if (total != 0) {
    fraction = std::min(fraction, total);
    integer = total - fraction;
  }
  const bool limited = integer != 0;
  if (keys.leading_zeros) modifiable().setLeadingZeros(integer != 0);
  const bool fixed = keys.digits.has_value() || keys.fraction_digits.has_value();
  if (fixed && fraction == 0) number.round(0);
  if (number.zero()) return keys.zero_text != nullptr ? *keys.zero_text : String();
  const NumericFormat& numeric_format = own ? *own : base;
  String text = fixed ? numeric_format.format(number, integer, limited ? 1 : 0, fraction, fraction)
                      : numeric_format.format(number);
  return keys.template_text != nullptr ? apply_template(*keys.template_text, text) : text;
}

String format(const Date& value, const String& format_string) {
  const Pairs pairs = read_pairs(format_string);
  if (value.isEmpty()) {
    if (const String* empty_text = lookup(pairs, u"DE", u"ДП")) return *empty_text;
  }
  const DateFormat* date_format = &Thread::getDateFormat();
  std::optional<DateFormat> own;
  if (const String* name = lookup(pairs, u"L", u"Л")) {
    try {
      date_format = &own.emplace(cached_locale(*name));
    } catch (const LocaleException&) {
      // The thread's format stays.
    }
  }
  if (const String* pattern = lookup(pairs, u"DF", u"ДФ")) {
    return date_format->format(value, DateFormat::parseQ9Pattern(*pattern));
  }
  int pattern = DateFormat::kShortDateTime;
  if (const String* local = lookup(pairs, u"DLF", u"ДЛФ")) {
    int date_letters = 0;
    bool time_letter = false;
    for (const char16_t c : std::u16string_view(*local)) {
      if (c == u'D' || c == u'd' || c == u'Д' || c == u'д') ++date_letters;
      if (c == u'T' || c == u't' || c == u'В' || c == u'в') time_letter = true;
    }
    if (date_letters == 0) {
      pattern = time_letter ? DateFormat::kTime : DateFormat::kShortDateTime;
    } else if (date_letters == 1) {
      pattern = time_letter ? DateFormat::kShortDateTime : DateFormat::kShortDate;
    } else {
      pattern = time_letter ? DateFormat::kLongDateTime : DateFormat::kLongDate;
    }
  }
  return date_format->format(value, date_format->getPattern(pattern));
}

namespace detail {

String format_bool(bool value, const String& format_string) {
  const Pairs pairs = read_pairs(format_string);
  const String* text = value ? lookup(pairs, u"BT", u"БИ") : lookup(pairs, u"BF", u"БЛ");
  if (text != nullptr) return *text;
  if (const String* name = lookup(pairs, u"L", u"Л")) {
    try {
      return BoolFormat(cached_locale(*name)).format(value);
    } catch (const LocaleException&) {
      // The thread's format applies.
    }
  }
  return Thread::getBoolFormat().format(value);
}

}  // namespace detail

String format(const GenericValue& value, const String& format_string) {
  IValue* held = value.getIValue();
  IType* type = held == nullptr ? nullptr : held->getIType();
  switch (type == nullptr ? TypeCode::Undefined : type->getTypeCode()) {
    case TypeCode::Number: {
      Numeric number;
      if (held->getNumeric(number)) return format(number, format_string);
      break;
    }
    case TypeCode::Date: {
      Date date;
      if (held->getDate(date)) return format(date, format_string);
      break;
    }
    case TypeCode::Boolean: {
      bool flag = false;
      if (held->getBoolean(flag)) return detail::format_bool(flag, format_string);
      break;
    }
    default:
      break;
  }
  return to_string(value);
}

String get_locale_name_from_format(const String& format_string) {
  const Pairs pairs = read_pairs(format_string);
  const String* name = lookup(pairs, u"L", u"Л");
  return name != nullptr ? *name : String();
}

String canonical_format(const String& format_string) {
  const Pairs pairs = read_pairs(format_string);
  const NumberKeys keys = read_number_keys(pairs);
  ParamsWriter writer;
  if (const String* locale = lookup(pairs, u"L", u"Л")) writer.add(u"L", *locale);
  if (keys.digits) {
    writer.add(u"ND", decimal_text(std::min(*keys.digits, NumericFormat::kMaxDigits)));
  }
  if (keys.fraction_digits) {
    writer.add(u"NFD", decimal_text(std::min(*keys.fraction_digits, NumericFormat::kMaxDigits)));
  }
  if (!keys.decimal.empty()) writer.add(u"NDS", keys.decimal);
  if (!keys.group.empty()) writer.add(u"NGS", keys.group);
  if (keys.grouping != nullptr) writer.add(u"NG", *keys.grouping);
  if (keys.negative_order >= 0) writer.add(u"NN", decimal_text(keys.negative_order));
  if (keys.zero_text != nullptr) writer.add(u"NZ", *keys.zero_text);
  if (keys.leading_zeros) writer.add(u"NLZ", u"1");
  if (keys.template_text != nullptr) writer.add(u"NF", *keys.template_text);
  if (keys.shift != 0) writer.add(u"NS", decimal_text(keys.shift));
  static constexpr const char16_t* kLookedUp[][2] = {
      {u"DF", u"ДФ"}, {u"DLF", u"ДЛФ"}, {u"DE", u"ДП"}, {u"BT", u"БИ"}, {u"BF", u"БЛ"}};
  for (const auto& key : kLookedUp) {
    if (const String* text = lookup(pairs, key[0], key[1])) {
      // The writer refuses U+0000, which no zero-terminated string holds.
      writer.add(key[0], *text);
    }
  }
  return writer.str();
}

}  // namespace core
