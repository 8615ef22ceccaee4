// Implements core/url.h: the URL value, its resolution, presentation and
// percent-coding, and URLEncoder.
#include "core/url.h"

#include <unicode/uchar.h>
#include <unicode/uidna.h>

#include <string>
#include <utility>
#include <vector>

#include "core/converter.h"
#include "core/exception_classes.h"
#include "core/list_stream.h"
#include "core/nocase.h"
#include "core/scheme.h"
#include "internal/chars.h"
#include "internal/icu.h"
#include "io/url_text.h"

namespace core {
namespace {

constexpr std::size_t npos = std::u16string_view::npos;

bool is_separator(char16_t unit) noexcept { return SchemeBase::isPathSeparator(unit); }

enum class BarePath { kNone, kDrive, kNetwork, kPosix };

// What prepareURL makes a "file" URL of: a drive path ("C:..."), a network
// path ("\\...") or an absolute POSIX path ("/...", but not "//...").
BarePath bare_path(std::u16string_view text) noexcept {
  if (text.size() >= 2 && text[1] == u':' &&
      ((text[0] >= u'a' && text[0] <= u'z') || (text[0] >= u'A' && text[0] <= u'Z'))) {
    return BarePath::kDrive;
  }
  if (text.starts_with(u"\\\\")) return BarePath::kNetwork;
  if (text.starts_with(u"/") && !text.starts_with(u"//")) return BarePath::kPosix;
  return BarePath::kNone;
}

// The length of the root of `path`: a drive with its separator, or one
// separator; 0 for a relative path.
std::size_t root_length(std::u16string_view path) noexcept {
  char16_t volume = 0;
  std::size_t drive = 0;
  if (SchemeBase::toVolumePosition(path, volume, drive)) {
    return drive + 2 < path.size() ? drive + 3 : drive + 2;
  }
  return !path.empty() && is_separator(path[0]) ? 1 : 0;
}

std::u16string_view without_separator(std::u16string_view segment) noexcept {
  if (!segment.empty() && is_separator(segment.back())) segment.remove_suffix(1);
  return segment;
}

// Where the query starts: "?" opens it; parameters opened by ";" are a path
// parameter up to their first "?".
std::size_t query_start(const URL& url) noexcept {
  const URL::Marks& m = url.marks();
  if (m[URL::kParams] == m[URL::kParamsMark] || url.text()[m[URL::kParamsMark]] != u';') {
    return m[URL::kParamsMark];
  }
  const std::u16string_view text = url.text();
  const std::size_t end = m[URL::kHash];
  for (std::size_t i = m[URL::kParams]; i < end; ++i) {
    if (text[i] == u'?') return i;
  }
  return end;
}

std::u16string_view query_of(const URL& url) noexcept {
  const std::size_t start = query_start(url);
  return std::u16string_view(url.text()).substr(start, url.marks()[URL::kHash] - start);
}

void hide_password(const URL& url, String& out) {
  if (url.partView(URL::kPassword, 1).empty()) {
    out = url.text();
    return;
  }
  out = String(url.partView(URL::kScheme, URL::kPassword));
  out += u"XXXXX";
  out += url.partView(URL::kAt, URL::kPartCount - URL::kAt);
}

bool has_ace_label(std::u16string_view host) noexcept {
  for (std::size_t i = 0; i + 4 <= host.size(); ++i) {
    if ((i == 0 || host[i - 1] == u'.') && (host[i] == u'x' || host[i] == u'X') &&
        (host[i + 1] == u'n' || host[i + 1] == u'N') && host[i + 2] == u'-' &&
        host[i + 3] == u'-') {
      return true;
    }
  }
  return false;
}

const UIDNA* uts46() {
  static const UIDNA* const idna = [] {
    detail::IcuStatus status;
    UIDNA* opened =
        uidna_openUTS46(UIDNA_NONTRANSITIONAL_TO_ASCII | UIDNA_NONTRANSITIONAL_TO_UNICODE, status);
    status.assertSuccess();
    return opened;
  }();
  return idna;
}

URL convert_host(const URL& url, bool to_ascii) {
  const std::u16string_view host = url.partView(URL::kHost, 1);
  if (url.broken() || host.empty() || !url.partView(URL::kOpenBracket, 1).empty()) return url;
  std::u16string converted(host.size() * 4 + 64, u'\0');
  for (;;) {
    detail::IcuStatus status;
    UIDNAInfo info = UIDNA_INFO_INITIALIZER;
    const auto convert = to_ascii ? uidna_nameToASCII : uidna_nameToUnicode;
    const int32_t length =
        convert(uts46(), host.data(), static_cast<int32_t>(host.size()), converted.data(),
                static_cast<int32_t>(converted.size()), &info, status);
    if (status.get() == U_BUFFER_OVERFLOW_ERROR) {
      converted.resize(static_cast<std::size_t>(length));
      continue;
    }
    if (status.isFailure() || info.errors != 0) throw IllegalArgumentException(String(host));
    converted.resize(static_cast<std::size_t>(length));
    break;
  }
  String text(url.partView(URL::kScheme, URL::kHost));
  text += converted;
  text += url.partView(URL::kCloseBracket, URL::kPartCount - URL::kCloseBracket);
  return URL(text, false);
}

// The value of one digit of an escape: ASCII and full-width hexadecimal
// letters, and every Unicode decimal digit; -1 for anything else.
int escape_digit(char16_t unit) noexcept {
  const int ascii = detail::hex_digit_value(unit);
  if (ascii >= 0) return ascii;
  if (unit >= 0xFF21 && unit <= 0xFF26) return unit - 0xFF21 + 10;
  if (unit >= 0xFF41 && unit <= 0xFF46) return unit - 0xFF41 + 10;
  if (unit < 0x80) return -1;
  return u_charType(unit) == U_DECIMAL_DIGIT_NUMBER ? u_charDigitValue(unit) : -1;
}

constexpr char kUpperHex[] = "0123456789ABCDEF";

bool is_unreserved(unsigned char byte) noexcept {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_' || byte == '~';
}

String percent_encode(std::u16string_view text, const Converter& converter, std::string_view kept) {
  const std::string bytes = converter.narrow(text);
  std::u16string out;
  out.reserve(bytes.size());
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (is_unreserved(byte) || (byte < 0x80 && kept.find(c) != std::string_view::npos)) {
      out += static_cast<char16_t>(byte);
    } else {
      out += u'%';
      out += static_cast<char16_t>(kUpperHex[byte >> 4]);
      out += static_cast<char16_t>(kUpperHex[byte & 15]);
    }
  }
  return String(std::u16string_view(out));
}

}  // namespace

