// Implements core/scheme.h: the generic grammar of SchemeBase, the registry,
// the "file" and "sfile" schemes and the retrying remove and move.
#include "core/scheme.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <utility>

#include "core/exception_classes.h"
#include "core/nocase.h"
#include "internal/chars.h"
#include "internal/thread_annotations.h"
#include "internal/throw.h"
#include "io/storage_variant.h"
#include "io/url_text.h"
#include "platform/file_system.h"
#include "rivet/suspend_monitor.h"

namespace core {
namespace {

constexpr std::u16string_view kFullReservedSet = u"/\\;?*:@&=[]#";
constexpr std::size_t npos = std::u16string_view::npos;
// A mark no parse step has set yet.
constexpr std::uint64_t kUnset = ~std::uint64_t{0};

// Classes of ASCII units for the scans of the parser.
enum : std::uint8_t {
  kForbidden = 1,      // no authority may hold it
  kEndsAuthority = 2,  // a separator, "?", ";" or "#"
  kEndsPath = 4,       // "?", ";" or "#"
};

constexpr std::array<std::uint8_t, 128> kUnitClass = [] {
  std::array<std::uint8_t, 128> table{};
  for (int unit = 0; unit <= 0x20; ++unit) table[unit] = kForbidden;
  table[0x7F] = kForbidden;
  for (const unsigned char unit : {'"', '<', '>', '^', '`', '{', '|', '}'})
    table[unit] = kForbidden;
  for (const unsigned char unit : {'/', '\\'}) table[unit] = kEndsAuthority;
  for (const unsigned char unit : {'?', ';', '#'}) table[unit] = kEndsAuthority | kEndsPath;
  return table;
}();

bool has_class(char16_t unit, std::uint8_t classes) noexcept {
  return unit < 0x80 && (kUnitClass[unit] & classes) != 0;
}

bool is_scheme_unit(char16_t unit) noexcept {
  if (unit < 0x80) {
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'0' && unit <= u'9') || unit == u'+' || unit == u'-' || unit == u'.';
  }
  return u_isalnum(unit) != 0;
}

std::size_t find_unit(std::u16string_view text, std::size_t from, std::size_t to,
                      char16_t unit) noexcept {
  for (std::size_t i = from; i < to; ++i) {
    if (text[i] == unit) return i;
  }
  return to;
}

// Marks [first, last] all at `pos`.
void fill_marks(URL::Marks& marks, std::size_t first, std::size_t last, std::size_t pos) noexcept {
  for (std::size_t i = first; i <= last; ++i) marks[i] = pos;
}

// A path without one final separator, for comparisons.
std::u16string_view without_final_separator(std::u16string_view path) noexcept {
  if (!path.empty() && SchemeBase::isPathSeparator(path.back())) path.remove_suffix(1);
  return path;
}

bool equal_paths(std::u16string_view a, std::u16string_view b) noexcept {
  a = without_final_separator(a);
  b = without_final_separator(b);
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && !(SchemeBase::isPathSeparator(a[i]) && SchemeBase::isPathSeparator(b[i]))) {
      return false;
    }
  }
  return true;
}

// The grammar for scheme names nobody registered, and the network schemes
// whose only difference is a default port.
class GenericScheme final : public SchemeBase {
 public:
  GenericScheme(String name, bool flag_chooses_set, String default_port)
      : SchemeBase(std::move(name), flag_chooses_set, std::move(default_port)) {}
};

FileException::Error file_error(platform::FsError error) {
  using platform::FsError;
  switch (error) {
    case FsError::kNotFound:
      return FileException::Error::FileNotFound;
    case FsError::kDirNotFound:
      return FileException::Error::DirNotFound;
    case FsError::kAccess:
      return FileException::Error::Access;
    case FsError::kIsDirectory:
      return FileException::Error::IsADirectory;
    case FsError::kNotDirectory:
      return FileException::Error::NotADirectory;
    case FsError::kDeviceFull:
      return FileException::Error::DeviceFull;
    case FsError::kBusy:
      return FileException::Error::Sharing;
    case FsError::kNameTooLong:
      return FileException::Error::TooLongFileName;
    case FsError::kCrossDevice:
      return FileException::Error::Move;
    case FsError::kBadPath:
      return FileException::Error::BadPath;
    case FsError::kNone:
    case FsError::kExists:
    case FsError::kOther:
      break;
  }
  return FileException::Error::Failure;
}

