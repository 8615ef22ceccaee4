// The tree of exception classes. Every class derives publicly from Exception
// (NetDataExchangeException from RemotingException) and adds constructors,
// its clsid and, for some, extra data.
//
//   throw core::IllegalStateException(u"the reader is closed");
//   throw core::ThreadException(core::ThreadException::Error::Timeout);
//   throw core::IOException(core::IOException::Error::NoSource, __FILE__, __LINE__, u"read");
//
// Descriptions. A class that names its message identifier looks its text up
// in the library's bundle in the calling thread's language
// (load_core_wstring) and builds the description with
// format_exception_descr, in one of four shapes, any extra data of the class
// coming first:
//   (inner)                          the text alone;
//   (extra, inner)                   the text, a line feed, then `extra`;
//   (file, line, where, inner)       the text, then "\n[file - where (line)]";
//   (file, line, where, extra, inner) the text, `extra`, then the location.
// A missing text gives an empty description (or the location alone). Where a
// text takes an argument ("%s" in IDS_BADLOCALENAME, IDS_BADTIMEZONEID and
// IDS_TYPEERROR_TYPENOTDEFINED), the constructor's argument fills it
// (format_message) instead of being appended. A class with several
// identifiers is given the identifier, or the Error or Code value that
// selects it. Classes without an identifier take their description as given.
//
// Constructors throw nothing but std::bad_alloc. The cause `inner` is
// acquired and may be null.
//
// Thread safety: as for Exception.
#ifndef CORE_EXCEPTION_CLASSES_H_
#define CORE_EXCEPTION_CLASSES_H_

#include <cstdint>
#include <string>

#include "core/exception.h"
#include "core/export.h"
#include "core/guid.h"
#include "core/string.h"
#include "core/url.h"

namespace core {

// The members of a class with fields of its own:
// - the constructor from an Exception part, which the reader of causes uses:
//   the own fields are read from `part.own_fields`, or keep their defaults
//   when it is null; bad data throws `ListStreamException`
//   ("IDS_LISTSTREAMERROR");
// - serialize() writes the base part (Exception::serialize), then the own
//   fields as one more list; deserialize() reads the same and throws
//   `ListStreamException` ("IDS_LISTSTREAMERROR") for anything else, leaving
//   the own fields unchanged;
// - object() wraps a whole copy, own fields included.
#define CORE_EXCEPTION_OWN_FIELDS(Class)                 \
  explicit Class(const ExceptionPart& part);             \
  void serialize(IOutPersistenceStorage* storage) const; \
  void deserialize(IInPersistenceStorage* storage);      \
  InterfacePtr<IExceptionObject> object() const

// A failure the application reports about itself
// ("IDS_ERR_APPLICATION_EXCEPTION").
class CORE_EXPORT ApplicationException : public Exception {
 public:
  // {D517E600-543F-4355-8B81-D4689BE348BF}
  static constexpr GUID kClsid = {
      0xD517E600, 0x543F, 0x4355, {0x8B, 0x81, 0xD4, 0x68, 0x9B, 0xE3, 0x48, 0xBF}};
  static constexpr const char* kMessageId = "IDS_ERR_APPLICATION_EXCEPTION";

  explicit ApplicationException(IExceptionObject* inner = nullptr);
  explicit ApplicationException(const String& extra, IExceptionObject* inner = nullptr);
  ApplicationException(const char* file, unsigned line, const char16_t* where,
                       IExceptionObject* inner = nullptr);
  ApplicationException(const char* file, unsigned line, const char16_t* where, const String& extra,
                       IExceptionObject* inner = nullptr);
};

// A buffer used against its state: a read past the limit, a write to a
// read-only buffer, a reset to a missing mark (the "IDS_EXCP_BUFFER_" family).
class CORE_EXPORT BufferException : public Exception {
 public:
  // {D7E909F6-6938-4456-9A71-103262B0D353}
  static constexpr GUID kClsid = {
      0xD7E909F6, 0x6938, 0x4456, {0x9A, 0x71, 0x10, 0x32, 0x62, 0xB0, 0xD3, 0x53}};

  enum class Error : int32_t {
    IllegalMark = 0,  // IDS_EXCP_BUFFER_ILLEGALMARK
    OutOfBounds = 1,  // IDS_EXCP_BUFFER_OUTOFBOUNDS
    Overflow = 2,     // IDS_EXCP_BUFFER_OVERFLOW
    ReadOnly = 3,     // IDS_EXCP_BUFFER_READONLY
    Underflow = 4,    // IDS_EXCP_BUFFER_UNDERFLOW
  };

  explicit BufferException(Error reason, IExceptionObject* inner = nullptr);
  BufferException(Error reason, const String& extra, IExceptionObject* inner = nullptr);
  BufferException(Error reason, const char* file, unsigned line, const char16_t* where,
                  IExceptionObject* inner = nullptr);
  BufferException(Error reason, const char* file, unsigned line, const char16_t* where,
                  const String& extra, IExceptionObject* inner = nullptr);

  Error reason() const noexcept { return reason_; }

  CORE_EXCEPTION_OWN_FIELDS(BufferException);

 private:
  Error reason_{};
};

#ifdef _WIN32
// A failed call of a system component, described by the system's own text
// for its HRESULT.
class CORE_EXPORT COMException : public Exception {
 public:
  // {DF35866F-EE88-4608-A1D2-67A093D93291}
  static constexpr GUID kClsid = {
      0xDF35866F, 0xEE88, 0x4608, {0xA1, 0xD2, 0x67, 0xA0, 0x93, 0xD9, 0x32, 0x91}};