// --- Helpers shared with the schemes -----------------------------------------

namespace detail {

std::u16string_view path_before_query(const URL& url) noexcept {
  const std::size_t start = url.marks()[URL::kDirectory];
  return std::u16string_view(url.text()).substr(start, query_start(url) - start);
}

std::u16string_view query_and_fragment(const URL& url) noexcept {
  const std::size_t start = query_start(url);
  return std::u16string_view(url.text()).substr(start, url.marks()[URL::kTail] - start);
}

void append_path(String& out, std::u16string_view first, std::u16string_view second) {
  if (first.find(u'.') == npos && second.find(u'.') == npos) {
    out += first;
    out += second;
    return;
  }
  const std::u16string_view lead = first.empty() ? second : first;
  const std::size_t root = root_length(lead);
  out += lead.substr(0, root);
  // Kept segments end in their separator, all but the last one appended; a
  // ".." takes the last one off again, never the root.
  const std::size_t floor = out.size();
  const auto append_segments = [&out, floor, root](std::u16string_view path, std::size_t pos) {
    while (pos < path.size()) {
      const std::u16string_view segment = SchemeBase::getNextPathSegment(path, pos, true);
      const std::u16string_view name = without_separator(segment);
      if (name == u".") continue;
      if (name != u"..") {
        out += segment;
        continue;
      }
      if (out.size() > floor) {
        const std::u16string_view kept = std::u16string_view(out).substr(floor);
        const std::size_t end = kept.size() - 1;
        std::size_t begin = end;
        while (begin > 0 && !is_separator(kept[begin - 1])) --begin;
        if (kept.substr(begin, end - begin) != u"..") {
          out.resizeForOverwrite(floor + begin);
          continue;
        }
      }
      if (root == 0) out += segment;
    }
  };
  if (first.empty()) {
    append_segments(second, root);
  } else {
    append_segments(first, root);
    append_segments(second, 0);
  }
}

String remove_dot_segments(std::u16string_view path) {
  String out;
  append_path(out, {}, path);
  return out;
}

bool equal_nocase_ascii(std::u16string_view a, std::u16string_view b) noexcept {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const char16_t x = a[i];
    const char16_t y = b[i];
    if (x >= 0x80 || y >= 0x80) return compare_nocase(a, b) == 0;
    if (x != y && (x | 0x20) != (y | 0x20)) return false;
    if (x != y && ((x | 0x20) < u'a' || (x | 0x20) > u'z')) return false;
  }
  return true;
}

}  // namespace detail

