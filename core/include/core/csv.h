// Reading comma-separated values (RFC 4180): records of fields separated by
// commas and ended by CRLF, LF or the end of the text. A field in double
// quotes may hold commas, line breaks and doubled quotes ("" stands for one);
// quotes are not special inside an unquoted field's middle.
//
//   core::CsvReader reader(core::String(u"Name,Amount\r\n\"Smith, J\",12.50\r\n"));
//   std::vector<core::String> fields;
//   while (reader.next(fields)) { ... }   // {"Name", "Amount"}, {"Smith, J", "12.50"}
//
// Decisions: an empty last line is no record; a record may have any number
// of fields (the caller checks them); a byte-order mark at the start is
// skipped by String::fromUtf8's callers, not here.
//
// Failures: `IllegalArgumentException` ("IDS_ERR_ILLEGAL_ARGUMENT") whose extra
// detail is "line L, column C" (1-based, in UTF-16 units) for a quoted field
// that never closes or is followed by anything but a comma or a line end.
//
// Thread safety: a reader is used by one thread at a time.
#ifndef CORE_CSV_H_
#define CORE_CSV_H_

#include <cstddef>
#include <vector>

#include "core/export.h"
#include "core/string.h"

namespace core {

class CORE_EXPORT CsvReader {
 public:
  explicit CsvReader(String text, char16_t separator = u',');

  // The fields of the next record, replacing those in `fields`; false, with
  // `fields` emptied, after the last record.
  bool next(std::vector<String>& fields);
  // The line on which the record last read begins, 1-based.
  std::size_t line() const noexcept { return record_line_; }

 private:
  [[noreturn]] void fail(std::size_t at) const;

  String text_;
  char16_t separator_;
  std::size_t position_ = 0;
  std::size_t line_ = 1;
  std::size_t line_start_ = 0;
  std::size_t record_line_ = 0;
};

}  // namespace core

#endif  // CORE_CSV_H_
