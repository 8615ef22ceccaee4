// Implements core/persistence.h: persistence storages and the brace-list form of values.
#include <string>
#include <tuple>
#include <type_traits>

#include "core/binary_data.h"
#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/io.h"
#include "core/list_stream.h"
#include "core/persistence.h"
#include "core/value.h"
#include "internal/exception_object.h"
#include "internal/throw.h"

namespace core {

using detail::throw_list_stream_error;

namespace {

// Causes deeper than this are refused, so that hostile data cannot exhaust
// the stack.
constexpr int kMaxCauseDepth = 64;

}  // namespace

void write_value(IOutPersistenceStorage* storage, IValue* value) {
  ListOutStream& out = storage->writer();
  if (value == nullptr) {
    out.putBeginOfList();
    out.put(static_cast<int>(TypeCode::Undefined));
    out.putEndOfList();
    return;
  }
  const TypeCode code = value->getIType()->getTypeCode();
  switch (code) {
    case TypeCode::Undefined:
    case TypeCode::Null:
      out.putBeginOfList();
      out.put(static_cast<int>(code));
      out.putEndOfList();
      return;
    case TypeCode::Boolean: {
      bool flag = false;
      (void)value->getBoolean(flag);  // the type code says it converts
      out.putBeginOfList();
      out.put(static_cast<int>(code));
      out.put(flag);
      out.putEndOfList();
      return;
    }
    case TypeCode::Number: {
      Numeric number;
      (void)value->getNumeric(number);  // the type code says it converts
      out.putBeginOfList();
      out.put(static_cast<int>(code));
      out.put(number);
      out.putEndOfList();
      return;
    }
    case TypeCode::String: {
      String text;
      (void)value->getString(text);  // the type code says it converts
      out.putBeginOfList();
      out.put(static_cast<int>(code));
      out.put(text);
      out.putEndOfList();
      return;
    }
    case TypeCode::Date: {
      Date date;
      (void)value->getDate(date);  // the type code says it converts
      out.putBeginOfList();
      out.put(static_cast<int>(code));
      out.put(static_cast<unsigned long long>(date.ticks()));
      out.putEndOfList();
      return;
    }
    case TypeCode::Type: {
      InterfacePtr<IValue> held(value);
      const InterfacePtr<ITypeValue> type = held.query<ITypeValue>();
      if (!type) break;
      out.putBeginOfList();
      out.put(static_cast<int>(code));
      out.put(type->typeCLSID());
      out.putEndOfList();
      return;
    }
    default:
      if (const BinaryDataValue* binary = binary_data_of(value)) {
        out.putBeginOfList();
        out.put(static_cast<int>(TypeCode::Object));
        out.put(kBinaryDataTypeClsid);
        out.put(static_cast<const void*>(binary->bytes().data()), binary->size());
        out.putEndOfList();
        return;
      }
      if (InterfacePtr<ISerializableValue> serializable =
              InterfacePtr<IValue>(value).query<ISerializableValue>()) {
        out.putBeginOfList();
        out.put(static_cast<int>(TypeCode::Object));
        out.put(value->getIType()->getCLSID());
        serializable->serialize(storage);
        out.putEndOfList();
        return;
      }
      break;
  }
  throw UnsupportedOperationException();
}

InterfacePtr<IValue> read_value(IInPersistenceStorage* storage) {
  ListInStream& in = storage->reader();
  in.getBeginOfList();
  int code = 0;
  in.get(code);
  InterfacePtr<IValue> value;
  switch (static_cast<TypeCode>(code)) {
    case TypeCode::Undefined:
      value.reset(create_undefined_value());
      break;
    case TypeCode::Null:
      value.reset(create_null_value());
      break;
    case TypeCode::Boolean: {
      bool flag = false;
      in.get(flag);
      value.reset(create_boolean_value(flag));
      break;
    }
    case TypeCode::Number: {
      Numeric number;
      in.get(number);
      value = create_numeric_value(number);
      break;
    }
    case TypeCode::String: {
      String text;
      in.get(text);
      value = create_string_value(text);
      break;
    }
    case TypeCode::Date: {
      unsigned long long ticks = 0;
      in.get(ticks);
      if (ticks > Date::kMaxTicks) throw_list_stream_error();
      value = create_date_value(Date(ticks));
      break;
    }
    case TypeCode::Type: {
      GUID clsid{};
      in.get(clsid);
      value = create_type_value(clsid);
      break;
    }
    case TypeCode::Object: {
      GUID clsid{};
      in.get(clsid);
      if (clsid == kBinaryDataTypeClsid) {
        std::string bytes;
        in.get(bytes);
        value = create_binary_data_value(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
        break;
      }
      const InterfacePtr<IDeserializingType> type =
          Type::create_type(clsid).query<IDeserializingType>();
      if (!type) throw_list_stream_error();
      value = type->deserialize(storage);
      break;
    }
    default:
      throw_list_stream_error();
  }
  in.getEndOfList();
  return value;
}

void to_stream(ListOutStream& out, const Numeric& value) {
  out.putBeginOfList();
  out.put(value);
  out.putEndOfList();
}
void from_stream(ListInStream& in, Numeric& value) {
  in.getBeginOfList();
  in.get(value);
  in.getEndOfList();
}

void to_stream(ListOutStream& out, const Date& value) {
  out.putBeginOfList();
  out.put(static_cast<unsigned long long>(value.ticks()));
  out.putEndOfList();
}
void from_stream(ListInStream& in, Date& value) {
  in.getBeginOfList();
  unsigned long long ticks = 0;
  in.get(ticks);
  if (ticks > Date::kMaxTicks) throw_list_stream_error();
  in.getEndOfList();
  value = Date(ticks);
}

namespace {

// Hands the units of `reader` on one list at a time: it ends the input behind
// the closing brace of the first list, so a text list stream reading ahead
// takes nothing that belongs to what follows. Quoted strings, whose braces do
// not count, follow the text encoding's rule (a doubled quote stays inside).
class OneListReader final : public UnknownImpl<IReader> {
 public:
  explicit OneListReader(IReader* reader) : reader_(reader) {}

  std::size_t read(char16_t* buffer, std::size_t count) override {
    std::size_t done = 0;
    while (done < count && !finished_) {
      char16_t unit = 0;
      if (reader_->read(&unit, 1) == 0) break;
      buffer[done++] = unit;
      if (unit == u'"') {
        quoted_ = !quoted_;
      } else if (!quoted_ && unit == u'{') {
        ++depth_;
      } else if (!quoted_ && unit == u'}') {
        finished_ = --depth_ <= 0;
      }
    }
    return done;
  }

 private:
  IReader* reader_;
  long depth_ = 0;
  bool quoted_ = false;
  bool finished_ = false;
};

template <class T>
T* require(T* pointer) {
  if (pointer == nullptr) throw IllegalArgumentException();
  return pointer;
}

template <class T>
void write_text_form(IWriter* writer, const T& value) {
  ListOutStream out(require(writer));
  to_stream(out, value);
  out.close();
}

template <class T>
void read_text_form(IReader* reader, T& value) {
  InterfacePtr<IReader> one(new OneListReader(require(reader)));
  ListInStream in(one.get());
  T read;
  from_stream(in, read);
  value = std::move(read);
}

template <class T>
void read_list_form(IListInStream* stream, T& value) {
  ListInStream in(require(stream));
  T read;
  from_stream(in, read);
  value = std::move(read);
}

}  // namespace

void Numeric::toStream(IWriter* writer) const { write_text_form(writer, *this); }
void Numeric::fromStream(IReader* reader) { read_text_form(reader, *this); }
void Numeric::toBinary(IListOutStream* stream) const {
  ListOutStream out(require(stream));
  to_stream(out, *this);
}
void Numeric::fromBinary(IListInStream* stream) { read_list_form(stream, *this); }

void Date::toStream(IWriter* writer) const { write_text_form(writer, *this); }
void Date::fromStream(IReader* reader) { read_text_form(reader, *this); }
void Date::toBinary(IListOutStream* stream) const {
  ListOutStream out(require(stream));
  to_stream(out, *this);
}
void Date::fromBinary(IListInStream* stream) { read_list_form(stream, *this); }

void to_stream(ListOutStream& out, const GUID& value) {
  out.putBeginOfList();
  out.put(value);
  out.putEndOfList();
}
void from_stream(ListInStream& in, GUID& value) {
  in.getBeginOfList();
  GUID read{};
  in.get(read);
  in.getEndOfList();
  value = read;
}

void to_stream(ListOutStream& out, const TimeZone& value) { value.serialize(out); }
void from_stream(ListInStream& in, TimeZone& value) { value.deserialize(in); }

void TimeZone::serialize(ListOutStream& out) const {
  out.putBeginOfList();
  out.put(id());
  out.putEndOfList();
}

void TimeZone::deserialize(ListInStream& in) {
  in.getBeginOfList();
  String name;
  in.get(name);
  in.getEndOfList();
  try {
    *this = TimeZone(name);
  } catch (const TimeZoneException& e) {
    throw ListStreamException(e.object().get());
  }
}

// ---------------------------------------------------------------------------
// GenericValue.

void GenericValue::serialize(IOutPersistenceStorage* storage) const {
  write_value(storage, getIValue());
}

void GenericValue::deserialize(IInPersistenceStorage* storage, GenericValue& value) {
  const InterfacePtr<IValue> read = read_value(storage);
  value.setIValue(read.get());
}

void GenericValue::toString(String& out) const {
  InterfacePtr<MemoryFile> file(new MemoryFile);
  {
    InterfacePtr<IWriter> writer(new Utf8FileWriter(file.get()));
    InterfacePtr<ListOutPersistenceStorage> storage(
        new ListOutPersistenceStorage(ListOutStream(writer.get())));
    serialize(storage.get());
    storage->writer().close();
  }
  out = String::fromUtf8(file->bytes());
}

void GenericValue::fromString(const String& text, GenericValue& value) {
  InterfacePtr<MemoryFile> file(new MemoryFile(text.toUtf8()));
  InterfacePtr<IReader> reader(new Utf8FileReader(file.get()));
  InterfacePtr<ListInPersistenceStorage> storage(
      new ListInPersistenceStorage(ListInStream(reader.get())));
  deserialize(storage.get(), value);
  if (storage->reader().peek() != ListToken::End) throw_list_stream_error();
}

// ---------------------------------------------------------------------------
// Exception.

namespace {

void write_exception(IOutPersistenceStorage* storage, const Exception& e) {
  ListOutStream& out = storage->writer();
  out.putBeginOfList();
  out.put(e.clsid());
  out.put(e.descr());
  const InterfacePtr<IExceptionObject> cause = e.inner();
  if (!cause) {
    out.putBeginOfList();
    out.put(GUID{});
    out.putEndOfList();
  } else if (const auto serializable = cause.query<ISerializableException>()) {
    serializable->serialize(storage);
  }
  if (!e.stackTrace().empty()) {
    out.put(e.stackTrace());
  } else {
    out.put(String::fromUtf8(e.creationStackTrace()));
  }
  out.put(String::fromUtf8(e.categories().to_string()));
  out.put(e.uiHelperUUID());
  out.putEndOfList();
}

// What comes next in the list being read, the comma before it consumed.
ListToken next_element(ListInStream& in) {
  in.getComma();
  return in.peek();
}

// Rebuilds a cause of a class with fields of its own from its Exception part
// and the list of those fields that follows it.
using CauseBuilder = InterfacePtr<IExceptionObject> (*)(const Exception& base,
                                                        IInPersistenceStorage* storage);

CauseBuilder cause_builder(const GUID& clsid);

class ExceptionReader {
 public:
  // Exception's constructor with every field, which only Exception reaches.
  using Make = Exception (*)(const GUID& clsid, const String& descr, IExceptionObject* inner,
                             const GUID& ui_helper_uuid, const Exception::Categories& categories,
                             const String& stack_trace);

  ExceptionReader(IInPersistenceStorage* storage, Make make) : storage_(storage), make_(make) {}

  // Reads one exception list whose class identifier has been read.
  Exception rest(const GUID& clsid) {
    ListInStream& in = storage_->reader();
    String descr;
    in.get(descr);
    const InterfacePtr<IExceptionObject> cause = readCause();
    String stack;
    in.get(stack);
    String bits;
    in.get(bits);
    if (bits.size() != Exception::kCategoryCount) throw_list_stream_error();
    Exception::Categories categories;
    for (std::size_t i = 0; i < Exception::kCategoryCount; ++i) {
      const char16_t c = bits[Exception::kCategoryCount - 1 - i];
      if (c != u'0' && c != u'1') throw_list_stream_error();
      categories.set(i, c == u'1');
    }
    GUID ui_helper{};
    in.get(ui_helper);
    in.getEndOfList();
    return make_(clsid, descr, cause.get(), ui_helper, categories, stack);
  }

 private:
  // The cause: a list (the zero GUID alone for none) and, for a class with
  // fields of its own, the list of those; nothing when the writer left an
  // unserializable cause out.
  InterfacePtr<IExceptionObject> readCause() {
    ListInStream& in = storage_->reader();
    if (next_element(in) != ListToken::BeginOfList) return {};
    in.getBeginOfList();
    GUID clsid{};
    in.get(clsid);
    if (clsid == GUID{}) {
      in.getEndOfList();
      return {};
    }
    if (++depth_ > kMaxCauseDepth) throw_list_stream_error();
    const Exception base = rest(clsid);
    --depth_;
    if (next_element(in) != ListToken::BeginOfList) return base.object();
    const CauseBuilder build = cause_builder(clsid);
    if (build == nullptr) throw_list_stream_error();
    return build(base, storage_);
  }

  IInPersistenceStorage* storage_;
  Make make_;
  int depth_ = 0;
};

}  // namespace

void Exception::serialize(IOutPersistenceStorage* storage) const {
  write_exception(storage, *this);
}

void Exception::deserialize(IInPersistenceStorage* storage) {
  ListInStream& in = storage->reader();
  in.getBeginOfList();
  GUID clsid{};
  in.get(clsid);
  const ExceptionReader::Make make = [](const GUID& id, const String& descr,
                                        IExceptionObject* inner, const GUID& ui_helper_uuid,
                                        const Categories& categories, const String& stack_trace) {
    return Exception(id, descr, inner, ui_helper_uuid, categories, stack_trace);
  };
  *this = ExceptionReader(storage, make).rest(clsid);
}

// ---------------------------------------------------------------------------
// The extra fields of the exception classes that carry them: one list after
// the base part, the fields in the order of their declarations.

namespace {

template <class Enum>
requires std::is_enum_v<Enum>
void put_field(ListOutStream& out, Enum value) { out.put(static_cast<int32_t>(value)); }
void put_field(ListOutStream& out, int32_t value) { out.put(value); }
void put_field(ListOutStream& out, bool value) { out.put(value); }
void put_field(ListOutStream& out, const String& value) { out.put(value); }
void put_field(ListOutStream& out, const std::string& value) { out.put(String::fromUtf8(value)); }
void put_field(ListOutStream& out, const URL& value) { out.put(value.text()); }

template <class Enum>
requires std::is_enum_v<Enum>
void get_field(ListInStream& in, Enum& value) {
  int32_t stored = 0;
  in.get(stored);
  value = static_cast<Enum>(stored);
}
void get_field(ListInStream& in, int32_t& value) { in.get(value); }
void get_field(ListInStream& in, bool& value) { in.get(value); }
void get_field(ListInStream& in, String& value) { in.get(value); }
void get_field(ListInStream& in, std::string& value) {
  String text;
  in.get(text);
  value = text.toUtf8();
}
void get_field(ListInStream& in, URL& value) {
  String text;
  in.get(text);
  value = URL(text);
}

template <class... Fields>
void write_extra(IOutPersistenceStorage* storage, const Fields&... fields) {
  ListOutStream& out = storage->writer();
  out.putBeginOfList();
  (put_field(out, fields), ...);
  out.putEndOfList();
}

// Reads into copies first, so that a failure leaves the fields unchanged.
template <class... Fields>
void read_extra(IInPersistenceStorage* storage, Fields&... fields) {
  ListInStream& in = storage->reader();
  std::tuple<Fields...> read{fields...};
  in.getBeginOfList();
  std::apply([&in](auto&... field) { (get_field(in, field), ...); }, read);
  in.getEndOfList();
  std::tie(fields...) = std::move(read);
}

template <class E>
InterfacePtr<IExceptionObject> build_cause(const Exception& base, IInPersistenceStorage* storage) {
  return E(ExceptionPart{base, storage}).object();
}

}  // namespace

#define CORE_EXCEPTION_EXTRA_FIELDS(Class, Base, ...)                         \
  Class::Class(const ExceptionPart& part) : Base(part) {                      \
    if (part.own_fields != nullptr) read_extra(part.own_fields, __VA_ARGS__); \
  }                                                                           \
  void Class::serialize(IOutPersistenceStorage* storage) const {              \
    Exception::serialize(storage);                                            \
    write_extra(storage, __VA_ARGS__);                                        \
  }                                                                           \
  void Class::deserialize(IInPersistenceStorage* storage) {                   \
    Exception::deserialize(storage);                                          \
    read_extra(storage, __VA_ARGS__);                                         \
  }                                                                           \
  InterfacePtr<IExceptionObject> Class::object() const {                      \
    return detail::make_exception_object(*this);                              \
  }

CORE_EXCEPTION_EXTRA_FIELDS(BufferException, Exception, reason_)
CORE_EXCEPTION_EXTRA_FIELDS(COMTypeException, Exception, code_)
CORE_EXCEPTION_EXTRA_FIELDS(CancelOperationException, Exception, reason_)
CORE_EXCEPTION_EXTRA_FIELDS(ComparatorException, Exception, code_)
CORE_EXCEPTION_EXTRA_FIELDS(ConverterException, Exception, code_)
CORE_EXCEPTION_EXTRA_FIELDS(EDBException, Exception, code_, details_)
CORE_EXCEPTION_EXTRA_FIELDS(FileException, Exception, reason_, path_, is_directory_, url_,
                            second_url_)
CORE_EXCEPTION_EXTRA_FIELDS(IOException, Exception, reason_)
CORE_EXCEPTION_EXTRA_FIELDS(InteractiveSecurityException, Exception, action_)
CORE_EXCEPTION_EXTRA_FIELDS(NumericException, Exception, code_)
CORE_EXCEPTION_EXTRA_FIELDS(PivotSourceException, Exception, reason_)
CORE_EXCEPTION_EXTRA_FIELDS(RegexException, Exception, reason_)
CORE_EXCEPTION_EXTRA_FIELDS(NetDataExchangeException, RemotingException, kind_, code_)
CORE_EXCEPTION_EXTRA_FIELDS(SCOM_Exception, Exception, reason_)
CORE_EXCEPTION_EXTRA_FIELDS(StorageException, Exception, reason_, url_)
CORE_EXCEPTION_EXTRA_FIELDS(StringTemplateException, Exception, code_)
CORE_EXCEPTION_EXTRA_FIELDS(StringTokenizerException, Exception, code_)
CORE_EXCEPTION_EXTRA_FIELDS(ThreadException, Exception, reason_)
CORE_EXCEPTION_EXTRA_FIELDS(ValueIsFilledException, Exception, code_)
CORE_EXCEPTION_EXTRA_FIELDS(VersionException, Exception, requested_version_, download_resource_)

#undef CORE_EXCEPTION_EXTRA_FIELDS

namespace {

CauseBuilder cause_builder(const GUID& clsid) {
  struct Entry {
    GUID clsid;
    CauseBuilder build;
  };
  static const Entry entries[] = {
      {BufferException::kClsid, &build_cause<BufferException>},
      {COMTypeException::kClsid, &build_cause<COMTypeException>},
      {CancelOperationException::kClsid, &build_cause<CancelOperationException>},
      {ComparatorException::kClsid, &build_cause<ComparatorException>},
      {ConverterException::kClsid, &build_cause<ConverterException>},
      {EDBException::kClsid, &build_cause<EDBException>},
      {FileException::kClsid, &build_cause<FileException>},
      {IOException::kClsid, &build_cause<IOException>},
      {InteractiveSecurityException::kClsid, &build_cause<InteractiveSecurityException>},
      {NumericException::kClsid, &build_cause<NumericException>},
      {PivotSourceException::kClsid, &build_cause<PivotSourceException>},
      {RegexException::kClsid, &build_cause<RegexException>},
      {NetDataExchangeException::kClsid, &build_cause<NetDataExchangeException>},
      {SCOM_Exception::kClsid, &build_cause<SCOM_Exception>},
      {StorageException::kClsid, &build_cause<StorageException>},
      {StringTemplateException::kClsid, &build_cause<StringTemplateException>},
      {StringTokenizerException::kClsid, &build_cause<StringTokenizerException>},
      {ThreadException::kClsid, &build_cause<ThreadException>},
      {ValueIsFilledException::kClsid, &build_cause<ValueIsFilledException>},
      {VersionException::kClsid, &build_cause<VersionException>},
  };
  for (const Entry& entry : entries) {
    if (entry.clsid == clsid) return entry.build;
  }
  return nullptr;
}

}  // namespace

}  // namespace core
