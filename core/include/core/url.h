// core::URL, the immutable locator value, and URLEncoder, percent-coding
// through a byte encoding.
//
// A URL is its text plus 23 non-decreasing marks that cut the text into 22
// parts (scheme, ":", "//", user, ":", password, "@", "[", host, "]", ":",
// port, directory, separator, name, ".", extension, "?", parameters, "#",
// fragment, unparsed tail). The scheme registered under the URL's scheme name
// (core/scheme.h) sets the marks once; every accessor is a slice between two
// marks and never parses again.
//
//   core::URL url(u"http://user:pw@[::1]:8080/docs/report.pdf?lang=ru#p2");
//   url.host();                 // u"[::1]"
//   url.fileName();             // u"report.pdf"
//   url.combine(u"../img/a.png").text();  // u"http://user:pw@[::1]:8080/img/a.png"
//   core::URL(u"/home/user/a.txt").scheme();  // u"file" (a bare path, see prepareURL)
//
// Parsing never throws: text that does not fit the grammar is kept as the
// broken tail (part 21, broken() is true). An empty text or a default URL has
// 23 zero marks and every part empty.
//
// Thread safety: a URL is a value that never changes once built; it may be
// read from any number of threads. The static functions may be called from
// any thread.
#ifndef CORE_URL_H_
#define CORE_URL_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "core/export.h"
#include "core/string.h"

namespace core {

class Converter;
class ListInStream;
class ListOutStream;
class SchemeBase;

class CORE_EXPORT URL {
 public:
  static constexpr std::size_t kMarkCount = 23;
  static constexpr std::size_t kPartCount = 22;
  using Marks = std::array<std::uint64_t, kMarkCount>;

  // The index of each part: part i runs from mark i to mark i + 1.
  enum Part : std::size_t {
    kScheme = 0,
    kSchemeColon = 1,
    kSlashes = 2,
    kUser = 3,
    kPasswordColon = 4,
    kPassword = 5,
    kAt = 6,
    kOpenBracket = 7,
    kHost = 8,
    kCloseBracket = 9,
    kPortColon = 10,
    kPort = 11,
    kDirectory = 12,
    kSeparator = 13,
    kName = 14,
    kDot = 15,
    kExtension = 16,
    kParamsMark = 17,
    kParams = 18,
    kHash = 19,
    kFragment = 20,
    kTail = 21,
  };

  // The empty URL: empty text, 23 zero marks.
  URL() noexcept : marks_{} {}
  // Parses `text` with the scheme registered under its scheme name (the
  // generic grammar for names nobody registered). With `prepare`, a bare
  // operating-system path is first made a "file" URL (prepareURL).
  explicit URL(const String& text, bool prepare = true);
  // A null pointer gives the empty URL.
  explicit URL(const char16_t* text, bool prepare = true);
  // `base` combined with the relative reference `relative` (see combine).
  // Throws as combine does.
  URL(const String& base, const String& relative, bool prepare = true);
  URL(const char16_t* base, const char16_t* relative, bool prepare = true);

  const String& text() const noexcept { return text_; }

  // The text of `count` parts from part `first` on; empty for the empty URL.
  // REQUIRES: first + count <= kPartCount.
  String part(std::size_t first, std::size_t count) const;
  // The same without a copy: a view into text().
  std::u16string_view partView(std::size_t first, std::size_t count) const noexcept {
    return std::u16string_view(text_).substr(marks_[first], marks_[first + count] - marks_[first]);
  }

  String scheme() const { return part(kScheme, 1); }
  String user() const { return part(kUser, 1); }
  String password() const { return part(kPassword, 1); }
  // With the brackets of an IPv6 literal.
  String host() const { return part(kOpenBracket, 3); }
  String port() const { return part(kPort, 1); }
  String file() const { return part(kName, 1); }
  String ext() const { return part(kExtension, 1); }
  String params() const { return part(kParams, 1); }
  String fragment() const { return part(kFragment, 1); }
  // From "//" up to and including the parameters.
  String location() const { return part(kSlashes, 17); }
  // From the user up to and including the port.
  String networkLocation() const { return part(kUser, 9); }
  // User, ":", password, "@" and the "[" of a literal host.
  String login() const { return part(kUser, 5); }
  // The directory with its final separator.
  String filePath() const { return part(kDirectory, 2); }
  // Name, "." and extension.
  String fileName() const { return part(kName, 3); }
  // Directory, separator, name, "." and extension.
  String fullPathName() const { return part(kDirectory, 5); }

  bool empty() const noexcept { return text_.empty(); }
  bool absolute() const noexcept { return marks_[kSchemeColon] != marks_[kScheme]; }
  bool relative() const noexcept { return !absolute(); }
  bool broken() const noexcept { return marks_[kTail + 1] != marks_[kTail]; }
  // Set when a "#" part follows the file name directly (no parameters): the
  // "#" may belong to the name rather than open a fragment. The "file"
  // scheme then tries the name with the "#" part when the shorter name does
  // not exist.
  bool possiblyFragment() const noexcept { return possibly_fragment_; }

  // Equal as the scheme of both URLs judges (IScheme_equal, see scheme.h);
  // equalBase ignores the parameters and the fragment. False when the two
  // lead to different schemes. A broken URL equals only a URL of the same
  // text, code unit for code unit.
  bool equal(const URL& other) const;
  bool equalBase(const URL& other) const;