  explicit COMException(long hresult, IExceptionObject* inner = nullptr);

  long hresult() const noexcept { return hresult_; }
  // The system's text for `hresult` in the calling thread's language, or the
  // empty text when the system has none.
  static String errorDescription(long hresult);

 private:
  long hresult_;
};
#endif  // _WIN32

// A system component's type that cannot be used ("IDS_EXCEPTION_COMTYPE_"
// family).
class CORE_EXPORT COMTypeException : public Exception {
 public:
  // {DD317E45-10DE-4F96-8ADC-5479FB63D59E}
  static constexpr GUID kClsid = {
      0xDD317E45, 0x10DE, 0x4F96, {0x8A, 0xDC, 0x54, 0x79, 0xFB, 0x63, 0xD5, 0x9E}};

  enum class Code : int32_t {
    Generic = 0,          // IDS_EXCEPTION_COMTYPE_GENERIC
    TypeNameMissing = 1,  // IDS_EXCEPTION_COMTYPE_TYPENAMEMISSING
  };

  explicit COMTypeException(Code code, IExceptionObject* inner = nullptr);
  COMTypeException(Code code, const String& extra, IExceptionObject* inner = nullptr);
  COMTypeException(Code code, const char* file, unsigned line, const char16_t* where,
                   IExceptionObject* inner = nullptr);
  COMTypeException(Code code, const char* file, unsigned line, const char16_t* where,
                   const String& extra, IExceptionObject* inner = nullptr);

  Code code() const noexcept { return code_; }

  CORE_EXCEPTION_OWN_FIELDS(COMTypeException);

 private:
  Code code_{};
};

// An operation stopped before its end. It has no text of its own: the
// description is empty, and the cause, when given, tells what stopped it.
class CORE_EXPORT CancelOperationException : public Exception {
 public:
  // {374EFC33-18BC-4EA8-9286-BE8158FAF95D}
  static constexpr GUID kClsid = {
      0x374EFC33, 0x18BC, 0x4EA8, {0x92, 0x86, 0xBE, 0x81, 0x58, 0xFA, 0xF9, 0x5D}};

  enum class Reason : int32_t {
    UserRequest = 0,  // the user asked to stop
    Timeout = 1,      // the time allowed ran out
    Shutdown = 2,     // the process or its session is ending
  };

  explicit CancelOperationException(Reason reason, IExceptionObject* inner = nullptr);

  Reason reason() const noexcept { return reason_; }

  CORE_EXCEPTION_OWN_FIELDS(CancelOperationException);

 private:
  Reason reason_{};
};

// A bad option or argument on a command line ("IDS_ERR_CLI_OPTION").
class CORE_EXPORT CommandLineException : public Exception {
 public:
  // {19923E81-87A4-4564-AA47-A4041D613091}
  static constexpr GUID kClsid = {
      0x19923E81, 0x87A4, 0x4564, {0xAA, 0x47, 0xA4, 0x04, 0x1D, 0x61, 0x30, 0x91}};
  static constexpr const char* kMessageId = "IDS_ERR_CLI_OPTION";

  explicit CommandLineException(IExceptionObject* inner = nullptr);
  explicit CommandLineException(const String& extra, IExceptionObject* inner = nullptr);
  CommandLineException(const char* file, unsigned line, const char16_t* where,
                       IExceptionObject* inner = nullptr);
  CommandLineException(const char* file, unsigned line, const char16_t* where, const String& extra,
                       IExceptionObject* inner = nullptr);
};

// Two values that a comparer cannot order. The description is given; `code`
// tells the comparer's failures apart.
class CORE_EXPORT ComparatorException : public Exception {
 public:
  // {F3553FF2-2831-469A-A033-0C2ABBA6CD03}
  static constexpr GUID kClsid = {
      0xF3553FF2, 0x2831, 0x469A, {0xA0, 0x33, 0x0C, 0x2A, 0xBB, 0xA6, 0xCD, 0x03}};

  ComparatorException(int32_t code, const String& descr, IExceptionObject* inner = nullptr);

  int32_t code() const noexcept { return code_; }

  CORE_EXCEPTION_OWN_FIELDS(ComparatorException);

 private:
  int32_t code_{};
};

// A parameter, property or limit of a call that the context does not accept.
// Built with one of "IDS_PARAMETER_N_TYPE_MISMATCH",
// "IDS_PARAMETER_N_VALUE_MISMATCH", "IDS_PROPERTY_TYPE_MISMATCH",
// "IDS_PROPERTY_VALUE_MISMATCH" and "IDS_ERR_MEMORYLIMITS", or with a finished
// description (core/parameter_errors.h builds the parameter ones).
class CORE_EXPORT ContextException : public Exception {
 public:
  // {F08D92F8-9EB2-4E19-9DD9-977D907CEC2D}
  static constexpr GUID kClsid = {
      0xF08D92F8, 0x9EB2, 0x4E19, {0x9D, 0xD9, 0x97, 0x7D, 0x90, 0x7C, 0xEC, 0x2D}};

  // The text of `messageId` is used as it stands: placeholders are not
  // filled. These four shapes give the category ZelUsage (6), as every
  // parameter and context error of the library has.
  explicit ContextException(const char* message_id, IExceptionObject* inner = nullptr);
  ContextException(const char* message_id, const String& extra, IExceptionObject* inner = nullptr);
  ContextException(const char* message_id, const char* file, unsigned line, const char16_t* where,
                   IExceptionObject* inner = nullptr);
  ContextException(const char* message_id, const char* file, unsigned line, const char16_t* where,
                   const String& extra, IExceptionObject* inner = nullptr);
  // A finished description with its categories.
  ContextException(const String& descr, const Categories& categories,
                   IExceptionObject* inner = nullptr);
};

// Text that cannot be converted between encodings ("IDS_CNVERROR_" family).
// The description is the code's message, followed by " '", the encoding's
// name and "'" when a name is known.
class CORE_EXPORT ConverterException : public Exception {
 public:
  // {12D4914C-D6AE-4255-87A1-02485BE1B924}
  static constexpr GUID kClsid = {
      0x12D4914C, 0xD6AE, 0x4255, {0x87, 0xA1, 0x02, 0x48, 0x5B, 0xE1, 0xB9, 0x24}};