void check(platform::FsError error, const String& path, bool directory, const URL& url,
           const URL& second = URL()) {
  if (error != platform::FsError::kNone) {
    throw FileException(file_error(error), path, directory, url, second);
  }
}

// A file of the operating system opened through the "file" scheme. Its
// position is kept here and every transfer is one positional call, so a
// seek costs no system call.
class NativeFile final : public UnknownImpl<IFile> {
 public:
  NativeFile(platform::FileHandle handle, String path, URL url)
      : handle_(handle), path_(std::move(path)), url_(std::move(url)) {
    check(platform::file_position(handle_, position_), path_, false, url_);
  }
  ~NativeFile() override { platform::close_file(handle_); }
  NativeFile(const NativeFile&) = delete;
  NativeFile& operator=(const NativeFile&) = delete;

  std::size_t read(void* buffer, std::size_t count) override {
    std::size_t done = 0;
    check(platform::read_file_at(handle_, position_, buffer, count, done), path_, false, url_);
    position_ += done;
    return done;
  }
  void write(const void* data, std::size_t count) override {
    check(platform::write_file_at(handle_, position_, data, count), path_, false, url_);
    position_ += count;
  }
  void seek(std::uint64_t position) override {
    if (position > static_cast<std::uint64_t>(INT64_MAX)) {
      check(platform::FsError::kOther, path_, false, url_);
    }
    position_ = position;
  }
  std::uint64_t position() override { return position_; }
  std::uint64_t length() override {
    std::uint64_t size = 0;
    check(platform::file_length(handle_, size), path_, false, url_);
    return size;
  }
  void flush() override { check(platform::flush_file(handle_), path_, false, url_); }
  String url() override { return url_.text(); }

 private:
  platform::FileHandle handle_;
  String path_;
  URL url_;
  std::uint64_t position_ = 0;
};

platform::OpenMode open_mode(FileMode mode) {
  switch (mode) {
    case FileMode::Read:
      return platform::OpenMode::kRead;
    case FileMode::Write:
      return platform::OpenMode::kWrite;
    case FileMode::Create:
      return platform::OpenMode::kCreate;
    case FileMode::Append:
      return platform::OpenMode::kAppend;
    case FileMode::CreateNew:
      return platform::OpenMode::kCreateNew;
  }
  detail::throw_illegal_argument(static_cast<long long>(mode));
}

// "file" and "sfile": the files of this operating system. The path is the
// URL's path as it stands (no unescaping); a host other than "localhost" is
// refused, since there are no network files here.
class FileScheme final : public SchemeBase {
 public:
  explicit FileScheme(String name) : SchemeBase(std::move(name)) {}

  String IScheme_createURLString(const String& path) const override {
    String url = URL::prepareURL(path);
    return url == path ? IScheme_schemeName() + u':' + path : url;
  }

  InterfacePtr<IFile> IScheme_openURL(const URL& url, FileMode mode) const override {
    const String path = localPath(url, mode == FileMode::Read || mode == FileMode::Write);
    platform::FileHandle handle;
    check(platform::open_file(path, open_mode(mode), handle), path, false, url);
    return InterfacePtr<IFile>(new NativeFile(handle, path, url));
  }

  void IScheme_createDirectory(const URL& url) const override {
    const String path = localPath(url, false);
    check(platform::make_directory(path), path, true, url);
  }

