// The library's exceptions: the base class Exception, the interface that
// wraps one for chaining, and the building of descriptions.
//
// Every failure of the library is thrown, by value, as an Exception or one of
// its subclasses (declared in core/exception_classes.h; include it to throw
// or catch a particular class). An exception carries the identifier of its class (`clsid`,
// which survives the trip to another process), a complete description, an
// optional cause, a set of categories and stack traces.
//
//   try {
//     core::Locale locale(u"xx_YY");
//   } catch (const core::Exception& e) {
//     if (e.clsid() == core::LocaleException::kClsid) log(e.descr());
//   }
//
// Exception is a plain value class: no virtual functions, a non-virtual
// destructor; subclasses add data members and constructors only. Catch by
// reference and tell classes apart by clsid() when the static type is lost
// (for example in a cause chain).
//
// Thread safety: an exception may be passed between threads; copies share the
// cause and the exception counter through atomic reference counts. Only
// descr(text), inner(cause) and setOnClientFromServer() change an exception,
// and they must not race with other uses of the same object.
#ifndef CORE_EXCEPTION_H_
#define CORE_EXCEPTION_H_

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/iunknown.h"
#include "core/ref_ptr.h"
#include "core/string.h"

namespace core {

class Exception;
class ExceptionsCount;
class IInPersistenceStorage;
class IOutPersistenceStorage;

namespace platform {
class StackTrace;
}  // namespace platform

// A reference-counted wrapper of one Exception, the form in which causes are
// chained and exceptions cross module boundaries.
class IExceptionObject : public IUnknown {
 public:
  // {3E2F4D71-59CE-4820-A742-020D1BA5E108}
  static constexpr GUID kIid = {
      0x3E2F4D71, 0x59CE, 0x4820, {0xA7, 0x42, 0x02, 0x0D, 0x1B, 0xA5, 0xE1, 0x08}};

  // The wrapped exception; it lives as long as the wrapper.
  virtual const Exception& exception() const = 0;

 protected:
  ~IExceptionObject() override = default;
};

// Offered by exception objects that can write the exception they wrap,
// whole: the library's own objects (Exception::object() and the object() of
// each class) offer it. A cause that does not is left out when its chain is
// written.
class ISerializableException : public IUnknown {
 public:
  // {45B81B41-9540-11D4-9427-008048DA11F9}
  static constexpr GUID kIid = {
      0x45B81B41, 0x9540, 0x11D4, {0x94, 0x27, 0x00, 0x80, 0x48, 0xDA, 0x11, 0xF9}};

  // Writes the wrapped exception as the serialize() of its class does: the
  // list of its Exception part, then the list of the class's own fields when
  // it has any.
  virtual void serialize(IOutPersistenceStorage* storage) const = 0;

 protected:
  ~ISerializableException() override = default;
};

// An exception being rebuilt from a storage: its Exception part and, when
// not null, the storage whose next list holds the class's own fields. The
// classes with fields of their own take it in the constructor that the
// reader of causes uses.
struct ExceptionPart {
  const Exception& base;
  IInPersistenceStorage* own_fields = nullptr;
};

class CORE_EXPORT Exception {
 public:
  // {F6F167A0-DCC9-49AD-8F8E-2C9D9904E4FE}
  static constexpr GUID kClsid = {
      0xF6F167A0, 0xDCC9, 0x49AD, {0x8F, 0x8E, 0x2C, 0x9D, 0x99, 0x04, 0xE4, 0xFE}};

  static constexpr std::size_t kCategoryCount = 18;
  using Categories = std::bitset<kCategoryCount>;

