// Implements core/params.h: parameter strings of name=value pairs.
#include "core/params.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <string>

#include "core/exception_classes.h"
#include "core/name.h"
#include "core/nocase.h"

namespace core {
namespace {

// A read position over [pos, end) that understands surrogate pairs.
struct Scanner {
  const char16_t* pos;
  const char16_t* end;

  bool atEnd() const noexcept { return pos == end; }

  // The code point at pos and the number of units it takes.
  UChar32 peek(int& units) const noexcept {
    const char16_t lead = *pos;
    if (U16_IS_LEAD(lead) && end - pos > 1 && U16_IS_TRAIL(pos[1])) {
      units = 2;
      return U16_GET_SUPPLEMENTARY(lead, pos[1]);
    }
    units = 1;
    return lead;
  }

  void skipSpace() noexcept {
    int units = 0;
    while (!atEnd() && u_isspace(peek(units))) pos += units;
  }

  static bool isNameChar(UChar32 c) noexcept { return c == u'_' || u_isalnum(c); }

  // Reads a run of name characters.
  std::u16string_view readName() noexcept {
    const char16_t* start = pos;
    int units = 0;
    while (!atEnd() && isNameChar(peek(units))) pos += units;
    return {start, static_cast<std::size_t>(pos - start)};
  }