  void IScheme_remove(const URL& url, const String& name) const override {
    String path = localPath(url, true);
    if (!name.empty()) {
      if (!isPathSeparator(path[path.size() - 1])) path += u'/';
      path += name;
    }
    check(platform::remove_path(path), path, false, url);
  }

  void IScheme_move(const URL& from, const URL& to) const override {
    const String source = localPath(from, true);
    const String target = localPath(to, false);
    check(platform::rename_path(source, target), source, false, from, to);
  }

 private:
  // The path named by `url`. With `existing`, a "#" part that may belong to
  // the name is taken into it when only the longer name exists.
  String localPath(const URL& url, bool existing) const {
    const std::u16string_view host = url.partView(URL::kHost, 1);
    String path = url.part(URL::kDirectory, 5);
    if (url.broken() || path.empty() ||
        (!host.empty() && compare_nocase(host, u"localhost") != 0)) {
      throw FileException(FileException::Error::BadPath, url.text(), false, url, URL());
    }
    if (existing && url.possiblyFragment() && !platform::path_exists(path)) {
      String longer = path + url.partView(URL::kHash, 2);
      if (platform::path_exists(longer)) return longer;
    }
    return path;
  }
};

// Holders of the built-in schemes; never destroyed, like the registry.
SchemeBase& generic_scheme() {
  static SchemeBase* const scheme = new GenericScheme(String(), false, String());
  return *scheme;
}

template <class Operation>
bool with_wait(Operation operation) {
  constexpr int kAttempts = 10;
  for (int attempt = 1;; ++attempt) {
    try {
      operation();
      return true;
    } catch (const FileException& e) {
      if (e.reason() == FileException::Error::FileNotFound) throw;
    }
    if (attempt == kAttempts) return false;
    rivet::pause(std::chrono::milliseconds(100), "waiting for a file held by another process");
  }
}

}  // namespace

// --- SchemeBase: helpers -----------------------------------------------------

SchemeBase::SchemeBase(String name, bool flag_chooses_set, String default_port)
    : name_(std::move(name)),
      flag_chooses_set_(flag_chooses_set),
      default_port_(std::move(default_port)) {}

bool SchemeBase::isForbiddenInAuthority(char16_t unit) noexcept {
  return has_class(unit, kForbidden);
}

std::size_t SchemeBase::skipSpaces(std::u16string_view text, std::size_t pos) noexcept {
  while (pos < text.size() && detail::is_white_space(text[pos])) ++pos;
  return pos;
}

std::u16string_view SchemeBase::getNextPathSegment(std::u16string_view text, std::size_t& pos,
                                                   bool with_separator) noexcept {
  const std::size_t start = std::min(pos, text.size());
  std::size_t end = start;
  while (end < text.size() && !isPathSeparator(text[end])) ++end;
  pos = end < text.size() ? end + 1 : end;
  return text.substr(start, (with_separator ? pos : end) - start);
}

void SchemeBase::copyPart(const URL& url, std::size_t first, std::size_t count, String& out) {
  out += url.partView(first, count);
}

bool SchemeBase::toVolumePosition(std::u16string_view text, char16_t& volume,
                                  std::size_t& pos) noexcept {
  std::size_t at = pos;
  if (at < text.size() && isPathSeparator(text[at])) ++at;
  if (at + 1 >= text.size() || text[at + 1] != u':') return false;
  const char16_t letter = text[at];
  if (!((letter >= u'a' && letter <= u'z') || (letter >= u'A' && letter <= u'Z'))) return false;
  if (at + 2 < text.size() && !isPathSeparator(text[at + 2])) return false;
  volume = letter;
  pos = at;
  return true;
}

std::u16string_view SchemeBase::extractSchemeName(std::u16string_view text) noexcept {
  const std::size_t start = skipSpaces(text, 0);
  std::size_t end = start;
  while (end < text.size() && is_scheme_unit(text[end])) ++end;
  if (end >= text.size() || text[end] != u':' || end - start < 2) return {};
  return text.substr(start, end - start);
}