  enum class Code : int32_t {
    BadName = 1,  // IDS_CNVERROR_BADNAME: an empty or unknown encoding name
    BadData = 2,  // IDS_CNVERROR_BADDATA: text the encoding cannot carry
  };

  explicit ConverterException(Code code, IExceptionObject* inner = nullptr);
  ConverterException(Code code, const String& encoding_name, IExceptionObject* inner = nullptr);

  Code code() const noexcept { return code_; }

  CORE_EXCEPTION_OWN_FIELDS(ConverterException);

 private:
  Code code_{};
};

// Arguments of a constructor that do not fit it: "IDS_NOT_ENOUGH_PARAMETERS",
// "IDS_TOO_MANY_PARAMETERS", "IDS_VS_UNSERIALIZABLE_VALUE", or a finished
// description (core/parameter_errors.h builds the parameter ones).
class CORE_EXPORT CtorException : public Exception {
 public:
  // {2E20EDA7-414A-4549-AE78-06C19979CE2D}
  static constexpr GUID kClsid = {
      0x2E20EDA7, 0x414A, 0x4549, {0xAE, 0x78, 0x06, 0xC1, 0x99, 0x79, 0xCE, 0x2D}};

  // These four shapes give the category ZelUsage (6), as every parameter and
  // context error of the library has.
  explicit CtorException(const char* message_id, IExceptionObject* inner = nullptr);
  CtorException(const char* message_id, const String& extra, IExceptionObject* inner = nullptr);
  CtorException(const char* message_id, const char* file, unsigned line, const char16_t* where,
                IExceptionObject* inner = nullptr);
  CtorException(const char* message_id, const char* file, unsigned line, const char16_t* where,
                const String& extra, IExceptionObject* inner = nullptr);
  // A finished description with its categories.
  CtorException(const String& descr, const Categories& categories,
                IExceptionObject* inner = nullptr);
};

// A failure of an external data source; the description is given.
class CORE_EXPORT DataSourceException : public Exception {
 public:
  // {F2773A89-A641-4497-B767-F822258E41FB}
  static constexpr GUID kClsid = {
      0xF2773A89, 0xA641, 0x4497, {0xB7, 0x67, 0xF8, 0x22, 0x25, 0x8E, 0x41, 0xFB}};

  explicit DataSourceException(const String& descr, IExceptionObject* inner = nullptr);
};

// An error reported by a database engine: the given description, the
// engine's own error code and its detail text.
class CORE_EXPORT EDBException : public Exception {
 public:
  // {82E6365E-D215-4317-AF0A-42BA9EDB01C2}
  static constexpr GUID kClsid = {
      0x82E6365E, 0xD215, 0x4317, {0xAF, 0x0A, 0x42, 0xBA, 0x9E, 0xDB, 0x01, 0xC2}};

  EDBException(const String& descr, int32_t code, const String& details,
               IExceptionObject* inner = nullptr);

  int32_t code() const noexcept { return code_; }
  const String& details() const noexcept { return details_; }

  CORE_EXCEPTION_OWN_FIELDS(EDBException);

 private:
  int32_t code_{};
  String details_;
};

// A file operation that failed ("IDS_FERROR_" and "IDS_FERR_" families). It
// keeps the failing path (appended to the description as extra detail),
// whether that path names a directory, and up to two URLs (the source and the
// target of a copy or a move).
class CORE_EXPORT FileException : public Exception {
 public:
  // {9DB1FA37-B455-4F3F-B8DD-7DE0EA7D6DA3}
  static constexpr GUID kClsid = {
      0x9DB1FA37, 0xB455, 0x4F3F, {0xB8, 0xDD, 0x7D, 0xE0, 0xEA, 0x7D, 0x6D, 0xA3}};

  enum class Error : int32_t {
    Access = 0,                   // IDS_FERROR_ACCESS
    BadPath = 1,                  // IDS_FERROR_BADPATH
    Copy = 2,                     // IDS_FERROR_COPY
    CopyMove = 3,                 // IDS_FERROR_COPY_MOVE
    DeviceFull = 4,               // IDS_FERROR_DEVICEFULL
    DirNotFound = 5,              // IDS_FERROR_DIRNOTFOUND
    Failure = 6,                  // IDS_FERROR_FAILURE
    FileNotFound = 7,             // IDS_FERROR_FILENOTFOUND
    TempFileName = 8,             // IDS_FERROR_GETTMPFILENAME
    Lock = 9,                     // IDS_FERROR_LOCK
    LockNotSupported = 10,        // IDS_FERROR_LOCKNOTSUP
    Move = 11,                    // IDS_FERROR_MOVE
    Sharing = 12,                 // IDS_FERROR_SHARING
    Unexpected = 13,              // IDS_FERROR_UNEXPECTED
    BadMode = 14,                 // IDS_FERR_BADMODE
    BadScheme = 15,               // IDS_FERR_BADSCHEME
    FileAmbiguous = 16,           // IDS_FERR_FILEAMBIGUOUS
    IsADirectory = 17,            // IDS_FERR_ISADIR
    NoId = 18,                    // IDS_FERR_NOID
    NoResource = 19,              // IDS_FERR_NORES
    NotADirectory = 20,           // IDS_FERR_NOTADIR
    ProfileAccessDenied = 21,     // IDS_FERR_SECPROFILE_ACCESS_DENIED
    ProfileFileReadDenied = 22,   // IDS_FERR_SECPROFILE_FILE_READ_DENIED
    ProfileFileWriteDenied = 23,  // IDS_FERR_SECPROFILE_FILE_WRITE_DENIED
    ProfileUrlParseError = 24,    // IDS_FERR_SECPROFILE_URL_PARSE_ERROR
    TooLongFileName = 25,         // IDS_FERR_TOOLONGFILE
  };

