// Schemes of URLs: the scheme interface, SchemeBase with the generic grammar,
// the process-wide registry that dispatches by scheme name, and the removal
// and move of files that other processes may hold open.
//
// A module adds its schemes once, at start-up:
//
//   class StorageScheme : public core::SchemeBase {
//    public:
//     StorageScheme() : SchemeBase(u"q9stg", true) {}
//     core::InterfacePtr<core::IFile> IScheme_openURL(const core::URL& url,
//                                                     core::FileMode mode) const override;
//   };
//   core::SchemeRegistry::instance().registerScheme(
//       core::InterfacePtr<core::IScheme>(new StorageScheme));
//   auto file = core::SchemeRegistry::instance().openURL(
//       core::URL(u"q9stg://c:/base.st"), core::FileMode::Read);
//
// The library registers "file" and "sfile" (files of the operating system;
// see FileMode for the modes) and "http", "https" and "ftp" (generic grammar,
// default ports 80, 443 and 21, nothing to open). Names are compared ignoring
// case. Names nobody registered are parsed by the generic grammar, so every
// URL has parts; only opening, removing and moving need a registered scheme.
// Reserved sets: "file", "sfile" and the generic grammar always escape "#"
// (a "#" in a file name must not read as a fragment); "http", "https" and
// "ftp" let the caller's flag choose, so a fragment can keep its "#".
//
// Thread safety: scheme objects hold no per-call state and are used from any
// thread. The registry may be read and changed from any thread; lookups take
// no lock. A registered scheme stays alive until the process ends, even
// after unregisterScheme, so a scheme found by a lookup never dangles.
#ifndef CORE_SCHEME_H_
#define CORE_SCHEME_H_

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/io.h"
#include "core/iunknown.h"
#include "core/string.h"
#include "core/url.h"

namespace core {

// How IScheme_openURL opens a resource. Every mode but Read gives a file
// that can be read and written.
enum class FileMode : int32_t {
  Read = 0,       // an existing file, read only, positioned at its start
  Write = 1,      // an existing file, kept as it is, positioned at its start
  Create = 2,     // created when missing, emptied when present
  Append = 3,     // created when missing, kept, positioned at its end
  CreateNew = 4,  // created; refused when it exists
};

// The operations every scheme offers. Implement it through SchemeBase.
class IScheme : public IUnknown {
 public:
  // {4E0B7A3C-91D2-4F58-A6C1-3B7E2D90F516}
  static constexpr GUID kIid = {
      0x4E0B7A3C, 0x91D2, 0x4F58, {0xA6, 0xC1, 0x3B, 0x7E, 0x2D, 0x90, 0xF5, 0x16}};

  // The scheme's name, compared ignoring case.
  virtual String IScheme_schemeName() const = 0;
  // Parses `text` into `out` and returns true; false, with `out` unchanged,
  // when the text names another scheme, or names none and `relative_allowed`
  // is false.
  virtual bool IScheme_parseURL(const String& text, bool relative_allowed, URL& out) const = 0;
  virtual URL IScheme_normalizeURL(const URL& url) const = 0;
  // Whether `a` and `b` name the same resource; with `base_only` the
  // parameters and the fragment are ignored.
  virtual bool IScheme_equal(const URL& a, const URL& b, bool base_only) const = 0;
  // The URL text that names the path `path` of this scheme.
  virtual String IScheme_createURLString(const String& path) const = 0;
  // `text` with the reserved symbols (chosen by `full_set`) and "%" escaped.
  virtual String IScheme_escape(std::u16string_view text, bool full_set) const = 0;
  virtual void IScheme_reservedSymbols(std::vector<char16_t>& out, bool full_set) const = 0;
  // The resource opened as a file. Throws FileException.
  virtual InterfacePtr<IFile> IScheme_openURL(const URL& url, FileMode mode) const = 0;
  virtual void IScheme_createDirectory(const URL& url) const = 0;
  // Removes the entry `name` of the directory `url`, or `url` itself when
  // `name` is empty.
  virtual void IScheme_remove(const URL& url, const String& name) const = 0;
  // Renames the resource `from` to `to` (both of this scheme).
  virtual void IScheme_move(const URL& from, const URL& to) const = 0;