void SchemeBase::pathSeparator(std::vector<char16_t>& out) { out = {u'/', u'\\'}; }

String SchemeBase::reservedSymbols(bool full_set) const {
  const bool full = !flag_chooses_set_ || full_set;
  return String(full ? kFullReservedSet : kFullReservedSet.substr(0, kFullReservedSet.size() - 1));
}

void SchemeBase::IScheme_reservedSymbols(std::vector<char16_t>& out, bool full_set) const {
  const String set = reservedSymbols(full_set);
  out.assign(set.begin(), set.end());
}

String SchemeBase::IScheme_escape(std::u16string_view text, bool full_set) const {
  return URL::escape(text, reservedSymbols(full_set));
}

String SchemeBase::IScheme_createURLString(const String& path) const {
  String reserved;
  for (const char16_t unit : reservedSymbols(true)) {
    if (!isPathSeparator(unit)) reserved += unit;
  }
  return name_ + u':' + URL::escape(path, reserved);
}

// --- SchemeBase: parsing -----------------------------------------------------

bool SchemeBase::IScheme_parseURL(const String& text, bool relative_allowed, URL& out) const {
  ParseState state;
  state.text = text;
  state.marks.fill(kUnset);
  if (!parseScheme(state)) return false;
  const bool has_scheme = state.marks[URL::kSchemeColon] != state.marks[URL::kScheme];
  if (!has_scheme && !relative_allowed) return false;
  const std::u16string_view rest = state.text.substr(state.pos);
  bool whole = true;
  if (rest.starts_with(u"//") && (has_scheme || state.pos == 0)) {
    whole = parseAuthority(state);
  } else {
    fill_marks(state.marks, URL::kSlashes, URL::kPort, state.pos);
  }
  whole = whole && parsePath(state) && parseParams(state) && parseFragment(state);
  if (!whole) {
    // The marks the failed step left unset stand where it stopped.
    for (std::uint64_t& mark : state.marks) {
      if (mark == kUnset) mark = state.pos;
    }
    state.possibly_fragment = false;
  }
  state.marks[URL::kTail] = state.pos;
  state.marks[URL::kTail + 1] = state.text.size();
  out.text_ = text;
  out.marks_ = state.marks;
  out.possibly_fragment_ = state.possibly_fragment;
  return true;
}

bool SchemeBase::parseScheme(ParseState& state) const {
  const std::u16string_view name = extractSchemeName(state.text);
  if (name.empty()) {
    state.marks[URL::kScheme] = state.marks[URL::kSchemeColon] = state.pos;
    return true;
  }
  if (!name_.empty() && !detail::equal_nocase_ascii(name, name_)) return false;
  state.pos = skipSpaces(state.text, state.pos);
  state.marks[URL::kScheme] = state.pos;
  state.pos += name.size();
  if (state.pos >= state.text.size() || state.text[state.pos] != u':') return false;
  state.marks[URL::kSchemeColon] = state.pos;
  ++state.pos;
  return true;
}