  // Eight bytes a mark (none for the empty URL) plus the text's footprint.
  std::size_t memorySize() const noexcept;
  // Copies the 23 marks.
  void marks(std::vector<std::uint64_t>& out) const;
  const Marks& marks() const noexcept { return marks_; }

  // A bare path of the operating system made a "file" URL: a drive path
  // ("C:\data\a.txt") and a network path ("\\server\share\a.txt") become
  // "file:" followed by the path, an absolute POSIX path ("/home/a.txt")
  // becomes "file://" followed by the path. Any other text is returned as it
  // is. With `directory`, the result of a bare path ends in a separator.
  static String prepareURL(const String& text, bool directory = false);

  // Resolves the reference `relative` against this URL as RFC 3986 section 5
  // does, with "/" and "\" both separating segments and a drive volume
  // ("C:") standing as a root. This URL may itself be relative; the result
  // then is too.
  // Throws IllegalArgumentException ("IDS_ERR_ILLEGAL_ARGUMENT", the two
  // texts as detail) when either URL is broken.
  URL combine(const URL& relative) const;
  URL combine(const String& relative) const { return combine(URL(relative, false)); }
  // As combine, but this URL's path counts as a directory even without a
  // final separator: "http://h/a/b" with "c" gives "http://h/a/b/c".
  URL combinePath(const URL& relative) const;
  URL combinePath(const String& relative) const { return combinePath(URL(relative, false)); }
  // The reference that combine() resolves against `base` to this URL: a
  // relative path when scheme and authority match `base` (case ignored),
  // this URL unchanged otherwise.
  URL getRelativeURL(const URL& base) const;
  // The directory of this URL: no file name, parameters or fragment.
  URL baseURL() const;
  // The scheme's normal form (IScheme_normalizeURL): scheme and host in
  // lower case, a default port dropped, "." and ".." segments resolved.
  URL normalize() const;

  // The display text: the host in Unicode when it is in its ASCII form.
  String presentation() const;
  // presentation() with the password replaced by "XXXXX".
  String securePresentation() const;
  // text() with the password replaced by "XXXXX".
  String secureContent() const;
  // The URL with its host converted by ICU's UTS #46 IDNA processing to its
  // ASCII form (toIDNA) or to Unicode (fromIDNA); a literal IPv6 host and an
  // empty host stay as they are.
  // Throws IllegalArgumentException ("IDS_ERR_ILLEGAL_ARGUMENT", the host as
  // detail) when the host is no valid domain name.
  URL toIDNA() const;
  URL fromIDNA() const;

  // Every code unit of `text` in `reserved` or equal to "%" written as "%"
  // and its code in lower-case hexadecimal without leading zeros ("%2f",
  // "%25"); with `escape_space`, the space too ("%20"). Every other unit is
  // copied.
  static String escape(std::u16string_view text, std::u16string_view reserved,
                       bool escape_space = false);
  // Each "%XY" group whose value is printable ASCII (0x20-0x7E) replaced by
  // that character; X and Y may be any Unicode decimal digit or an ASCII or
  // full-width letter "a"-"f"/"A"-"F". Every other group, and a "%" without
  // two units after it, stays as it is.
  static String unescape(std::u16string_view text);

  // Writes the text; deserialize reads it and parses it again (without
  // prepareURL). Throws ListStreamException ("IDS_LISTSTREAMERROR") as the
  // streams do.
  void serialize(ListOutStream& out) const;
  void deserialize(ListInStream& in);

  // The same text, code unit for code unit (equal() compares as the scheme
  // does).
  friend bool operator==(const URL& a, const URL& b) noexcept { return a.text_ == b.text_; }

 private:
  friend class SchemeBase;
  bool compare(const URL& other, bool base_only) const;
  URL resolve(const URL& relative, bool as_directory) const;

  String text_;
  Marks marks_;
  bool possibly_fragment_ = false;
};

// Percent-coding of the bytes of a text in a given encoding (UTF-8 by
// default; windows-1251 for servers that expect Cyrillic in that encoding).
// Escapes use upper-case hexadecimal ("%D0%9F").
class CORE_EXPORT URLEncoder {
 public:
  // For a single component (a parameter name or value): every byte except
  // the unreserved "A"-"Z", "a"-"z", "0"-"9", "-", ".", "_", "~" escaped.
  static String encode(std::u16string_view text, const Converter& converter);
  static String encode(std::u16string_view text);
  // For a whole URL: the reserved characters ":/?#[]@!$&'()*+,;=" and "%"
  // stay, every other byte that is not unreserved is escaped.
  static String encodeURL(std::u16string_view text, const Converter& converter);
  static String encodeURL(std::u16string_view text);
  // Every "%XY" of two hexadecimal digits is one byte; the bytes are then
  // read in the converter's encoding. A "%" without two hexadecimal digits
  // is kept.
  // Throws ConverterException (code 2, "IDS_CNVERROR_BADDATA") when the
  // bytes are not valid in that encoding.
  static String decode(std::u16string_view text, const Converter& converter);
  static String decode(std::u16string_view text);
};

}  // namespace core

#endif  // CORE_URL_H_