  explicit FileException(Error reason, IExceptionObject* inner = nullptr);
  FileException(Error reason, const String& path, IExceptionObject* inner = nullptr);
  FileException(Error reason, const char* file, unsigned line, const char16_t* where,
                IExceptionObject* inner = nullptr);
  FileException(Error reason, const char* file, unsigned line, const char16_t* where,
                const String& path, IExceptionObject* inner = nullptr);
  // Everything at once; the description is the text, a line feed and `path`.
  FileException(Error reason, const String& path, bool is_directory, const URL& url,
                const URL& second_url, IExceptionObject* inner = nullptr);

  Error reason() const noexcept { return reason_; }
  const String& path() const noexcept { return path_; }
  bool isDirectory() const noexcept { return is_directory_; }
  const URL& url() const noexcept { return url_; }
  const URL& secondUrl() const noexcept { return second_url_; }

  CORE_EXCEPTION_OWN_FIELDS(FileException);

 private:
  Error reason_{};
  String path_;
  bool is_directory_ = false;
  URL url_;
  URL second_url_;
};

// A stream that cannot be read or written ("IDS_IO_ERR_" family).
class CORE_EXPORT IOException : public Exception {
 public:
  // {5CD9D528-F943-4A39-8640-EBE5811BC53C}
  static constexpr GUID kClsid = {
      0x5CD9D528, 0xF943, 0x4A39, {0x86, 0x40, 0xEB, 0xE5, 0x81, 0x1B, 0xC5, 0x3C}};

  enum class Error : int32_t {
    CharConversion = 0,  // IDS_IO_ERR_CHARCONVERSION
    NoSource = 1,        // IDS_IO_ERR_NOSOURCE
    NoTarget = 2,        // IDS_IO_ERR_NOTARGET
    OutOfBounds = 3,     // IDS_IO_ERR_OUTOFBOUNDS
    SourceFault = 4,     // IDS_IO_ERR_SOURCEFAULT
    TargetFault = 5,     // IDS_IO_ERR_TARGETFAULT
    UndecodedBytes = 6,  // IDS_IO_ERR_UNDECODED_BYTES
  };

  explicit IOException(Error reason, IExceptionObject* inner = nullptr);
  IOException(Error reason, const String& extra, IExceptionObject* inner = nullptr);
  IOException(Error reason, const char* file, unsigned line, const char16_t* where,
              IExceptionObject* inner = nullptr);
  IOException(Error reason, const char* file, unsigned line, const char16_t* where,
              const String& extra, IExceptionObject* inner = nullptr);

  Error reason() const noexcept { return reason_; }

  CORE_EXCEPTION_OWN_FIELDS(IOException);

 private:
  Error reason_{};
};

// An argument outside its contract ("IDS_ERR_ILLEGAL_ARGUMENT").
class CORE_EXPORT IllegalArgumentException : public Exception {
 public:
  // {4472F4AE-18E3-407C-A1F2-9650D2D50D57}
  static constexpr GUID kClsid = {
      0x4472F4AE, 0x18E3, 0x407C, {0xA1, 0xF2, 0x96, 0x50, 0xD2, 0xD5, 0x0D, 0x57}};
  static constexpr const char* kMessageId = "IDS_ERR_ILLEGAL_ARGUMENT";

  explicit IllegalArgumentException(IExceptionObject* inner = nullptr);
  explicit IllegalArgumentException(const String& extra, IExceptionObject* inner = nullptr);
  IllegalArgumentException(const char* file, unsigned line, const char16_t* where,
                           IExceptionObject* inner = nullptr);
  IllegalArgumentException(const char* file, unsigned line, const char16_t* where,
                           const String& extra, IExceptionObject* inner = nullptr);
};

// A call that the object's current state does not allow
// ("IDS_ERR_ILLEGAL_STATE").
class CORE_EXPORT IllegalStateException : public Exception {
 public:
  // {C329DF92-3BA7-4D5D-937B-951D91AC0AC0}
  static constexpr GUID kClsid = {
      0xC329DF92, 0x3BA7, 0x4D5D, {0x93, 0x7B, 0x95, 0x1D, 0x91, 0xAC, 0x0A, 0xC0}};
  static constexpr const char* kMessageId = "IDS_ERR_ILLEGAL_STATE";

  explicit IllegalStateException(IExceptionObject* inner = nullptr);
  explicit IllegalStateException(const String& extra, IExceptionObject* inner = nullptr);
  IllegalStateException(const char* file, unsigned line, const char16_t* where,
                        IExceptionObject* inner = nullptr);
  IllegalStateException(const char* file, unsigned line, const char16_t* where, const String& extra,
                        IExceptionObject* inner = nullptr);
};

// An action the user refused when the security profile asked a second time
// ("IDS_INTERACTIVE_SECURITY_SECOND_CHANCE_EXP"; the description of the
// action follows as extra detail).
class CORE_EXPORT InteractiveSecurityException : public Exception {
 public:
  // {1C5E3150-CE5E-4456-8D85-6187E7B9E903}
  static constexpr GUID kClsid = {
      0x1C5E3150, 0xCE5E, 0x4456, {0x8D, 0x85, 0x61, 0x87, 0xE7, 0xB9, 0xE9, 0x03}};
  static constexpr const char* kMessageId = "IDS_INTERACTIVE_SECURITY_SECOND_CHANCE_EXP";