bool SchemeBase::parseAuthority(ParseState& state) const {
  const std::u16string_view text = state.text;
  URL::Marks& m = state.marks;
  m[URL::kSlashes] = state.pos;
  const std::size_t start = state.pos + 2;
  char16_t volume = 0;
  std::size_t drive = start;
  if (toVolumePosition(text, volume, drive) && drive == start) {
    fill_marks(m, URL::kUser, URL::kPort, start);
    state.pos = start;
    return true;
  }
  // The authority runs to the path, the parameters, the fragment or the
  // first character that no authority may hold.
  std::size_t end = start;
  std::size_t at = npos;
  for (; end < text.size() && !has_class(text[end], kForbidden | kEndsAuthority); ++end) {
    if (text[end] == u'@' && at == npos) at = end;
  }
  if (at == npos) at = end;
  std::size_t host = start;
  m[URL::kUser] = start;
  if (at != end) {
    const std::size_t colon = find_unit(text, start, at, u':');
    m[URL::kPasswordColon] = colon;
    m[URL::kPassword] = colon == at ? at : colon + 1;
    m[URL::kAt] = at;
    host = at + 1;
  } else {
    fill_marks(m, URL::kPasswordColon, URL::kAt, start);
  }
  m[URL::kOpenBracket] = host;
  std::size_t after_host;
  if (host < end && text[host] == u'[') {
    m[URL::kHost] = host + 1;
    const std::size_t close = find_unit(text, host + 1, end, u']');
    if (close == end) {
      state.pos = host + 1;
      return false;
    }
    m[URL::kCloseBracket] = close;
    after_host = close + 1;
  } else {
    m[URL::kHost] = host;
    after_host = host;
    while (after_host < end && text[after_host] != u':' && text[after_host] != u'@') ++after_host;
    m[URL::kCloseBracket] = after_host;
  }
  m[URL::kPortColon] = after_host;
  state.pos = after_host;
  if (after_host < end && text[after_host] == u':') {
    m[URL::kPort] = after_host + 1;
    state.pos = find_unit(text, after_host + 1, end, u'@');
  } else {
    m[URL::kPort] = after_host;
  }
  // A second "@", text after "]", or a character no authority may hold.
  return state.pos == end && (end == text.size() || !isForbiddenInAuthority(text[end]));
}

bool SchemeBase::parsePath(ParseState& state) const {
  const std::u16string_view text = state.text;
  URL::Marks& m = state.marks;
  const std::size_t start = state.pos;
  // One pass to the end of the path, noting its last separator and dot.
  std::size_t end = start;
  std::size_t separator = npos;
  std::size_t dot = npos;
  for (; end < text.size(); ++end) {
    const char16_t unit = text[end];
    if (has_class(unit, kEndsPath)) break;
    if (isPathSeparator(unit)) {
      separator = end;
    } else if (unit == u'.') {
      dot = end;
    }
  }
  const std::size_t name = separator == npos ? start : separator + 1;
  if (dot == npos || dot < name) dot = end;
  m[URL::kDirectory] = start;
  m[URL::kSeparator] = separator == npos ? start : separator;
  m[URL::kName] = name;
  m[URL::kDot] = dot;
  m[URL::kExtension] = dot == end ? end : dot + 1;
  state.pos = end;
  return true;
}

bool SchemeBase::parseParams(ParseState& state) const {
  const std::u16string_view text = state.text;
  state.pos = skipSpaces(text, state.pos);
  state.marks[URL::kParamsMark] = state.pos;
  if (state.pos < text.size() && (text[state.pos] == u'?' || text[state.pos] == u';')) {
    state.pos = skipSpaces(text, state.pos + 1);
    state.marks[URL::kParams] = state.pos;
    state.pos = find_unit(text, state.pos, text.size(), u'#');
  } else {
    state.marks[URL::kParams] = state.pos;
  }
  return true;
}

bool SchemeBase::parseFragment(ParseState& state) const {
  const std::u16string_view text = state.text;
  state.pos = skipSpaces(text, state.pos);
  state.marks[URL::kHash] = state.pos;
  if (state.pos < text.size() && text[state.pos] == u'#') {
    state.pos = skipSpaces(text, state.pos + 1);
    state.marks[URL::kFragment] = state.pos;
    state.pos = text.size();
    state.possibly_fragment = state.marks[URL::kParamsMark] == state.marks[URL::kParams];
  } else {
    state.marks[URL::kFragment] = state.pos;
  }
  return true;
}

// --- SchemeBase: comparison and normal form ----------------------------------

