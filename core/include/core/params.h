// Parameter strings: lists of name=value pairs separated by ";".
//
// Settings travel as text such as  ND=15; NFD=2; L=ru_RU  or
// Name = 'It''s' ; X="a""b". Two readers share one grammar:
//
//   - ParamsWString parses a whole string once into a table ordered by name
//     ignoring case (compare_nocase); the first of two names differing only
//     in case wins.
//   - ParamsIterator walks a zero-terminated string pair by pair without
//     building a table.
//
//   core::ParamsWString params(u"A=1; b='x y'");
//   params.param(u"B");                       // u"x y"
//   core::ParamsIterator it(u"ND=15; NFD=2");
//   while (it.next()) use(it.name(), it.value());
//
// Grammar. White space is every character for which ICU's u_isspace is true.
// A pair is: white space, a name (letters or digits by u_isalnum, or "_"),
// white space, "=", white space, a value, white space; pairs are separated
// by ";" and a trailing ";" is allowed. A value is either quoted with '"' or
// "'" (the same quote doubled stands for itself) or unquoted, running to the
// first white space or ";".
//
// Neither reader throws on bad text. ParamsWString empties its table when
// the text is malformed (a missing "=", an unclosed quote, text after a
// value) but stops silently, keeping what it read, at a name that begins
// with a character that is not a letter or "_". ParamsIterator::next()
// returns false at the end or at the first syntax error; it accepts names
// that begin with a digit and a quoted value that runs to the end unclosed.
//
// ParamsWriter builds text that both readers read back to the same pairs.
//
// ParametersMap is a table of named values (core/value.h) with the same case
// rule, from which typed parameters are read:
//
//   core::ParametersMap map;
//   map.setParameter(u"Count", core::Value(3));
//   core::Value count;
//   if (map.parameter(u"COUNT", count)) use(count);
//
// Thread safety: the classes are plain values; const members may be called
// from several threads at once.
#ifndef CORE_PARAMS_H_
#define CORE_PARAMS_H_

#include <cstddef>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "core/export.h"
#include "core/nocase.h"
#include "core/string.h"
#include "core/value.h"

namespace core {

class CORE_EXPORT ParamsWString {
 public:
  // Parses `text` (zero-terminated; null reads as empty) at once.
  explicit ParamsWString(const char16_t* text);
  // Parses the whole of `text`; a U+0000 inside it is an ordinary character.
  explicit ParamsWString(const String& text);
  ParamsWString(const ParamsWString& other);
  ParamsWString& operator=(const ParamsWString& other);
  virtual ~ParamsWString();

  // The source text, unchanged.
  const String& paramsString() const noexcept { return text_; }

  // The value of `name` (case ignored), or the empty string when absent.
  String param(const char16_t* name) const;
  String param(const String& name) const;
  // True, with the value stored into `value`, when `name` is present; on
  // false, `value` holds what it held before.
  [[nodiscard]] bool param(const char16_t* name, String& value) const;
  [[nodiscard]] bool param(const String& name, String& value) const;

  // Replaces `list` by all names in the table's case-insensitive order.
  void names(std::vector<String>& list) const;
  // The number of distinct names.
  std::size_t paramsCount() const noexcept { return params_.size(); }

 protected:
  // Rebuilds the table from text_.
  void parseParams();

 private:
  const String* find(std::u16string_view name) const noexcept;

  String text_;
  // Sorted by name with compare_nocase; names are unique ignoring case.
  std::vector<std::pair<String, String>> params_;
};

class CORE_EXPORT ParamsIterator {
 public:
  // Walks `text`, which must stay alive and unchanged while the iterator is
  // used and must be zero-terminated. A null text reads as empty.
  explicit ParamsIterator(const char16_t* text) noexcept;

  // Reads the next pair: true when one was read (see name() and value()),
  // false at the end of the text or at a syntax error; after false every
  // later call returns false. On false, name() and value() are empty.
  [[nodiscard]] bool next();

  const String& name() const noexcept { return name_; }
  const String& value() const noexcept { return value_; }

 private:
  const char16_t* pos_;
  const char16_t* end_;
  String name_;
  String value_;
};

// Builds a parameter string from pairs, quoting values where the grammar
// needs it (white space, ";" or a quote inside, or an empty value), with
// double quotes and inner double quotes doubled.
//
//   core::ParamsWriter w;
//   w.add(u"Name", u"It's here");
//   w.str();   // u"Name=\"It's here\""
class CORE_EXPORT ParamsWriter {
 public:
  // Appends a pair, separated from the previous one by "; ".
  // Throws `IllegalArgumentException` ("IDS_ERR_ILLEGAL_ARGUMENT") when `name`
  // is not a valid name (is_valid_name) or `value` holds U+0000, which no
  // zero-terminated reader could read back; the text is then unchanged.
  void add(std::u16string_view name, std::u16string_view value);

  const String& str() const noexcept { return text_; }

 private:
  String text_;
};

// A table from name to value, ordered by name ignoring case (OrderNocase):
// names that differ only in letter case are one name, which keeps the
// spelling it was first stored with. Copies share the values (values are
// immutable), not the table.
class CORE_EXPORT ParametersMap {
 public:
  ParametersMap() = default;
  // Every pair of `params`, each value as a String value.
  explicit ParametersMap(const ParamsWString& params);
  ParametersMap(const ParametersMap&) = default;
  ParametersMap(ParametersMap&&) noexcept = default;
  ParametersMap& operator=(const ParametersMap&) = default;
  ParametersMap& operator=(ParametersMap&&) noexcept = default;
  ~ParametersMap();

  // Stores `value` under `name`, replacing the value of the same name in any
  // letter case. Throws `IllegalArgumentException` ("IDS_ERR_ILLEGAL_ARGUMENT")
  // when `name` is not a valid name (is_valid_name); the table is then
  // unchanged.
  void setParameter(std::u16string_view name, const GenericValue& value);
  // True, with the stored value assigned to `out`, when `name` is present
  // (case ignored); on false, `out` holds what it held before.
  [[nodiscard]] bool parameter(std::u16string_view name, GenericValue& out) const;
  // Removes `name` (case ignored); false when it was absent.
  bool removeParameter(std::u16string_view name);

  // Replaces `list` by all names, in the table's case-insensitive order.
  void names(std::vector<String>& list) const;
  std::size_t size() const noexcept { return params_.size(); }
  bool empty() const noexcept { return params_.empty(); }

 private:
  std::map<String, Value, OrderNocase> params_;
};

// `value` as the grammar's value text: unchanged when it can stand unquoted,
// else in double quotes with inner double quotes doubled.
CORE_EXPORT String quote_param_value(std::u16string_view value);

}  // namespace core

#endif  // CORE_PARAMS_H_
