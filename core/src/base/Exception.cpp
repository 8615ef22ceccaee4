// Implements core/exception.h and the exception tree, handling and parameter errors.
#include "core/exception.h"

#include <unicode/utypes.h>

#include <atomic>
#include <cstdio>
#include <exception>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>

#include "core/exception_classes.h"
#include "core/exception_handling.h"
#include "core/iunknown.h"
#include "core/messages.h"
#include "core/parameter_errors.h"
#include "core/scom.h"
#include "internal/exception_object.h"
#include "internal/thread_annotations.h"
#include "platform/stack_trace.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>
#define CORE_NOINLINE __declspec(noinline)
#else
#define CORE_NOINLINE __attribute__((noinline))
#endif

namespace core {
namespace {

constexpr const char* kCategoryPresentationIds[Exception::kCategoryCount] = {
    "IDS_ENUM_EXCEPTIONCATEGORY_OTHER",
    "IDS_ENUM_EXCEPTIONCATEGORY_LOCALFILE",
    "IDS_ENUM_EXCEPTIONCATEGORY_APPLICATION",
    "IDS_ENUM_EXCEPTIONCATEGORY_OSPERMISSIONDENIED",
    "IDS_ENUM_EXCEPTIONCATEGORY_ZELCOMPILE",
    "IDS_ENUM_EXCEPTIONCATEGORY_ZELRUNTIME",
    "IDS_ENUM_EXCEPTIONCATEGORY_ZELUSAGE",
    "IDS_ENUM_EXCEPTIONCATEGORY_ACCESS",
    "IDS_ENUM_EXCEPTIONCATEGORY_DBCOPIES",
    "IDS_ENUM_EXCEPTIONCATEGORY_DBDATA",
    "IDS_ENUM_EXCEPTIONCATEGORY_DCS",
    "IDS_ENUM_EXCEPTIONCATEGORY_ECS",
    "IDS_ENUM_EXCEPTIONCATEGORY_EXTERNALDATASOURCE",
    "IDS_ENUM_EXCEPTIONCATEGORY_FTEXTSEARCH",
    "IDS_ENUM_EXCEPTIONCATEGORY_INET",
    "IDS_ENUM_EXCEPTIONCATEGORY_NAVIGATOR",
    "IDS_ENUM_EXCEPTIONCATEGORY_PRINTER",
    "IDS_ENUM_EXCEPTIONCATEGORY_SEANCE",
};

// The identifier of an enumeration value in a table ordered by value; null
// (which loads the empty text) for a value outside the enumeration.
template <class Enum, std::size_t N>
const char* message_id(const char* const (&ids)[N], Enum value) noexcept {
  const auto index = static_cast<std::underlying_type_t<Enum>>(value);
  return index >= 0 && static_cast<std::size_t>(index) < N ? ids[index] : nullptr;
}

// The category of every parameter and context error the library raises.
constexpr Exception::Categories kUsage = Exception::categoryOf(Exception::Category::ZelUsage);

String describe(const char* id, const String& extra) {
  return format_exception_descr(load_core_wstring(id), extra);
}

String describe(const char* id, const char* file, unsigned line, const char16_t* where,
                const String& extra) {
  return format_exception_descr(file, line, where, load_core_wstring(id), extra);
}

}  // namespace

// ---------------------------------------------------------------------------
// Exception

const char* Exception::categoryPresentationId(Category category) noexcept {
  const auto index = static_cast<uint32_t>(category);
  return index < kCategoryCount ? kCategoryPresentationIds[index] : nullptr;
}

Exception::Exception(const char16_t* descr, IExceptionObject* inner)
    : Exception(kClsid, descr, inner) {}

Exception::Exception(const String& descr, IExceptionObject* inner)
    : Exception(kClsid, descr, inner) {}

Exception::Exception(const String& descr, IExceptionObject* inner, const GUID& ui_helper_uuid,
                     const Categories& categories, const String& stack_trace)
    : Exception(kClsid, descr, inner, ui_helper_uuid, categories, stack_trace) {}

// Both base constructors do their own work rather than delegate, so that each
// adds exactly one frame under initStackTrace().
Exception::Exception(const GUID& clsid, const char16_t* descr, IExceptionObject* inner,
                     const GUID& ui_helper_uuid, const Categories& categories,
                     const String& stack_trace)
    : clsid_(clsid),
      descr_(descr),
      inner_(inner),
      stack_trace_(stack_trace),
      categories_(categories),
      ui_helper_uuid_(ui_helper_uuid) {
  countOnThread();
  initStackTrace();
}

Exception::Exception(const GUID& clsid, const String& descr, IExceptionObject* inner,
                     const GUID& ui_helper_uuid, const Categories& categories,
                     const String& stack_trace)
    : clsid_(clsid),
      descr_(descr),
      inner_(inner),
      stack_trace_(stack_trace),
      categories_(categories),
      ui_helper_uuid_(ui_helper_uuid) {
  countOnThread();
  initStackTrace();
}

Exception::Exception(const Exception& other) noexcept = default;
Exception::Exception(Exception&& other) noexcept = default;
Exception& Exception::operator=(const Exception& other) noexcept = default;
Exception& Exception::operator=(Exception&& other) noexcept = default;
Exception::~Exception() = default;

void Exception::countOnThread() {
  ExceptionsCount& count = SCOM_Context::current().exceptionsCount();
  exceptions_count_.reset(&count);
  count.increment();
}

CORE_NOINLINE void Exception::initStackTrace() noexcept {
  if (inner_ || !stack_trace_.empty()) return;
  // Three frames belong to the exception itself: the capture, this function
  // and its caller. The capture leaves its own frame out.
  creation_trace_.reset(platform::StackTrace::capture(2));
}

std::string Exception::creationStackTrace() const {
  return creation_trace_ ? creation_trace_->render() : std::string();
}

void Exception::setOnClientFromServer() noexcept {
  if (!stack_trace_.empty()) {
    server_stack_trace_ = std::move(stack_trace_);
    stack_trace_.clear();
    initStackTrace();
  }
  categories_.reset(static_cast<std::size_t>(Category::LocalFile));
  categories_.reset(static_cast<std::size_t>(Category::OsPermissionDenied));
}

InterfacePtr<IExceptionObject> Exception::object() const {
  return detail::make_exception_object(*this);
}

String format_exception_descr(const String& text, const String& extra) {
  if (text.empty() || extra.empty()) return text;
  String descr = text;
  descr += u'\n';
  descr += extra;
  return descr;
}

String format_exception_descr(const char* file, unsigned line, const char16_t* where,
                              const String& text, const String& extra) {
  String descr = format_exception_descr(text, extra);
  const String file_name = file == nullptr ? String() : String::fromUtf8(file);
  descr += format_message(u"\n[%s - %s (%d)]", {file_name, where, line});
  return descr;
}

InterfacePtr<IExceptionObject> get_exception_object(IExceptionObject* chain, const GUID& clsid) {
  InterfacePtr<IExceptionObject> current(chain);
  while (current) {
    const Exception& e = current->exception();
    if (e.clsid() == clsid) return current;
    current = e.inner();
  }
  return current;
}

// ---------------------------------------------------------------------------
// The class tree

// The four description shapes of a class whose identifier is `id`, an
// expression that may use the leading argument `name`. The trailing
// arguments initialise the class's own members.
#define CORE_DEFINE_SHAPES_WITH(Class, Type, name, id, ...)                           \
  Class::Class(Type name, IExceptionObject* inner)                                    \
      : Exception(kClsid, describe(id, String()), inner) __VA_OPT__(, __VA_ARGS__) {} \
  Class::Class(Type name, const String& extra, IExceptionObject* inner)               \
      : Exception(kClsid, describe(id, extra), inner) __VA_OPT__(, __VA_ARGS__) {}    \
  Class::Class(Type name, const char* file, unsigned line, const char16_t* where,     \
               IExceptionObject* inner)                                               \
      : Exception(kClsid, describe(id, file, line, where, String()), inner)           \
            __VA_OPT__(, __VA_ARGS__) {}                                              \
  Class::Class(Type name, const char* file, unsigned line, const char16_t* where,     \
               const String& extra, IExceptionObject* inner)                          \
      : Exception(kClsid, describe(id, file, line, where, extra), inner)              \
            __VA_OPT__(, __VA_ARGS__) {}

// The four shapes of a parameter or context error, given its identifier: the
// library raises every one of them in the category ZelUsage.
#define CORE_DEFINE_USAGE_SHAPES(Class)                                                            \
  Class::Class(const char* message_id, IExceptionObject* inner)                                    \
      : Exception(kClsid, describe(message_id, String()), inner, GUID{}, kUsage) {}                \
  Class::Class(const char* message_id, const String& extra, IExceptionObject* inner)               \
      : Exception(kClsid, describe(message_id, extra), inner, GUID{}, kUsage) {}                   \
  Class::Class(const char* message_id, const char* file, unsigned line, const char16_t* where,     \
               IExceptionObject* inner)                                                            \
      : Exception(kClsid, describe(message_id, file, line, where, String()), inner, GUID{},        \
                  kUsage) {}                                                                       \
  Class::Class(const char* message_id, const char* file, unsigned line, const char16_t* where,     \
               const String& extra, IExceptionObject* inner)                                       \
      : Exception(kClsid, describe(message_id, file, line, where, extra), inner, GUID{}, kUsage) { \
  }

#define CORE_DEFINE_SHAPES(Class)                                                               \
  Class::Class(IExceptionObject* inner)                                                         \
      : Exception(kClsid, describe(kMessageId, String()), inner) {}                             \
  Class::Class(const String& extra, IExceptionObject* inner)                                    \
      : Exception(kClsid, describe(kMessageId, extra), inner) {}                                \
  Class::Class(const char* file, unsigned line, const char16_t* where, IExceptionObject* inner) \
      : Exception(kClsid, describe(kMessageId, file, line, where, String()), inner) {}          \
  Class::Class(const char* file, unsigned line, const char16_t* where, const String& extra,     \
               IExceptionObject* inner)                                                         \
      : Exception(kClsid, describe(kMessageId, file, line, where, extra), inner) {}

CORE_DEFINE_SHAPES(ApplicationException)
CORE_DEFINE_SHAPES(CommandLineException)
CORE_DEFINE_SHAPES(IllegalArgumentException)
CORE_DEFINE_SHAPES(IllegalStateException)
CORE_DEFINE_SHAPES(ListStreamException)
CORE_DEFINE_SHAPES(UnsupportedOperationException)

namespace {

constexpr const char* kBufferIds[] = {
    "IDS_EXCP_BUFFER_ILLEGALMARK", "IDS_EXCP_BUFFER_OUTOFBOUNDS", "IDS_EXCP_BUFFER_OVERFLOW",
    "IDS_EXCP_BUFFER_READONLY",    "IDS_EXCP_BUFFER_UNDERFLOW",
};
constexpr const char* kComTypeIds[] = {
    "IDS_EXCEPTION_COMTYPE_GENERIC",
    "IDS_EXCEPTION_COMTYPE_TYPENAMEMISSING",
};
constexpr const char* kConverterIds[] = {nullptr, "IDS_CNVERROR_BADNAME", "IDS_CNVERROR_BADDATA"};
constexpr const char* kFileIds[] = {
    "IDS_FERROR_ACCESS",
    "IDS_FERROR_BADPATH",
    "IDS_FERROR_COPY",
    "IDS_FERROR_COPY_MOVE",
    "IDS_FERROR_DEVICEFULL",
    "IDS_FERROR_DIRNOTFOUND",
    "IDS_FERROR_FAILURE",
    "IDS_FERROR_FILENOTFOUND",
    "IDS_FERROR_GETTMPFILENAME",
    "IDS_FERROR_LOCK",
    "IDS_FERROR_LOCKNOTSUP",
    "IDS_FERROR_MOVE",
    "IDS_FERROR_SHARING",
    "IDS_FERROR_UNEXPECTED",
    "IDS_FERR_BADMODE",
    "IDS_FERR_BADSCHEME",
    "IDS_FERR_FILEAMBIGUOUS",
    "IDS_FERR_ISADIR",
    "IDS_FERR_NOID",
    "IDS_FERR_NORES",
    "IDS_FERR_NOTADIR",
    "IDS_FERR_SECPROFILE_ACCESS_DENIED",
    "IDS_FERR_SECPROFILE_FILE_READ_DENIED",
    "IDS_FERR_SECPROFILE_FILE_WRITE_DENIED",
    "IDS_FERR_SECPROFILE_URL_PARSE_ERROR",
    "IDS_FERR_TOOLONGFILE",
};
constexpr const char* kIoIds[] = {
    "IDS_IO_ERR_CHARCONVERSION",  "IDS_IO_ERR_NOSOURCE",    "IDS_IO_ERR_NOTARGET",
    "IDS_IO_ERR_OUTOFBOUNDS",     "IDS_IO_ERR_SOURCEFAULT", "IDS_IO_ERR_TARGETFAULT",
    "IDS_IO_ERR_UNDECODED_BYTES",
};
// Indexed by the code, which starts at 1.
constexpr const char* kNumericIds[] = {
    nullptr,
    "IDS_NUMERROR_DIVIDEBYZERO",
    "IDS_NUMERROR_NEGATIVEPOW",
    "IDS_NUMERROR_OVERFLOW",
};
constexpr const char* kStorageIds[] = {
    "IDS_STERROR_BADFORMAT",
    "IDS_STERROR_FILENOTFOUND",
    "IDS_STERROR_ISDESTINATION",
    "IDS_STERROR_OVERFLOW",
};
constexpr const char* kTemplateIds[] = {
    "IDS_TEMPLATE_PARAMS_NOTENOUGH",
    "IDS_TEMPLATE_PARAMS_TOOMANY",
    "IDS_TEMPLATE_PARAM_WRONG",
};
constexpr const char* kTokenizerIds[] = {
    "IDS_ERR_STRING_UTILS_MISSED_CLOSE_QUOTATION",
    "IDS_ERR_STRING_UTILS_MISSED_DELIM",
    "IDS_ERR_STRING_UTILS_UNEXPECTED_QUOTATION",
};
constexpr const char* kThreadIds[] = {
    "IDS_ERR_THREAD_CANCELLED",         "IDS_ERR_THREAD_EXECUTION", "IDS_ERR_THREAD_INTERRUPTED",
    "IDS_ERR_THREAD_REJECTEDEXECUTION", "IDS_ERR_THREAD_TIMEOUT",
};

static_assert(std::size(kBufferIds) ==
              static_cast<std::size_t>(BufferException::Error::Underflow) + 1);
static_assert(std::size(kFileIds) ==
              static_cast<std::size_t>(FileException::Error::TooLongFileName) + 1);
static_assert(std::size(kIoIds) ==
              static_cast<std::size_t>(IOException::Error::UndecodedBytes) + 1);
static_assert(std::size(kThreadIds) ==
              static_cast<std::size_t>(ThreadException::Error::Timeout) + 1);

static_assert(static_cast<int32_t>(RegexException::Error::InternalError) == U_REGEX_INTERNAL_ERROR);
static_assert(static_cast<int32_t>(RegexException::Error::SetContainsString) ==
              U_REGEX_SET_CONTAINS_STRING);
static_assert(static_cast<int32_t>(RegexException::Error::MissingCloseBracket) ==
              U_REGEX_MISSING_CLOSE_BRACKET);
static_assert(static_cast<int32_t>(RegexException::Error::InvalidCaptureGroupName) ==
              U_REGEX_INVALID_CAPTURE_GROUP_NAME);

}  // namespace

CORE_DEFINE_SHAPES_WITH(BufferException, Error, reason, message_id(kBufferIds, reason),
                        reason_(reason))
CORE_DEFINE_SHAPES_WITH(COMTypeException, Code, code, message_id(kComTypeIds, code), code_(code))
CORE_DEFINE_USAGE_SHAPES(ContextException)
CORE_DEFINE_USAGE_SHAPES(CtorException)
CORE_DEFINE_SHAPES_WITH(IOException, Error, reason, message_id(kIoIds, reason), reason_(reason))
CORE_DEFINE_SHAPES_WITH(NumericException, Code, code, message_id(kNumericIds, code), code_(code))
CORE_DEFINE_SHAPES_WITH(PivotSourceException, Error, reason, kMessageId, reason_(reason))
CORE_DEFINE_SHAPES_WITH(RegexException, Error, reason, kMessageId, reason_(reason))
CORE_DEFINE_SHAPES_WITH(StringTemplateException, Code, code, message_id(kTemplateIds, code),
                        code_(code))
CORE_DEFINE_SHAPES_WITH(StringTokenizerException, Code, code, message_id(kTokenizerIds, code),
                        code_(code))
CORE_DEFINE_SHAPES_WITH(ThreadException, Error, reason, message_id(kThreadIds, reason),
                        reason_(reason))
CORE_DEFINE_SHAPES_WITH(ValueIsFilledException, int32_t, code, kMessageId, code_(code))

#undef CORE_DEFINE_SHAPES_WITH
#undef CORE_DEFINE_USAGE_SHAPES
#undef CORE_DEFINE_SHAPES

ConverterException::ConverterException(Code code, IExceptionObject* inner)
    : ConverterException(code, String(), inner) {}

ConverterException::ConverterException(Code code, const String& encoding_name,
                                       IExceptionObject* inner)
    : Exception(kClsid, load_core_wstring(message_id(kConverterIds, code)), inner), code_(code) {
  if (!encoding_name.empty()) descr(descr() + u" '" + encoding_name + u"'");
}

CancelOperationException::CancelOperationException(Reason reason, IExceptionObject* inner)
    : Exception(kClsid, String(), inner), reason_(reason) {}

ComparatorException::ComparatorException(int32_t code, const String& descr, IExceptionObject* inner)
    : Exception(kClsid, descr, inner), code_(code) {}

ContextException::ContextException(const String& descr, const Categories& categories,
                                   IExceptionObject* inner)
    : Exception(kClsid, descr, inner, GUID{}, categories) {}

CtorException::CtorException(const String& descr, const Categories& categories,
                             IExceptionObject* inner)
    : Exception(kClsid, descr, inner, GUID{}, categories) {}

DataSourceException::DataSourceException(const String& descr, IExceptionObject* inner)
    : Exception(kClsid, descr, inner) {}

EDBException::EDBException(const String& descr, int32_t code, const String& details,
                           IExceptionObject* inner)
    : Exception(kClsid, descr, inner), code_(code), details_(details) {}

FileException::FileException(Error reason, IExceptionObject* inner)
    : Exception(kClsid, describe(message_id(kFileIds, reason), String()), inner), reason_(reason) {}

FileException::FileException(Error reason, const String& path, IExceptionObject* inner)
    : Exception(kClsid, describe(message_id(kFileIds, reason), path), inner),
      reason_(reason),
      path_(path) {}

FileException::FileException(Error reason, const char* file, unsigned line, const char16_t* where,
                             IExceptionObject* inner)
    : Exception(kClsid, describe(message_id(kFileIds, reason), file, line, where, String()), inner),
      reason_(reason) {}

FileException::FileException(Error reason, const char* file, unsigned line, const char16_t* where,
                             const String& path, IExceptionObject* inner)
    : Exception(kClsid, describe(message_id(kFileIds, reason), file, line, where, path), inner),
      reason_(reason),
      path_(path) {}

FileException::FileException(Error reason, const String& path, bool is_directory, const URL& url,
                             const URL& second_url, IExceptionObject* inner)
    : Exception(kClsid, describe(message_id(kFileIds, reason), path), inner),
      reason_(reason),
      path_(path),
      is_directory_(is_directory),
      url_(url),
      second_url_(second_url) {}

InteractiveSecurityException::InteractiveSecurityException(const String& action,
                                                           IExceptionObject* inner)
    : Exception(kClsid, describe(kMessageId, action), inner), action_(action) {}

LocaleException::LocaleException(const String& name, IExceptionObject* inner)
    : Exception(kClsid, format_message(load_core_wstring(kMessageId), {name}), inner) {}

NetDataExchangeException::NetDataExchangeException(const String& descr, ErrorKind kind,
                                                   int32_t code, IExceptionObject* inner)
    : RemotingException(kClsid, descr, inner), kind_(kind), code_(code) {}

ProfileSrcException::ProfileSrcException(const String& descr, IExceptionObject* inner)
    : Exception(kClsid, descr, inner) {}

RemotingException::RemotingException(const String& descr, IExceptionObject* inner)
    : Exception(kClsid, descr, inner) {}

RemotingException::RemotingException(const GUID& clsid, const String& descr,
                                     IExceptionObject* inner)
    : Exception(clsid, descr, inner) {}

RemotingException::RemotingException(const ExceptionPart& part) : Exception(part) {}

SCOM_Exception::SCOM_Exception(Reason reason, const String& descr, IExceptionObject* inner)
    : Exception(kClsid, descr, inner), reason_(reason) {}

StackOverflowException::StackOverflowException(const String& descr, IExceptionObject* inner)
    : Exception(kClsid, descr, inner) {}

StorageException::StorageException(Error reason, const URL& url, IExceptionObject* inner)
    : Exception(kClsid, describe(message_id(kStorageIds, reason), String()), inner),
      reason_(reason),
      url_(url) {}

StorageException::StorageException(Error reason, const URL& url, const String& extra,
                                   IExceptionObject* inner)
    : Exception(kClsid, describe(message_id(kStorageIds, reason), extra), inner),
      reason_(reason),
      url_(url) {}

StorageException::StorageException(Error reason, const URL& url, const char* file, unsigned line,
                                   const char16_t* where, IExceptionObject* inner)
    : Exception(kClsid, describe(message_id(kStorageIds, reason), file, line, where, String()),
                inner),
      reason_(reason),
      url_(url) {}

StorageException::StorageException(Error reason, const URL& url, const char* file, unsigned line,
                                   const char16_t* where, const String& extra,
                                   IExceptionObject* inner)
    : Exception(kClsid, describe(message_id(kStorageIds, reason), file, line, where, extra), inner),
      reason_(reason),
      url_(url) {}

TimeZoneException::TimeZoneException(const String& id, IExceptionObject* inner)
    : Exception(kClsid, format_message(load_core_wstring(kMessageId), {id}), inner) {}

TypeDomainPatternProviderException::TypeDomainPatternProviderException(const String& descr,
                                                                       IExceptionObject* inner)
    : Exception(kClsid, descr, inner) {}

TypeException::TypeException()
    : Exception(kClsid, format_message(load_core_wstring(kMessageId), {u""}), nullptr) {}

TypeException::TypeException(const String& type_name_or_guid_text, IExceptionObject* inner)
    : Exception(kClsid, format_message(load_core_wstring(kMessageId), {type_name_or_guid_text}),
                inner) {}

VersionException::VersionException(const String& descr, const std::string& requested_version,
                                   const String& download_resource, IExceptionObject* inner)
    : Exception(kClsid, descr, inner),
      requested_version_(requested_version),
      download_resource_(download_resource) {}

#ifdef _WIN32
String COMException::errorDescription(long hresult) {
  wchar_t* buffer = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, static_cast<DWORD>(hresult), 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  String text;
  if (length != 0 && buffer != nullptr) {
    // The system ends its texts with a line break.
    DWORD end = length;
    while (end > 0 && (buffer[end - 1] == L'\r' || buffer[end - 1] == L'\n')) --end;
    text = String(reinterpret_cast<const char16_t*>(buffer), end);
  }
  LocalFree(buffer);
  return text;
}

COMException::COMException(long hresult, IExceptionObject* inner)
    : Exception(kClsid, errorDescription(hresult), inner), hresult_(hresult) {}
#endif  // _WIN32

// ---------------------------------------------------------------------------
// Parameter errors

namespace {

[[noreturn]] void throw_parameter_error(bool ctor, const char* id, unsigned index,
                                        const String& extra) {
  const String text = load_core_wstring(id);
  String descr = format_message(text, {static_cast<long long>(index) + 1});
  // The number may lengthen the text by three units at most.
  const std::size_t limit = text.size() + 3;
  if (descr.size() > limit) descr = descr.substr(0, limit);
  if (!extra.empty()) {
    descr += u" (";
    descr += extra;
    descr += u')';
  }
  if (ctor) throw CtorException(descr, kUsage);
  throw ContextException(descr, kUsage);
}

}  // namespace

void parameter_type_mismatch(unsigned index) {
  throw_parameter_error(false, "IDS_PARAMETER_N_TYPE_MISMATCH", index, String());
}

void parameter_type_mismatch(unsigned index, const String& extra) {
  throw_parameter_error(false, "IDS_PARAMETER_N_TYPE_MISMATCH", index, extra);
}

void parameter_value_mismatch(unsigned index) {
  throw_parameter_error(false, "IDS_PARAMETER_N_VALUE_MISMATCH", index, String());
}

void parameter_value_mismatch(unsigned index, const String& extra) {
  throw_parameter_error(false, "IDS_PARAMETER_N_VALUE_MISMATCH", index, extra);
}

void ctor_parameter_type_mismatch(unsigned index) {
  throw_parameter_error(true, "IDS_PARAMETER_N_TYPE_MISMATCH", index, String());
}

void ctor_parameter_type_mismatch(unsigned index, const String& extra) {
  throw_parameter_error(true, "IDS_PARAMETER_N_TYPE_MISMATCH", index, extra);
}

void ctor_parameter_value_mismatch(unsigned index) {
  throw_parameter_error(true, "IDS_PARAMETER_N_VALUE_MISMATCH", index, String());
}

void ctor_parameter_value_mismatch(unsigned index, const String& extra) {
  throw_parameter_error(true, "IDS_PARAMETER_N_VALUE_MISMATCH", index, extra);
}

void property_value_mismatch(IExceptionObject* inner) {
  throw ContextException(load_core_wstring("IDS_PROPERTY_VALUE_MISMATCH"), kUsage, inner);
}

// ---------------------------------------------------------------------------
// Deferred exceptions, the destructor-exception handler, the technical log

namespace {

// The process-wide slots are never destroyed: an exception may be deferred or
// reported while static objects are being torn down.
struct DeferredSlot {
  detail::Mutex mutex;
  std::exception_ptr exception CORE_GUARDED_BY(mutex);
};

DeferredSlot& deferred_slot() {
  static auto* const slot = new DeferredSlot;
  return *slot;
}

struct HandlerSlot {
  detail::SharedMutex mutex;
  InterfacePtr<IExceptionHandler> handler CORE_GUARDED_BY(mutex);
};

HandlerSlot& handler_slot() {
  static auto* const slot = new HandlerSlot;
  return *slot;
}

constinit std::atomic<TechLogSink> techlog_sink{nullptr};

// Appends `text` as UTF-8 with line breaks escaped, so that a record stays on
// one line.
void append_one_line(std::string& out, const String& text) {
  for (const char c : text.toUtf8()) {
    if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else {
      out += c;
    }
  }
}

void append_exception(std::string& out, const Exception& e) {
  out += '{';
  out += e.clsid().toString().toUtf8();
  out += "} ";
  append_one_line(out, e.descr());
}

void write_to_stderr(const Exception& e, const String& comment) {
  std::string line = "core techlog: ";
  append_one_line(line, comment);
  line += ": ";
  append_exception(line, e);
  for (InterfacePtr<IExceptionObject> cause = e.inner(); cause;
       cause = cause->exception().inner()) {
    line += " <- ";
    append_exception(line, cause->exception());
  }
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

void defer_exception() noexcept {
  std::exception_ptr current = std::current_exception();
  if (!current) return;
  DeferredSlot& slot = deferred_slot();
  detail::MutexLock lock(slot.mutex);
  if (!slot.exception) slot.exception = std::move(current);
}

bool have_deferred_exception() noexcept {
  DeferredSlot& slot = deferred_slot();
  detail::MutexLock lock(slot.mutex);
  return static_cast<bool>(slot.exception);
}

void raise_deferred_exception() {
  std::exception_ptr deferred;
  {
    DeferredSlot& slot = deferred_slot();
    detail::MutexLock lock(slot.mutex);
    deferred = std::exchange(slot.exception, nullptr);
  }
  if (deferred) std::rethrow_exception(deferred);
}

void destructor_exception(const Exception& e) {
  InterfacePtr<IExceptionHandler> handler = get_destructor_exception_handler();
  if (!handler) throw e;
  handler->handleException(e);
}

void set_destructor_exception_handler(IExceptionHandler* handler) {
  InterfacePtr<IExceptionHandler> previous(handler);
  {
    HandlerSlot& slot = handler_slot();
    detail::WriterLock lock(slot.mutex);
    std::swap(previous, slot.handler);
  }
  // The previous handler is released here, outside the lock: its destructor
  // may report exceptions of its own.
}

InterfacePtr<IExceptionHandler> get_destructor_exception_handler() {
  HandlerSlot& slot = handler_slot();
  detail::ReaderLock lock(slot.mutex);
  return slot.handler;
}

void write_exception_to_techlog(const Exception& e, const String& comment) noexcept {
  TechLogSink sink = techlog_sink.load(std::memory_order_acquire);
  if (sink == nullptr) sink = &write_to_stderr;
  try {
    sink(e, comment);
  } catch (...) {
    // A log that fails must not turn the handling of one failure into another.
  }
}

void set_techlog_sink(TechLogSink sink) noexcept {
  techlog_sink.store(sink, std::memory_order_release);
}

}  // namespace core