bool SchemeBase::equalWithDefaultPort(const URL& a, const URL& b, std::u16string_view port,
                                      bool base_only) const {
  const auto port_of = [port](const URL& url) {
    const std::u16string_view own = url.partView(URL::kPort, 1);
    return own.empty() ? port : own;
  };
  return compare_nocase(a.partView(URL::kScheme, 1), b.partView(URL::kScheme, 1)) == 0 &&
         a.partView(URL::kSlashes, 5) == b.partView(URL::kSlashes, 5) &&
         compare_nocase(a.partView(URL::kAt, 4), b.partView(URL::kAt, 4)) == 0 &&
         port_of(a) == port_of(b) &&
         equal_paths(a.partView(URL::kDirectory, 5), b.partView(URL::kDirectory, 5)) &&
         (base_only || a.partView(URL::kParamsMark, 4) == b.partView(URL::kParamsMark, 4));
}

bool SchemeBase::IScheme_equal(const URL& a, const URL& b, bool base_only) const {
  return equalWithDefaultPort(a, b, default_port_, base_only);
}

URL SchemeBase::addDefaultPort(const URL& url, std::u16string_view port) {
  if (url.broken() || !url.partView(URL::kPort, 1).empty() ||
      url.partView(URL::kSlashes, 1).empty()) {
    return url;
  }
  String text;
  copyPart(url, URL::kScheme, URL::kPortColon, text);
  text += u':';
  text += port;
  copyPart(url, URL::kDirectory, URL::kPartCount - URL::kDirectory, text);
  return URL(text, false);
}

URL SchemeBase::IScheme_normalizeURL(const URL& url) const {
  if (url.broken() || url.empty()) return url;
  const auto lower = [](std::u16string_view part, String& out) {
    for (const char16_t unit : part) out += static_cast<char16_t>(u_tolower(unit));
  };
  String text;
  lower(url.partView(URL::kScheme, 1), text);
  copyPart(url, URL::kSchemeColon, URL::kOpenBracket - URL::kSchemeColon, text);
  lower(url.partView(URL::kOpenBracket, 3), text);
  const std::u16string_view port = url.partView(URL::kPort, 1);
  if (!port.empty() && port != default_port_) copyPart(url, URL::kPortColon, 2, text);
  const std::u16string_view path = detail::path_before_query(url);
  String resolved = detail::remove_dot_segments(path);
  if (resolved.empty() && !url.partView(URL::kSlashes, 1).empty()) resolved = u"/";
  text += resolved;
  text += detail::query_and_fragment(url);
  return URL(text, false);
}

// --- SchemeBase: resources ---------------------------------------------------

InterfacePtr<IFile> SchemeBase::IScheme_openURL(const URL& url, FileMode /*mode*/) const {
  throw FileException(FileException::Error::BadScheme, url.text(), false, url, URL());
}

void SchemeBase::IScheme_createDirectory(const URL& /*url*/) const {
  throw UnsupportedOperationException(__FILE__, __LINE__, u"SchemeBase::IScheme_createDirectory");
}

void SchemeBase::IScheme_remove(const URL& /*url*/, const String& /*name*/) const {
  throw UnsupportedOperationException(__FILE__, __LINE__, u"SchemeBase::IScheme_remove");
}

void SchemeBase::IScheme_move(const URL& /*from*/, const URL& /*to*/) const {
  throw UnsupportedOperationException(__FILE__, __LINE__, u"SchemeBase::IScheme_move");
}

// --- The registry ------------------------------------------------------------

// An immutable list of the registered schemes. Lookups read the current one
// without a lock; a change publishes a new list and keeps the old ones, since
// a reader may still be scanning them.
struct SchemeRegistry::Table {
  std::vector<std::pair<String, IScheme*>> entries;
};

struct SchemeRegistry::State {
  std::atomic<const Table*> current{nullptr};
  detail::Mutex mutex;
  std::vector<std::unique_ptr<Table>> tables CORE_GUARDED_BY(mutex);
  std::vector<InterfacePtr<IScheme>> schemes CORE_GUARDED_BY(mutex);
};