  // Reads a value at pos. Returns false for a quoted value with no closing
  // quote; `value` then holds the text up to the end.
  bool readValue(String& value) {
    value.clear();
    if (atEnd()) return true;
    const char16_t quote = *pos;
    if (quote == u'"' || quote == u'\'') {
      ++pos;
      const char16_t* run = pos;
      while (!atEnd()) {
        if (*pos == quote) {
          if (end - pos > 1 && pos[1] == quote) {
            value.append(std::u16string_view(run, static_cast<std::size_t>(pos - run) + 1));
            pos += 2;
            run = pos;
            continue;
          }
          value.append(std::u16string_view(run, static_cast<std::size_t>(pos - run)));
          ++pos;
          return true;
        }
        ++pos;
      }
      value.append(std::u16string_view(run, static_cast<std::size_t>(pos - run)));
      return false;
    }
    const char16_t* start = pos;
    int units = 0;
    while (!atEnd() && *pos != u';' && !u_isspace(peek(units))) pos += units;
    value = String(start, static_cast<std::size_t>(pos - start));
    return true;
  }
};

const char16_t* end_of(const char16_t* text) noexcept {
  return text + std::char_traits<char16_t>::length(text);
}

bool needs_quotes(std::u16string_view value) noexcept {
  if (value.empty()) return true;
  Scanner scan{value.data(), value.data() + value.size()};
  int units = 0;
  while (!scan.atEnd()) {
    const UChar32 c = scan.peek(units);
    if (c == u';' || c == u'"' || c == u'\'' || u_isspace(c)) return true;
    scan.pos += units;
  }
  return false;
}

}  // namespace

ParamsWString::ParamsWString(const char16_t* text)
    : text_(text == nullptr ? String() : String(text)) {
  parseParams();
}

ParamsWString::ParamsWString(const String& text) : text_(text) { parseParams(); }

ParamsWString::ParamsWString(const ParamsWString& other) = default;
ParamsWString& ParamsWString::operator=(const ParamsWString& other) = default;
ParamsWString::~ParamsWString() = default;

void ParamsWString::parseParams() {
  params_.clear();
  Scanner scan{text_.data(), text_.data() + text_.size()};
  String value;
  while (!scan.atEnd()) {
    scan.skipSpace();
    if (scan.atEnd()) return;
    int units = 0;
    const UChar32 first = scan.peek(units);
    // A name that begins with a digit (or anything else) ends the list
    // without spoiling the pairs read so far.
    if (first != u'_' && !u_isalpha(first)) return;
    const std::u16string_view name = scan.readName();
    scan.skipSpace();
    bool ok = !scan.atEnd() && *scan.pos == u'=';
    if (ok) {
      ++scan.pos;
      scan.skipSpace();
      ok = scan.readValue(value);
    }
    if (ok) {
      const auto at = std::lower_bound(params_.begin(), params_.end(), name,
                                       [](const auto& entry, std::u16string_view key) {
                                         return compare_nocase(entry.first, key) < 0;
                                       });
      if (at == params_.end() || compare_nocase(at->first, name) != 0) {
        params_.emplace(at, String(name), value);
      }
      scan.skipSpace();
      if (scan.atEnd()) return;
      if (*scan.pos == u';') {
        ++scan.pos;
        continue;
      }
    }
    // Malformed: nothing of the string counts.
    params_.clear();
    return;
  }
}

const String* ParamsWString::find(std::u16string_view name) const noexcept {
  const auto at = std::lower_bound(params_.begin(), params_.end(), name,
                                   [](const auto& entry, std::u16string_view key) {
                                     return compare_nocase(entry.first, key) < 0;
                                   });
  if (at == params_.end() || compare_nocase(at->first, name) != 0) return nullptr;
  return &at->second;
}

String ParamsWString::param(const char16_t* name) const {
  const String* value = name == nullptr ? nullptr : find(name);
  return value == nullptr ? String() : *value;
}

String ParamsWString::param(const String& name) const {
  const String* value = find(name);
  return value == nullptr ? String() : *value;
}

bool ParamsWString::param(const char16_t* name, String& value) const {
  const String* found = name == nullptr ? nullptr : find(name);
  if (found == nullptr) return false;
  value = *found;
  return true;
}

bool ParamsWString::param(const String& name, String& value) const {
  const String* found = find(name);
  if (found == nullptr) return false;
  value = *found;
  return true;
}

void ParamsWString::names(std::vector<String>& list) const {
  list.clear();
  list.reserve(params_.size());
  for (const auto& entry : params_) list.push_back(entry.first);
}

ParamsIterator::ParamsIterator(const char16_t* text) noexcept
    : pos_(text == nullptr ? u"" : text), end_(end_of(pos_)) {}

bool ParamsIterator::next() {
  name_.clear();
  value_.clear();
  if (pos_ == end_) return false;
  Scanner scan{pos_, end_};
  // Whatever happens, a failed call leaves the position at the end so that
  // every later call fails too.
  pos_ = scan.end;
  scan.skipSpace();
  const std::u16string_view name = scan.readName();
  if (name.empty()) return false;
  scan.skipSpace();
  if (scan.atEnd() || *scan.pos != u'=') return false;
  ++scan.pos;
  scan.skipSpace();
  String value;
  scan.readValue(value);  // an unclosed quote runs to the end and is accepted
  scan.skipSpace();
  if (!scan.atEnd()) {
    if (*scan.pos != u';') return false;
    ++scan.pos;
  }
  name_ = String(name);
  value_ = std::move(value);
  pos_ = scan.pos;
  return true;
}

String quote_param_value(std::u16string_view value) {
  if (!needs_quotes(value)) return String(value);
  String quoted;
  quoted.reserve(value.size() + 2);
  quoted.append(u'"');
  for (const char16_t unit : value) {
    if (unit == u'"') quoted.append(u'"');
    quoted.append(unit);
  }
  quoted.append(u'"');
  return quoted;
}

void ParamsWriter::add(std::u16string_view name, std::u16string_view value) {
  if (!is_valid_name(name)) throw IllegalArgumentException(String(name));
  if (value.find(u'\0') != std::u16string_view::npos) {
    throw IllegalArgumentException(String(u"U+0000"));
  }
  String pair;
  if (!text_.empty()) pair.append(u"; ");
  pair.append(name);
  pair.append(u'=');
  pair.append(quote_param_value(value));
  text_.append(pair);
}

ParametersMap::ParametersMap(const ParamsWString& params) {
  std::vector<String> list;
  params.names(list);
  for (const String& name : list) params_.emplace(name, Value(params.param(name)));
}

ParametersMap::~ParametersMap() = default;

void ParametersMap::setParameter(std::u16string_view name, const GenericValue& value) {
  if (!is_valid_name(name)) throw IllegalArgumentException(String(name));
  const auto found = params_.find(name);
  if (found != params_.end()) {
    found->second = value;
  } else {
    params_.emplace(String(name), Value(value));
  }
}

bool ParametersMap::parameter(std::u16string_view name, GenericValue& out) const {
  const auto found = params_.find(name);
  if (found == params_.end()) return false;
  out.assign(found->second);
  return true;
}

bool ParametersMap::removeParameter(std::u16string_view name) {
  const auto found = params_.find(name);
  if (found == params_.end()) return false;
  params_.erase(found);
  return true;
}

void ParametersMap::names(std::vector<String>& list) const {
  list.clear();
  list.reserve(params_.size());
  for (const auto& [name, value] : params_) list.push_back(name);
}

}  // namespace core