  // The categories of exceptions, one bit each in categories(). Each value is
  // presented to users by the identifier in its comment
  // (categoryPresentationId()). "IDS_ENUM_EXCEPTIONCATEGORY_ALL" presents the
  // filter that matches every category; it is not a bit.
  enum class Category : uint32_t {
    Other = 0,                // IDS_ENUM_EXCEPTIONCATEGORY_OTHER
    LocalFile = 1,            // IDS_ENUM_EXCEPTIONCATEGORY_LOCALFILE
    Application = 2,          // IDS_ENUM_EXCEPTIONCATEGORY_APPLICATION
    OsPermissionDenied = 3,   // IDS_ENUM_EXCEPTIONCATEGORY_OSPERMISSIONDENIED
    ZelCompile = 4,           // IDS_ENUM_EXCEPTIONCATEGORY_ZELCOMPILE
    ZelRuntime = 5,           // IDS_ENUM_EXCEPTIONCATEGORY_ZELRUNTIME
    ZelUsage = 6,             // IDS_ENUM_EXCEPTIONCATEGORY_ZELUSAGE
    Access = 7,               // IDS_ENUM_EXCEPTIONCATEGORY_ACCESS
    DbCopies = 8,             // IDS_ENUM_EXCEPTIONCATEGORY_DBCOPIES
    DbData = 9,               // IDS_ENUM_EXCEPTIONCATEGORY_DBDATA
    Dcs = 10,                 // IDS_ENUM_EXCEPTIONCATEGORY_DCS
    Ecs = 11,                 // IDS_ENUM_EXCEPTIONCATEGORY_ECS
    ExternalDataSource = 12,  // IDS_ENUM_EXCEPTIONCATEGORY_EXTERNALDATASOURCE
    FullTextSearch = 13,      // IDS_ENUM_EXCEPTIONCATEGORY_FTEXTSEARCH
    Inet = 14,                // IDS_ENUM_EXCEPTIONCATEGORY_INET
    Navigator = 15,           // IDS_ENUM_EXCEPTIONCATEGORY_NAVIGATOR
    Printer = 16,             // IDS_ENUM_EXCEPTIONCATEGORY_PRINTER
    Seance = 17,              // IDS_ENUM_EXCEPTIONCATEGORY_SEANCE
  };

  // The set holding only `category`; empty for a value above 17.
  static constexpr Categories categoryOf(Category category) noexcept {
    const auto bit = static_cast<uint32_t>(category);
    return Categories(bit < kCategoryCount ? 1ull << bit : 0ull);
  }
  // The union of categoryOf() of every listed value.
  static constexpr Categories categoryOf(std::initializer_list<Category> categories) noexcept {
    unsigned long long bits = 0;
    for (const Category category : categories) bits |= categoryOf(category).to_ullong();
    return Categories(bits);
  }
  // The presentation identifier of `category` (see Category), or null for a
  // value above 17.
  static const char* categoryPresentationId(Category category) noexcept;

  // A plain exception with the description `descr` (a null pointer gives the
  // empty description) and the cause `inner` (acquired; may be null); no
  // categories, a zero uiHelperUUID and no carried stack trace.
  explicit Exception(const char16_t* descr, IExceptionObject* inner = nullptr);
  explicit Exception(const String& descr, IExceptionObject* inner = nullptr);
  // The same with every field given. `stackTrace` is a trace carried from
  // where the exception was first raised (for example by another process).
  Exception(const String& descr, IExceptionObject* inner, const GUID& ui_helper_uuid,
            const Categories& categories, const String& stack_trace);

  // Copies share the cause, the captured trace and the exception counter.
  Exception(const Exception& other) noexcept;
  Exception(Exception&& other) noexcept;
  Exception& operator=(const Exception& other) noexcept;
  Exception& operator=(Exception&& other) noexcept;
  ~Exception();

  const GUID& clsid() const noexcept { return clsid_; }
  const String& descr() const noexcept { return descr_; }
  void descr(const String& text) noexcept { descr_ = text; }
  // The cause, or null.
  InterfacePtr<IExceptionObject> inner() const noexcept { return inner_; }
  // Replaces the cause; the new one is acquired before the old one is
  // released, so handing back the current cause is safe.
  void inner(IExceptionObject* cause) noexcept { inner_.reset(cause); }
  const Categories& categories() const noexcept { return categories_; }
  const GUID& uiHelperUUID() const noexcept { return ui_helper_uuid_; }
  // The trace carried from where the exception was raised; empty for an
  // exception raised in this process.
  const String& stackTrace() const noexcept { return stack_trace_; }
  // The carried trace after setOnClientFromServer(); empty before.
  const String& serverStackTrace() const noexcept { return server_stack_trace_; }
  // The call stack captured at construction, one line per frame (innermost
  // first, at most 100 frames, names demangled where the module exports
  // them). A trace is captured only when the exception has no cause and no
  // carried trace; the text is empty otherwise.
  std::string creationStackTrace() const;