SchemeRegistry::SchemeRegistry() : state_(new State) {
  registerScheme(InterfacePtr<IScheme>(new FileScheme(u"file")));
  registerScheme(InterfacePtr<IScheme>(new FileScheme(u"sfile")));
  registerScheme(InterfacePtr<IScheme>(new GenericScheme(u"http", true, u"80")));
  registerScheme(InterfacePtr<IScheme>(new GenericScheme(u"https", true, u"443")));
  registerScheme(InterfacePtr<IScheme>(new GenericScheme(u"ftp", true, u"21")));
  for (const StorageVariant variant :
       {StorageVariant::Storage32, StorageVariant::Storage32_64, StorageVariant::Storage64}) {
    registerScheme(detail::make_storage_scheme(variant));
  }
}

SchemeRegistry& SchemeRegistry::instance() {
  // Never destroyed: schemes of other modules must not be released after
  // their modules are gone.
  static SchemeRegistry* const registry = new SchemeRegistry;
  return *registry;
}

void SchemeRegistry::registerScheme(InterfacePtr<IScheme> scheme) {
  if (!scheme) throw IllegalArgumentException(String(u"null scheme"));
  const String name = scheme->IScheme_schemeName();
  if (name.empty()) throw IllegalArgumentException(String(u"empty scheme name"));
  detail::MutexLock lock(state_->mutex);
  auto table = std::make_unique<Table>();
  if (const Table* current = state_->current.load(std::memory_order_acquire)) {
    for (const auto& entry : current->entries) {
      if (compare_nocase(entry.first, name) != 0) table->entries.push_back(entry);
    }
  }
  table->entries.emplace_back(name, scheme.get());
  state_->schemes.push_back(std::move(scheme));
  state_->current.store(table.get(), std::memory_order_release);
  state_->tables.push_back(std::move(table));
}

bool SchemeRegistry::unregisterScheme(std::u16string_view name) {
  detail::MutexLock lock(state_->mutex);
  const Table* current = state_->current.load(std::memory_order_acquire);
  auto table = std::make_unique<Table>();
  for (const auto& entry : current->entries) {
    if (compare_nocase(entry.first, name) != 0) table->entries.push_back(entry);
  }
  if (table->entries.size() == current->entries.size()) return false;
  state_->current.store(table.get(), std::memory_order_release);
  state_->tables.push_back(std::move(table));
  return true;
}

IScheme* SchemeRegistry::find(std::u16string_view name) const noexcept {
  const Table* table = state_->current.load(std::memory_order_acquire);
  for (const auto& [entry_name, scheme] : table->entries) {
    if (detail::equal_nocase_ascii(entry_name, name)) return scheme;
  }
  return nullptr;
}

IScheme* SchemeRegistry::schemeOf(const URL& url) const {
  const std::u16string_view name = url.partView(URL::kScheme, 1);
  IScheme* scheme = name.empty() ? nullptr : find(name);
  if (scheme == nullptr) {
    throw FileException(FileException::Error::BadScheme, url.text(), false, url, URL());
  }
  return scheme;
}

InterfacePtr<IFile> SchemeRegistry::openURL(const URL& url, FileMode mode) const {
  return schemeOf(url)->IScheme_openURL(url, mode);
}

void SchemeRegistry::remove(const URL& url) const { schemeOf(url)->IScheme_remove(url, String()); }

void SchemeRegistry::move(const URL& from, const URL& to) const {
  IScheme* scheme = schemeOf(from);
  if (schemeOf(to) != scheme) {
    throw FileException(FileException::Error::CopyMove, from.text(), false, from, to);
  }
  scheme->IScheme_move(from, to);
}

namespace detail {

const IScheme& scheme_for_name(std::u16string_view name) noexcept {
  if (!name.empty()) {
    if (const IScheme* scheme = SchemeRegistry::instance().find(name)) return *scheme;
  }
  return generic_scheme();
}

}  // namespace detail

bool remove_file_with_wait(const URL& url) {
  return with_wait([&url] { SchemeRegistry::instance().remove(url); });
}

bool move_file_with_wait(const URL& from, const URL& to) {
  return with_wait([&from, &to] { SchemeRegistry::instance().move(from, to); });
}

}  // namespace core