  explicit InteractiveSecurityException(const String& action, IExceptionObject* inner = nullptr);

  const String& action() const noexcept { return action_; }

  CORE_EXCEPTION_OWN_FIELDS(InteractiveSecurityException);

 private:
  String action_;
};

// Malformed brace-list data ("IDS_LISTSTREAMERROR").
class CORE_EXPORT ListStreamException : public Exception {
 public:
  // {E88A796D-7758-48A7-9BA7-781E269E9AA4}
  static constexpr GUID kClsid = {
      0xE88A796D, 0x7758, 0x48A7, {0x9B, 0xA7, 0x78, 0x1E, 0x26, 0x9E, 0x9A, 0xA4}};
  static constexpr const char* kMessageId = "IDS_LISTSTREAMERROR";

  explicit ListStreamException(IExceptionObject* inner = nullptr);
  explicit ListStreamException(const String& extra, IExceptionObject* inner = nullptr);
  ListStreamException(const char* file, unsigned line, const char16_t* where,
                      IExceptionObject* inner = nullptr);
  ListStreamException(const char* file, unsigned line, const char16_t* where, const String& extra,
                      IExceptionObject* inner = nullptr);
};

// A locale name that is empty or unknown ("IDS_BADLOCALENAME", whose "%s" the
// name fills).
class CORE_EXPORT LocaleException : public Exception {
 public:
  // {A5AC9977-CC6B-4878-95B5-4969293F7ED5}
  static constexpr GUID kClsid = {
      0xA5AC9977, 0xCC6B, 0x4878, {0x95, 0xB5, 0x49, 0x69, 0x29, 0x3F, 0x7E, 0xD5}};
  static constexpr const char* kMessageId = "IDS_BADLOCALENAME";

  explicit LocaleException(const String& name, IExceptionObject* inner = nullptr);
};

// Arithmetic that has no result ("IDS_NUMERROR_" family).
class CORE_EXPORT NumericException : public Exception {
 public:
  // {E62F19B5-A855-418F-A162-77D8571E9DDC}
  static constexpr GUID kClsid = {
      0xE62F19B5, 0xA855, 0x418F, {0xA1, 0x62, 0x77, 0xD8, 0x57, 0x1E, 0x9D, 0xDC}};

  enum class Code : int32_t {
    DivideByZero = 1,  // IDS_NUMERROR_DIVIDEBYZERO
    NegativePow = 2,   // IDS_NUMERROR_NEGATIVEPOW
    Overflow = 3,      // IDS_NUMERROR_OVERFLOW
  };

  explicit NumericException(Code code, IExceptionObject* inner = nullptr);
  NumericException(Code code, const String& extra, IExceptionObject* inner = nullptr);
  NumericException(Code code, const char* file, unsigned line, const char16_t* where,
                   IExceptionObject* inner = nullptr);
  NumericException(Code code, const char* file, unsigned line, const char16_t* where,
                   const String& extra, IExceptionObject* inner = nullptr);

  Code code() const noexcept { return code_; }

  CORE_EXCEPTION_OWN_FIELDS(NumericException);

 private:
  Code code_{};
};

// The data source of a pivot table failed
// ("IDS_PIVOTSOURCE_ERROR_DATASOURCEERROR").
class CORE_EXPORT PivotSourceException : public Exception {
 public:
  // {34212DD6-31C7-4306-BC16-C1B43C60D8FA}
  static constexpr GUID kClsid = {
      0x34212DD6, 0x31C7, 0x4306, {0xBC, 0x16, 0xC1, 0xB4, 0x3C, 0x60, 0xD8, 0xFA}};
  static constexpr const char* kMessageId = "IDS_PIVOTSOURCE_ERROR_DATASOURCEERROR";

  enum class Error : int32_t {
    DataSourceError = 0,
  };

  explicit PivotSourceException(Error reason, IExceptionObject* inner = nullptr);
  PivotSourceException(Error reason, const String& extra, IExceptionObject* inner = nullptr);
  PivotSourceException(Error reason, const char* file, unsigned line, const char16_t* where,
                       IExceptionObject* inner = nullptr);
  PivotSourceException(Error reason, const char* file, unsigned line, const char16_t* where,
                       const String& extra, IExceptionObject* inner = nullptr);

  Error reason() const noexcept { return reason_; }

  CORE_EXCEPTION_OWN_FIELDS(PivotSourceException);

 private:
  Error reason_{};
};

// A failure of a settings-profile source; the description is given.
class CORE_EXPORT ProfileSrcException : public Exception {
 public:
  // {055964F0-7390-43D9-8520-3852DFE00C27}
  static constexpr GUID kClsid = {
      0x055964F0, 0x7390, 0x43D9, {0x85, 0x20, 0x38, 0x52, 0xDF, 0xE0, 0x0C, 0x27}};