 protected:
  ~IScheme() override = default;
};

// The generic grammar of a URL and the default answers of every operation.
// Concrete schemes derive from it and override single parse steps or
// operations.
//
// Choices of the generic grammar:
// - An authority ends at "/", "\", "?", ";", "#" or the end, also when one
//   stands at the very start of a segment ("http:///x" has an empty host).
//   Of the other reserved characters only ":", "@", "[" and "]" mean
//   anything there; "*", "&" and "=" belong to the name. The login ends
//   at the first "@"; its first ":" parts user and password. A second "@",
//   a character of kForbiddenInAuthority, or anything but ":" after the host
//   stops the parse: the rest of the text is the broken tail (part 21).
// - After "//", a drive ("C:" then a separator or the end) is no host: the
//   authority is empty and the path starts at the drive.
// - A text without a scheme that starts with "//" has its authority parsed
//   too (a network-path reference, as combine needs it).
// - IScheme_equal: scheme and host ignoring case, an absent port equal to
//   defaultPort(), "/" and "\" alike, a final separator of the path ignored
//   (so "http://h" equals "http://h/"), everything else exact.
class CORE_EXPORT SchemeBase : public UnknownImpl<IScheme> {
 public:
  // Characters that end an authority as broken: controls, space, DEL and
  // '"', '<', '>', '^', '`', '{', '|', '}'.
  static bool isForbiddenInAuthority(char16_t unit) noexcept;

  String IScheme_schemeName() const override { return name_; }
  bool IScheme_parseURL(const String& text, bool relative_allowed, URL& out) const override;
  URL IScheme_normalizeURL(const URL& url) const override;
  bool IScheme_equal(const URL& a, const URL& b, bool base_only) const override;
  // "scheme:" followed by `path` with "%" and the reserved symbols other
  // than the path separators escaped.
  String IScheme_createURLString(const String& path) const override;
  String IScheme_escape(std::u16string_view text, bool full_set) const override;
  void IScheme_reservedSymbols(std::vector<char16_t>& out, bool full_set) const override;
  // Throws FileException (code 15, "IDS_FERR_BADSCHEME"): nothing to open.
  InterfacePtr<IFile> IScheme_openURL(const URL& url, FileMode mode) const override;
  // Throw UnsupportedOperationException ("IDS_ERR_UNSUPPORTED_OPERATION")
  // whose location names "SchemeBase::IScheme_createDirectory",
  // "SchemeBase::IScheme_remove" or "SchemeBase::IScheme_move".
  void IScheme_createDirectory(const URL& url) const override;
  void IScheme_remove(const URL& url, const String& name) const override;
  void IScheme_move(const URL& from, const URL& to) const override;

  // The reserved set as a String: "/\;?*:@&=[]#" when the attribute
  // fullReservedSet() is false or `full_set` is true, else without "#".
  String reservedSymbols(bool full_set) const;
  // "/" and "\".
  static void pathSeparator(std::vector<char16_t>& out);
  static bool isPathSeparator(char16_t unit) noexcept { return unit == u'/' || unit == u'\\'; }
  // The attribute that lets the call's flag choose the reserved set.
  bool flagChoosesReservedSet() const noexcept { return flag_chooses_set_; }
  // The port an absent port stands for; empty when the scheme has none.
  const String& defaultPort() const noexcept { return default_port_; }

  // `url` with its port spelled out when it has none.
  static URL addDefaultPort(const URL& url, std::u16string_view port);
  // IScheme_equal with an absent port taken as `port`.
  bool equalWithDefaultPort(const URL& a, const URL& b, std::u16string_view port,
                            bool base_only) const;