// --- Construction and parts --------------------------------------------------

URL::URL(const String& text, bool prepare) : marks_{} {
  // Only a bare path is copied; any other text is parsed where it stands.
  String prepared;
  const String* source = &text;
  if (prepare && bare_path(text) != BarePath::kNone) {
    prepared = prepareURL(text);
    source = &prepared;
  }
  const IScheme& scheme = detail::scheme_for_name(SchemeBase::extractSchemeName(*source));
  // A scheme that refuses the text leaves it to the generic grammar, which
  // takes every text.
  if (!scheme.IScheme_parseURL(*source, true, *this)) {
    detail::scheme_for_name({}).IScheme_parseURL(*source, true, *this);
  }
}

URL::URL(const char16_t* text, bool prepare)
    : URL(text == nullptr ? String() : String(text), prepare) {}

URL::URL(const String& base, const String& relative, bool prepare)
    : URL(URL(base, prepare).combine(relative)) {}

URL::URL(const char16_t* base, const char16_t* relative, bool prepare)
    : URL(base == nullptr ? String() : String(base),
          relative == nullptr ? String() : String(relative), prepare) {}

String URL::part(std::size_t first, std::size_t count) const {
  return String(partView(first, count));
}

std::size_t URL::memorySize() const noexcept {
  std::size_t size = sizeof(String);
  if (text_.size() > String::kInlineCapacity) size += (text_.size() + 1) * sizeof(char16_t);
  return text_.empty() ? size : size + kMarkCount * sizeof(std::uint64_t);
}

void URL::marks(std::vector<std::uint64_t>& out) const { out.assign(marks_.begin(), marks_.end()); }

bool URL::compare(const URL& other, bool base_only) const {
  if (broken() || other.broken()) return text_ == other.text_;
  const IScheme& mine = detail::scheme_for_name(partView(kScheme, 1));
  const IScheme& theirs = detail::scheme_for_name(other.partView(kScheme, 1));
  return &mine == &theirs && mine.IScheme_equal(*this, other, base_only);
}

bool URL::equal(const URL& other) const { return compare(other, false); }

bool URL::equalBase(const URL& other) const { return compare(other, true); }

String URL::prepareURL(const String& text, bool directory) {
  const BarePath kind = bare_path(text);
  if (kind == BarePath::kNone) return text;
  const std::u16string_view view = text;
  String out(kind == BarePath::kPosix ? u"file://" : u"file:");
  out += view;
  if (directory && !is_separator(view.back())) out += kind == BarePath::kPosix ? u'/' : u'\\';
  return out;
}

// --- Resolution --------------------------------------------------------------

