// Implements core/csv.h: the reader of comma-separated values.
#include "core/csv.h"

#include <string>
#include <utility>

#include "core/exception_classes.h"

namespace core {

CsvReader::CsvReader(String text, char16_t separator)
    : text_(std::move(text)), separator_(separator) {}

void CsvReader::fail(std::size_t at) const {
  std::string where = "line " + std::to_string(line_);
  where.append(", column ").append(std::to_string(at - line_start_ + 1));
  throw IllegalArgumentException(String::fromUtf8(where));
}

bool CsvReader::next(std::vector<String>& fields) {
  fields.clear();
  const std::u16string_view text(text_);
  if (position_ >= text.size()) return false;
  record_line_ = line_;
  std::u16string field;
  while (true) {
    field.clear();
    if (position_ < text.size() && text[position_] == u'"') {
      const std::size_t opened = position_++;
      while (true) {
        if (position_ >= text.size()) fail(opened);
        const char16_t unit = text[position_++];
        if (unit == u'"') {
          if (position_ < text.size() && text[position_] == u'"') {
            field.push_back(u'"');
            ++position_;
            continue;
          }
          break;
        }
        if (unit == u'\n') {
          ++line_;
          line_start_ = position_;
        }
        field.push_back(unit);
      }
      if (position_ < text.size() && text[position_] != separator_ && text[position_] != u'\n' &&
          !(text[position_] == u'\r' && position_ + 1 < text.size() &&
            text[position_ + 1] == u'\n')) {
        fail(position_);
      }
    } else {
      while (position_ < text.size() && text[position_] != separator_ && text[position_] != u'\n' &&
             !(text[position_] == u'\r' && position_ + 1 < text.size() &&
               text[position_ + 1] == u'\n')) {
        field.push_back(text[position_++]);
      }
    }
    fields.emplace_back(field);
    if (position_ >= text.size()) return true;
    if (text[position_] == separator_) {
      ++position_;
      continue;
    }
    position_ += text[position_] == u'\r' ? 2 : 1;
    ++line_;
    line_start_ = position_;
    return true;
  }
}

}  // namespace core