  explicit ProfileSrcException(const String& descr, IExceptionObject* inner = nullptr);
};

// A regular expression that cannot be compiled or matched
// ("IDS_REGEX_ERROR"). The reason is the regular-expression engine's error
// code; the named values are those of regular expressions, but any other
// code of the engine may be held.
class CORE_EXPORT RegexException : public Exception {
 public:
  // {C664E43D-C4CF-4FC3-BE92-D1690BF14E47}
  static constexpr GUID kClsid = {
      0xC664E43D, 0xC4CF, 0x4FC3, {0xBE, 0x92, 0xD1, 0x69, 0x0B, 0xF1, 0x4E, 0x47}};
  static constexpr const char* kMessageId = "IDS_REGEX_ERROR";

  enum class Error : int32_t {
    InternalError = 0x10300,
    RuleSyntax = 0x10301,
    InvalidState = 0x10302,
    BadEscapeSequence = 0x10303,
    PropertySyntax = 0x10304,
    Unimplemented = 0x10305,
    MismatchedParen = 0x10306,
    NumberTooBig = 0x10307,
    BadInterval = 0x10308,
    MaxLessThanMin = 0x10309,
    InvalidBackRef = 0x1030A,
    InvalidFlag = 0x1030B,
    LookBehindLimit = 0x1030C,
    SetContainsString = 0x1030D,
    MissingCloseBracket = 0x1030F,
    InvalidRange = 0x10310,
    StackOverflow = 0x10311,
    TimeOut = 0x10312,
    StoppedByCaller = 0x10313,
    PatternTooBig = 0x10314,
    InvalidCaptureGroupName = 0x10315,
  };

  explicit RegexException(Error reason, IExceptionObject* inner = nullptr);
  RegexException(Error reason, const String& extra, IExceptionObject* inner = nullptr);
  RegexException(Error reason, const char* file, unsigned line, const char16_t* where,
                 IExceptionObject* inner = nullptr);
  RegexException(Error reason, const char* file, unsigned line, const char16_t* where,
                 const String& extra, IExceptionObject* inner = nullptr);

  Error reason() const noexcept { return reason_; }

  CORE_EXCEPTION_OWN_FIELDS(RegexException);

 private:
  Error reason_{};
};

// A failed call to another process; the description is given.
class CORE_EXPORT RemotingException : public Exception {
 public:
  // {DF84C0D7-EE36-4D9F-96CA-503359A67A6C}
  static constexpr GUID kClsid = {
      0xDF84C0D7, 0xEE36, 0x4D9F, {0x96, 0xCA, 0x50, 0x33, 0x59, 0xA6, 0x7A, 0x6C}};

  explicit RemotingException(const String& descr, IExceptionObject* inner = nullptr);

 protected:
  RemotingException(const GUID& clsid, const String& descr, IExceptionObject* inner);
  explicit RemotingException(const ExceptionPart& part);
};

// A failed exchange of data over the network: the given description, the
// kind of the operating system's error and its code.
class CORE_EXPORT NetDataExchangeException : public RemotingException {
 public:
  // {45E74C1C-291C-438A-9963-2BC1A429E376}
  static constexpr GUID kClsid = {
      0x45E74C1C, 0x291C, 0x438A, {0x99, 0x63, 0x2B, 0xC1, 0xA4, 0x29, 0xE3, 0x76}};

  enum class ErrorKind : int32_t {
    System = 0,    // an errno value (a system error code on Windows)
    Socket = 1,    // a socket error code
    Resolver = 2,  // a host-name resolution error code
  };

  NetDataExchangeException(const String& descr, ErrorKind kind, int32_t code,
                           IExceptionObject* inner = nullptr);

  ErrorKind errorKind() const noexcept { return kind_; }
  int32_t code() const noexcept { return code_; }

  CORE_EXCEPTION_OWN_FIELDS(NetDataExchangeException);

 private:
  ErrorKind kind_{};
  int32_t code_{};
};

// A failure of the component model: module registration, class lookup,
// loading. The description is given.
class CORE_EXPORT SCOM_Exception : public Exception {
 public:
  // {D294E384-7EA6-49C6-BE96-F3A6E3DE1242}
  static constexpr GUID kClsid = {
      0xD294E384, 0x7EA6, 0x49C6, {0xBE, 0x96, 0xF3, 0xA6, 0xE3, 0xDE, 0x12, 0x42}};

  enum class Reason : int32_t {
    DuplicateModule = 0,        // a module of that name is already registered
    ModuleNotFound = 1,         // no module of that name is registered
    ClassNotFound = 2,          // no module offers the class
    InterfaceNotSupported = 3,  // the object does not offer the interface
    LoadFailed = 4,             // the module could not be loaded or started
  };

  SCOM_Exception(Reason reason, const String& descr, IExceptionObject* inner = nullptr);

  Reason reason() const noexcept { return reason_; }

  CORE_EXCEPTION_OWN_FIELDS(SCOM_Exception);

 private:
  Reason reason_{};
};

// The stack of the calling thread ran out; the description is given.
class CORE_EXPORT StackOverflowException : public Exception {
 public:
  // {B94A0D43-EE06-4DE4-9E83-86F26E9D0F20}
  static constexpr GUID kClsid = {
      0xB94A0D43, 0xEE06, 0x4DE4, {0x9E, 0x83, 0x86, 0xF2, 0x6E, 0x9D, 0x0F, 0x20}};

  explicit StackOverflowException(const String& descr = String(),
                                  IExceptionObject* inner = nullptr);
};

// A file-storage container that cannot be used ("IDS_STERROR_" family); it
// keeps the container's URL.
class CORE_EXPORT StorageException : public Exception {
 public:
  // {D01FDB85-3F36-4FBC-A888-0274919CC82B}
  static constexpr GUID kClsid = {
      0xD01FDB85, 0x3F36, 0x4FBC, {0xA8, 0x88, 0x02, 0x74, 0x91, 0x9C, 0xC8, 0x2B}};