  // Marks an exception received from a server: a non-empty carried trace
  // moves to serverStackTrace() and, when there is no cause, the local stack
  // is captured in its place. Then, in every case, the categories LocalFile
  // (1) and OsPermissionDenied (3) are cleared: they describe the server's
  // machine, not this one.
  void setOnClientFromServer() noexcept;

  // A new wrapper holding a copy of this exception (of its Exception part:
  // the clsid, and so the class, is kept; a subclass's extra data is not, so
  // a class with its own fields has an object() of its own that keeps them).
  // The wrapper offers ISerializableException. Throws std::bad_alloc only.
  InterfacePtr<IExceptionObject> object() const;

  // Writes the exception as one list: clsid, descr, the cause, the stack
  // trace (the carried one, else the creation trace), the categories as 18
  // characters "0"/"1" (highest first) and uiHelperUUID. The cause is written
  // by itself through ISerializableException (its list and, for a class
  // with its own fields, the list of those fields); no cause is a list
  // holding only the zero GUID; a cause that does not offer the interface is
  // left out, list and all. Only the Exception part of this exception is
  // written: a subclass's own data is written by the subclass's serialize().
  void serialize(IOutPersistenceStorage* storage) const;
  // Replaces this exception by one read from that form; the class
  // identifier read becomes clsid(), the trace read the carried stackTrace().
  // A cause of a library class with its own fields is rebuilt as that class,
  // those fields included, so that writing it again gives the same form.
  // Malformed data (causes nested deeper than 64, and own fields of a class
  // the library does not know, included) throws `ListStreamException`
  // ("IDS_LISTSTREAMERROR").
  void deserialize(IInPersistenceStorage* storage);

 protected:
  // A copy of `part.base`, for the subclasses' constructors from a part.
  explicit Exception(const ExceptionPart& part) noexcept : Exception(part.base) {}
  // For subclasses: every subclass constructor ends in one of these with its
  // own clsid.
  Exception(const GUID& clsid, const char16_t* descr, IExceptionObject* inner,
            const GUID& ui_helper_uuid = GUID{}, const Categories& categories = Categories(),
            const String& stack_trace = String());
  Exception(const GUID& clsid, const String& descr, IExceptionObject* inner,
            const GUID& ui_helper_uuid = GUID{}, const Categories& categories = Categories(),
            const String& stack_trace = String());

 private:
  // Takes the calling thread's exception counter and counts this exception.
  void countOnThread();
  // Captures the creation trace when there is neither a cause nor a carried
  // trace.
  void initStackTrace() noexcept;

  GUID clsid_;
  String descr_;
  InterfacePtr<IExceptionObject> inner_;
  RefPtr<const platform::StackTrace> creation_trace_;
  String stack_trace_;
  String server_stack_trace_;
  Categories categories_;
  GUID ui_helper_uuid_;
  RefPtr<ExceptionsCount> exceptions_count_;
};

// Builds a description from a message text and extra detail: `text` alone
// when `extra` is empty; empty when `text` is empty, whatever `extra` holds;
// otherwise `text`, one line feed (U+000A) and `extra`.
CORE_EXPORT String format_exception_descr(const String& text, const String& extra);
// The description above followed by the source location
// "\n[<file> - <where> (<line>)]"; the file name is read as UTF-8, a null
// `file` or `where` counts as empty. The location is appended even when the
// description is empty.
CORE_EXPORT String format_exception_descr(const char* file, unsigned line, const char16_t* where,
                                          const String& text, const String& extra);

// The first object of the cause chain starting at `chain` (the chain itself
// included) whose exception has the class `clsid`, acquired; null when none
// has, or when `chain` is null.
CORE_EXPORT InterfacePtr<IExceptionObject> get_exception_object(IExceptionObject* chain,
                                                                const GUID& clsid);

}  // namespace core

#endif  // CORE_EXCEPTION_H_