URL URL::resolve(const URL& relative, bool as_directory) const {
  if (broken() || relative.broken()) {
    throw IllegalArgumentException(text_ + u' ' + relative.text_);
  }
  const std::u16string_view relative_path = detail::path_before_query(relative);
  String out;
  out.reserve(text_.size() + relative.text_.size() + 1);
  if (relative.absolute() || !relative.partView(kSlashes, 1).empty()) {
    if (!relative.absolute()) out += partView(kScheme, kSlashes);
    out += relative.partView(kScheme, kDirectory);
    detail::append_path(out, {}, relative_path);
    out += detail::query_and_fragment(relative);
    return URL(out, false);
  }
  out += partView(kScheme, kDirectory);
  const std::u16string_view base_path = detail::path_before_query(*this);
  if (relative_path.empty()) {
    out += base_path;
    const std::u16string_view query = query_of(relative);
    out += query.empty() ? query_of(*this) : query;
  } else {
    if (root_length(relative_path) != 0) {
      detail::append_path(out, {}, relative_path);
    } else if (base_path.empty() && !partView(kSlashes, 1).empty()) {
      detail::append_path(out, u"/", relative_path);
    } else if (!as_directory) {
      detail::append_path(out, partView(kDirectory, 2), relative_path);
    } else if (!base_path.empty() && !is_separator(base_path.back())) {
      detail::append_path(out, String(base_path) + u'/', relative_path);
    } else {
      detail::append_path(out, base_path, relative_path);
    }
    out += query_of(relative);
  }
  out += relative.partView(kHash, 2);
  return URL(out, false);
}

URL URL::combine(const URL& relative) const { return resolve(relative, false); }

URL URL::combinePath(const URL& relative) const { return resolve(relative, true); }

URL URL::getRelativeURL(const URL& base) const {
  if (broken() || base.broken() || relative() ||
      !detail::equal_nocase_ascii(partView(kScheme, kDirectory),
                                  base.partView(kScheme, kDirectory))) {
    return *this;
  }
  const std::u16string_view path = detail::path_before_query(*this);
  const std::u16string_view base_dir = base.partView(kDirectory, 2);
  const std::size_t root = root_length(path);
  String out;
  if (root == 0 || root_length(base_dir) != root ||
      path.substr(0, root) != base_dir.substr(0, root)) {
    out = String(path);
  } else {
    // Segments with their separators; the last one of `mine` is the file
    // name, empty for a path that ends in a separator.
    std::vector<std::u16string_view> mine;
    std::size_t pos = root;
    while (pos < path.size()) mine.push_back(SchemeBase::getNextPathSegment(path, pos, true));
    if (mine.empty() || is_separator(path.back())) mine.emplace_back();
    std::vector<std::u16string_view> theirs;
    pos = root;
    while (pos < base_dir.size()) {
      theirs.push_back(SchemeBase::getNextPathSegment(base_dir, pos, true));
    }
    std::size_t common = 0;
    while (common < theirs.size() && common + 1 < mine.size() &&
           without_separator(theirs[common]) == without_separator(mine[common])) {
      ++common;
    }
    for (std::size_t i = common; i < theirs.size(); ++i) out += u"../";
    for (std::size_t i = common; i < mine.size(); ++i) out += mine[i];
    // "./" keeps an empty reference, or one whose first segment holds a
    // ":", from reading as something else.
    const std::u16string_view first = std::u16string_view(out).substr(0, out.find(u'/'));
    if (out.empty() || first.find(u':') != npos) out = u"./" + out;
  }
  out += detail::query_and_fragment(*this);
  return URL(out, false);
}

URL URL::baseURL() const {
  if (broken()) return *this;
  return URL(String(partView(kScheme, kName)), false);
}

URL URL::normalize() const {
  return detail::scheme_for_name(partView(kScheme, 1)).IScheme_normalizeURL(*this);
}

// --- Presentation ------------------------------------------------------------

String URL::presentation() const {
  if (has_ace_label(partView(kHost, 1)) && partView(kOpenBracket, 1).empty()) {
    try {
      return convert_host(*this, false).text_;
    } catch (const IllegalArgumentException&) {
      // A host that is no valid name is shown as it stands.
    }
  }
  return text_;
}

String URL::securePresentation() const {
  String out;
  hide_password(URL(presentation(), false), out);
  return out;
}

String URL::secureContent() const {
  String out;
  hide_password(*this, out);
  return out;
}

URL URL::toIDNA() const { return convert_host(*this, true); }

URL URL::fromIDNA() const { return convert_host(*this, false); }