  enum class Error : int32_t {
    BadFormat = 0,      // IDS_STERROR_BADFORMAT
    FileNotFound = 1,   // IDS_STERROR_FILENOTFOUND
    IsDestination = 2,  // IDS_STERROR_ISDESTINATION
    Overflow = 3,       // IDS_STERROR_OVERFLOW
  };

  StorageException(Error reason, const URL& url, IExceptionObject* inner = nullptr);
  StorageException(Error reason, const URL& url, const String& extra,
                   IExceptionObject* inner = nullptr);
  StorageException(Error reason, const URL& url, const char* file, unsigned line,
                   const char16_t* where, IExceptionObject* inner = nullptr);
  StorageException(Error reason, const URL& url, const char* file, unsigned line,
                   const char16_t* where, const String& extra, IExceptionObject* inner = nullptr);

  Error reason() const noexcept { return reason_; }
  const URL& url() const noexcept { return url_; }

  CORE_EXCEPTION_OWN_FIELDS(StorageException);

 private:
  Error reason_{};
  URL url_;
};

// A string template whose parameters do not match its placeholders
// ("IDS_TEMPLATE_" family).
class CORE_EXPORT StringTemplateException : public Exception {
 public:
  // {D8AC57D2-DC01-4FD3-9D99-4335B0869399}
  static constexpr GUID kClsid = {
      0xD8AC57D2, 0xDC01, 0x4FD3, {0x9D, 0x99, 0x43, 0x35, 0xB0, 0x86, 0x93, 0x99}};

  enum class Code : int32_t {
    ParamsNotEnough = 0,  // IDS_TEMPLATE_PARAMS_NOTENOUGH
    ParamsTooMany = 1,    // IDS_TEMPLATE_PARAMS_TOOMANY
    ParamWrong = 2,       // IDS_TEMPLATE_PARAM_WRONG
  };

  explicit StringTemplateException(Code code, IExceptionObject* inner = nullptr);
  StringTemplateException(Code code, const String& extra, IExceptionObject* inner = nullptr);
  StringTemplateException(Code code, const char* file, unsigned line, const char16_t* where,
                          IExceptionObject* inner = nullptr);
  StringTemplateException(Code code, const char* file, unsigned line, const char16_t* where,
                          const String& extra, IExceptionObject* inner = nullptr);

  Code code() const noexcept { return code_; }

  CORE_EXCEPTION_OWN_FIELDS(StringTemplateException);

 private:
  Code code_{};
};

// A delimited or quoted text that cannot be split into tokens
// ("IDS_ERR_STRING_UTILS_" family).
class CORE_EXPORT StringTokenizerException : public Exception {
 public:
  // {18577FCE-5C36-439B-B47A-BF465DB0342E}
  static constexpr GUID kClsid = {
      0x18577FCE, 0x5C36, 0x439B, {0xB4, 0x7A, 0xBF, 0x46, 0x5D, 0xB0, 0x34, 0x2E}};

  enum class Code : int32_t {
    MissedCloseQuotation = 0,  // IDS_ERR_STRING_UTILS_MISSED_CLOSE_QUOTATION
    MissedDelim = 1,           // IDS_ERR_STRING_UTILS_MISSED_DELIM
    UnexpectedQuotation = 2,   // IDS_ERR_STRING_UTILS_UNEXPECTED_QUOTATION
  };

  explicit StringTokenizerException(Code code, IExceptionObject* inner = nullptr);
  StringTokenizerException(Code code, const String& extra, IExceptionObject* inner = nullptr);
  StringTokenizerException(Code code, const char* file, unsigned line, const char16_t* where,
                           IExceptionObject* inner = nullptr);
  StringTokenizerException(Code code, const char* file, unsigned line, const char16_t* where,
                           const String& extra, IExceptionObject* inner = nullptr);

  Code code() const noexcept { return code_; }

  CORE_EXCEPTION_OWN_FIELDS(StringTokenizerException);

 private:
  Code code_{};
};

// A task of another thread that failed or could not run ("IDS_ERR_THREAD_"
// family).
class CORE_EXPORT ThreadException : public Exception {
 public:
  // {02448A5A-7CFB-471A-B57E-788F9497303C}
  static constexpr GUID kClsid = {
      0x02448A5A, 0x7CFB, 0x471A, {0xB5, 0x7E, 0x78, 0x8F, 0x94, 0x97, 0x30, 0x3C}};

  enum class Error : int32_t {
    Cancelled = 0,          // IDS_ERR_THREAD_CANCELLED
    Execution = 1,          // IDS_ERR_THREAD_EXECUTION
    Interrupted = 2,        // IDS_ERR_THREAD_INTERRUPTED
    RejectedExecution = 3,  // IDS_ERR_THREAD_REJECTEDEXECUTION
    Timeout = 4,            // IDS_ERR_THREAD_TIMEOUT
  };

  explicit ThreadException(Error reason, IExceptionObject* inner = nullptr);
  ThreadException(Error reason, const String& extra, IExceptionObject* inner = nullptr);
  ThreadException(Error reason, const char* file, unsigned line, const char16_t* where,
                  IExceptionObject* inner = nullptr);
  ThreadException(Error reason, const char* file, unsigned line, const char16_t* where,
                  const String& extra, IExceptionObject* inner = nullptr);

  Error reason() const noexcept { return reason_; }

  CORE_EXCEPTION_OWN_FIELDS(ThreadException);