  // The position of the first unit at or after `pos` that is no white space.
  static std::size_t skipSpaces(std::u16string_view text, std::size_t pos) noexcept;
  // The path segment that starts at `pos`, up to the next separator (with
  // it when `with_separator`); `pos` moves past the separator.
  static std::u16string_view getNextPathSegment(std::u16string_view text, std::size_t& pos,
                                                bool with_separator) noexcept;
  // Appends `count` parts of `url` from part `first` on to `out`.
  static void copyPart(const URL& url, std::size_t first, std::size_t count, String& out);
  // True when a drive ("C:" followed by a separator or the end) stands at
  // `pos`, after at most one separator; then `volume` is the drive letter
  // and `pos` the letter's position. Otherwise false, both unchanged.
  static bool toVolumePosition(std::u16string_view text, char16_t& volume,
                               std::size_t& pos) noexcept;
  // The scheme name at the start of `text` (after white space): the longest
  // run of letters, digits, "+", "-" and "." followed by ":", if it is longer
  // than one character; else empty. A view into `text`.
  static std::u16string_view extractSchemeName(std::u16string_view text) noexcept;

 protected:
  // `name` empty: the generic grammar, which accepts any scheme name.
  // `flag_chooses_set`: see reservedSymbols. `default_port`: see
  // defaultPort().
  explicit SchemeBase(String name, bool flag_chooses_set = false, String default_port = String());
  ~SchemeBase() override = default;

  // The parser's state: the text, the cursor and the marks set so far.
  struct ParseState {
    std::u16string_view text;
    std::size_t pos = 0;
    URL::Marks marks{};
    bool possibly_fragment = false;
  };
  // Each step sets its marks and moves the cursor; a step that returns
  // false stops the parse, and the rest of the text becomes the tail.
  virtual bool parseScheme(ParseState& state) const;
  virtual bool parseAuthority(ParseState& state) const;
  virtual bool parsePath(ParseState& state) const;
  virtual bool parseParams(ParseState& state) const;
  virtual bool parseFragment(ParseState& state) const;

 private:
  String name_;
  bool flag_chooses_set_;
  String default_port_;
};

// The process-wide table of schemes.
class CORE_EXPORT SchemeRegistry {
 public:
  static SchemeRegistry& instance();

  // Adds `scheme` under its name, replacing a scheme of the same name.
  // Throws IllegalArgumentException ("IDS_ERR_ILLEGAL_ARGUMENT") for a null
  // scheme or an empty name.
  void registerScheme(InterfacePtr<IScheme> scheme);
  // Removes the scheme of that name from the lookups; false if none.
  bool unregisterScheme(std::u16string_view name);
  // The scheme registered under `name` (case ignored), or null. The pointer
  // stays valid for the life of the process.
  IScheme* find(std::u16string_view name) const noexcept;
  // The scheme of `url`'s scheme name.
  // Throws FileException (code 15, "IDS_FERR_BADSCHEME") when none is
  // registered.
  IScheme* schemeOf(const URL& url) const;

  // IScheme_openURL of the URL's scheme.
  InterfacePtr<IFile> openURL(const URL& url, FileMode mode) const;
  // IScheme_remove of the URL's scheme.
  void remove(const URL& url) const;
  // IScheme_move of the scheme of both URLs. Throws FileException (code 3,
  // "IDS_FERROR_COPY_MOVE") when their schemes differ.
  void move(const URL& from, const URL& to) const;

  SchemeRegistry(const SchemeRegistry&) = delete;
  SchemeRegistry& operator=(const SchemeRegistry&) = delete;

 private:
  SchemeRegistry();
  ~SchemeRegistry() = delete;
  struct Table;
  struct State;
  State* state_;
};

// Remove or move through the registry, retrying while the file is held:
// up to 10 attempts; after an attempt that throws FileException the thread
// pauses 100 ms registered with rivet's monitor of suspended threads. A
// FileException of code 7 ("IDS_FERROR_FILENOTFOUND") is thrown at once;
// other exceptions pass through. True after the first attempt that
// succeeds, false after 10 failures.
CORE_EXPORT bool remove_file_with_wait(const URL& url);
CORE_EXPORT bool move_file_with_wait(const URL& from, const URL& to);

}  // namespace core

#endif  // CORE_SCHEME_H_