// --- Percent-coding ----------------------------------------------------------

String URL::escape(std::u16string_view text, std::u16string_view reserved, bool escape_space) {
  // ASCII members of the set are looked up in a bitmap; others in `reserved`.
  std::uint64_t ascii[2] = {std::uint64_t{1} << u'%', 0};
  if (escape_space) ascii[0] |= std::uint64_t{1} << u' ';
  bool wide = false;
  for (const char16_t unit : reserved) {
    if (unit < 0x80) {
      ascii[unit >> 6] |= std::uint64_t{1} << (unit & 63);
    } else {
      wide = true;
    }
  }
  const auto escaped = [&](char16_t unit) {
    if (unit < 0x80) return ((ascii[unit >> 6] >> (unit & 63)) & 1) != 0;
    return wide && reserved.find(unit) != npos;
  };
  std::size_t size = 0;
  for (const char16_t unit : text) {
    if (!escaped(unit)) {
      ++size;
      continue;
    }
    size += 2;
    for (unsigned rest = unit >> 4; rest != 0; rest >>= 4) ++size;
  }
  if (size == text.size()) return String(text);
  String out;
  char16_t* at = out.resizeForOverwrite(size);
  for (const char16_t unit : text) {
    if (!escaped(unit)) {
      *at++ = unit;
      continue;
    }
    *at++ = u'%';
    int shift = 12;
    while (shift > 0 && (unit >> shift) == 0) shift -= 4;
    for (; shift >= 0; shift -= 4) {
      *at++ = static_cast<char16_t>("0123456789abcdef"[(unit >> shift) & 15]);
    }
  }
  return out;
}

String URL::unescape(std::u16string_view text) {
  if (text.find(u'%') == npos) return String(text);
  String out;
  char16_t* const begin = out.resizeForOverwrite(text.size());
  char16_t* at = begin;
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] == u'%' && i + 2 < text.size()) {
      const int high = escape_digit(text[i + 1]);
      const int low = escape_digit(text[i + 2]);
      if (high >= 0 && low >= 0) {
        const int byte = high * 16 + low;
        if (byte >= 0x20 && byte <= 0x7E) {
          *at++ = static_cast<char16_t>(byte);
        } else {
          at = std::copy(text.begin() + static_cast<std::ptrdiff_t>(i),
                         text.begin() + static_cast<std::ptrdiff_t>(i + 3), at);
        }
        i += 3;
        continue;
      }
    }
    *at++ = text[i++];
  }
  out.resizeForOverwrite(static_cast<std::size_t>(at - begin));
  return out;
}

// --- Streams -----------------------------------------------------------------

void URL::serialize(ListOutStream& out) const { out.put(text_); }

void URL::deserialize(ListInStream& in) {
  String text;
  in.get(text);
  *this = URL(text, false);
}

// --- URLEncoder --------------------------------------------------------------

String URLEncoder::encode(std::u16string_view text, const Converter& converter) {
  return percent_encode(text, converter, "");
}

String URLEncoder::encode(std::u16string_view text) { return encode(text, Converter::utf8()); }

String URLEncoder::encodeURL(std::u16string_view text, const Converter& converter) {
  return percent_encode(text, converter, ":/?#[]@!$&'()*+,;=%");
}

String URLEncoder::encodeURL(std::u16string_view text) {
  return encodeURL(text, Converter::utf8());
}

String URLEncoder::decode(std::u16string_view text, const Converter& converter) {
  String out;
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == u'%' && i + 2 < text.size()) {
      const int high = detail::hex_digit_value(text[i + 1]);
      const int low = detail::hex_digit_value(text[i + 2]);
      if (high >= 0 && low >= 0) {
        bytes += static_cast<char>(high * 16 + low);
        i += 2;
        continue;
      }
    }
    if (!bytes.empty()) {
      out += converter.widen(bytes);
      bytes.clear();
    }
    out += text[i];
  }
  if (!bytes.empty()) out += converter.widen(bytes);
  return out;
}

String URLEncoder::decode(std::u16string_view text) { return decode(text, Converter::utf8()); }

}  // namespace core