 private:
  Error reason_{};
};

// An unknown time-zone identifier ("IDS_BADTIMEZONEID", whose "%s" the
// identifier fills).
class CORE_EXPORT TimeZoneException : public Exception {
 public:
  // {0666FADA-2911-4219-9B71-23502BAF546A}
  static constexpr GUID kClsid = {
      0x0666FADA, 0x2911, 0x4219, {0x9B, 0x71, 0x23, 0x50, 0x2B, 0xAF, 0x54, 0x6A}};
  static constexpr const char* kMessageId = "IDS_BADTIMEZONEID";

  explicit TimeZoneException(const String& id, IExceptionObject* inner = nullptr);
};

// A provider of type-domain patterns that failed; the description is given.
class CORE_EXPORT TypeDomainPatternProviderException : public Exception {
 public:
  // {6836C00C-EE39-46D9-ABD3-9E56A3F5D6C9}
  static constexpr GUID kClsid = {
      0x6836C00C, 0xEE39, 0x46D9, {0xAB, 0xD3, 0x9E, 0x56, 0xA3, 0xF5, 0xD6, 0xC9}};

  explicit TypeDomainPatternProviderException(const String& descr,
                                              IExceptionObject* inner = nullptr);
};

// A type that is not defined ("IDS_TYPEERROR_TYPENOTDEFINED", whose "%s" the
// type's name or identifier text fills; the default constructor fills it with
// nothing).
class CORE_EXPORT TypeException : public Exception {
 public:
  // {96A351F3-7957-48C1-80F4-80AC15B233DA}
  static constexpr GUID kClsid = {
      0x96A351F3, 0x7957, 0x48C1, {0x80, 0xF4, 0x80, 0xAC, 0x15, 0xB2, 0x33, 0xDA}};
  static constexpr const char* kMessageId = "IDS_TYPEERROR_TYPENOTDEFINED";

  TypeException();
  explicit TypeException(const String& type_name_or_guid_text, IExceptionObject* inner = nullptr);
};

// An operation the object does not support ("IDS_ERR_UNSUPPORTED_OPERATION").
class CORE_EXPORT UnsupportedOperationException : public Exception {
 public:
  // {7819D634-9EB4-4745-A6DE-29AF60A894A1}
  static constexpr GUID kClsid = {
      0x7819D634, 0x9EB4, 0x4745, {0xA6, 0xDE, 0x29, 0xAF, 0x60, 0xA8, 0x94, 0xA1}};
  static constexpr const char* kMessageId = "IDS_ERR_UNSUPPORTED_OPERATION";

  explicit UnsupportedOperationException(IExceptionObject* inner = nullptr);
  explicit UnsupportedOperationException(const String& extra, IExceptionObject* inner = nullptr);
  UnsupportedOperationException(const char* file, unsigned line, const char16_t* where,
                                IExceptionObject* inner = nullptr);
  UnsupportedOperationException(const char* file, unsigned line, const char16_t* where,
                                const String& extra, IExceptionObject* inner = nullptr);
};

// A check that a value is filled, applied to a value of a mutable type
// ("IDS_VALUE_IS_FILLED_ERROR_DESCR_MUTABLE_TYPE"); `code` is the thrower's
// own code for the check.
class CORE_EXPORT ValueIsFilledException : public Exception {
 public:
  // {692BE45E-09DA-4328-9A57-BC5237164046}
  static constexpr GUID kClsid = {
      0x692BE45E, 0x09DA, 0x4328, {0x9A, 0x57, 0xBC, 0x52, 0x37, 0x16, 0x40, 0x46}};
  static constexpr const char* kMessageId = "IDS_VALUE_IS_FILLED_ERROR_DESCR_MUTABLE_TYPE";

  explicit ValueIsFilledException(int32_t code, IExceptionObject* inner = nullptr);
  ValueIsFilledException(int32_t code, const String& extra, IExceptionObject* inner = nullptr);
  ValueIsFilledException(int32_t code, const char* file, unsigned line, const char16_t* where,
                         IExceptionObject* inner = nullptr);
  ValueIsFilledException(int32_t code, const char* file, unsigned line, const char16_t* where,
                         const String& extra, IExceptionObject* inner = nullptr);

  int32_t code() const noexcept { return code_; }

  CORE_EXCEPTION_OWN_FIELDS(ValueIsFilledException);

 private:
  int32_t code_{};
};

// A component whose version does not match the one asked for: the given
// description, the requested version and the resource from which a matching
// version may be downloaded.
class CORE_EXPORT VersionException : public Exception {
 public:
  // {9F06D311-1431-4A54-BD6F-FA93C4D4C471}
  static constexpr GUID kClsid = {
      0x9F06D311, 0x1431, 0x4A54, {0xBD, 0x6F, 0xFA, 0x93, 0xC4, 0xD4, 0xC4, 0x71}};

  VersionException(const String& descr, const std::string& requested_version,
                   const String& download_resource, IExceptionObject* inner = nullptr);

  const std::string& requestedVersion() const noexcept { return requested_version_; }
  const String& downloadResource() const noexcept { return download_resource_; }

  CORE_EXCEPTION_OWN_FIELDS(VersionException);

 private:
  std::string requested_version_;
  String download_resource_;
};

// The classes below stand outside the tree: they carry no data and are not
// Exceptions, so that handlers of Exception never catch them.

// Thrown inside hexadecimal conversion and turned into a library exception
// before it leaves the library.
class CORE_EXPORT HexConvExc {};

// The process could not be initialised.
class CORE_EXPORT ProcessInitException {};

// Unwinds a thread that is being stopped. Let it pass: catching it (other
// than to rethrow) keeps the thread alive.
class CORE_EXPORT ThreadDeath {};

#undef CORE_EXCEPTION_OWN_FIELDS

}  // namespace core

#endif  // CORE_EXCEPTION_CLASSES_H_
