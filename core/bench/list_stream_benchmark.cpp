// Brace lists: writing and reading a document of about 1 MB of nested lists
// of numbers, strings and GUIDs in the text and the binary encodings, the
// same document as UTF-16 JSON through RapidJSON when its headers are installed,
// and 100,000 values through the persistence storage.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "core/io.h"
#include "core/list_stream.h"
#include "core/persistence.h"
#include "core/value.h"

#if __has_include(<rapidjson/document.h>)
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#define CORE_BENCH_RAPIDJSON 1
#endif

namespace {

// A record: {id, "text", guid, {7 * id, -id, id / 4}}; 12,000 of them give
// about 1 MB of text.
constexpr int kRecords = 12000;

struct Record {
  long long id;
  core::String text;
  core::GUID guid;
  double quarter;
};

const std::vector<Record>& records() {
  static const std::vector<Record> kData = [] {
    std::vector<Record> data;
    data.reserve(kRecords);
    for (int i = 0; i < kRecords; ++i) {
      const std::string text = "record number " + std::to_string(i) + " of the sample set";
      const core::GUID guid = {
          static_cast<std::uint32_t>(i * 2654435761u),
          static_cast<std::uint16_t>(i),
          0x4d9b,
          {0x8a, 0x8b, 0x6d, 0x15, static_cast<std::uint8_t>(i), 0xe7, 0xb4, 0x46}};
      data.push_back({i * 1000003LL, core::String::fromUtf8(text), guid, i / 4.0});
    }
    return data;
  }();
  return kData;
}

void write_document(core::ListOutStream& out) {
  out.putBeginOfList();
  for (const Record& r : records()) {
    out.putBeginOfList();
    out.put(r.id);
    out.put(r.text);
    out.put(r.guid);
    out.putBeginOfList();
    out.put(r.id * 7);
    out.put(-r.id);
    out.put(r.quarter);
    out.putEndOfList();
    out.putEndOfList();
  }
  out.putEndOfList();
}

long long read_document(core::ListInStream& in) {
  long long sum = 0;
  core::String text;
  in.getBeginOfList();
  for (int i = 0; i < kRecords; ++i) {
    long long id = 0;
    long long a = 0;
    long long b = 0;
    double quarter = 0;
    core::GUID guid{};
    in.getBeginOfList();
    in.get(id);
    in.get(text);
    in.get(guid);
    in.getBeginOfList();
    in.get(a);
    in.get(b);
    in.get(quarter);
    in.getEndOfList();
    in.getEndOfList();
    sum += id + a + b + static_cast<long long>(text.size()) + guid.Data2 +
           static_cast<long long>(quarter);
  }
  in.getEndOfList();
  return sum;
}

const core::String& text_document() {
  static const core::String kText = [] {
    core::InterfacePtr<core::StringWriter> writer(new core::StringWriter);
    core::ListOutStream out(writer.get());
    write_document(out);
    out.close();
    return writer->str();
  }();
  return kText;
}

const std::string& binary_document() {
  static const std::string kBytes = [] {
    core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile);
    core::ListOutStream out(file.get());
    write_document(out);
    out.close();
    return file->bytes();
  }();
  return kBytes;
}

// The writers are timed, not the growth of their sinks: every writer below
// writes into a sink that keeps its memory from one round to the next (a
// text that is emptied, a file written again from its start, RapidJSON's
// buffer cleared).
class ReusedTextSink final : public core::UnknownImpl<core::IWriter> {
 public:
  void write(const char16_t* text, std::size_t count) override { text_.append(text, count); }
  void flush() override {}
  void clear() { text_.clear(); }
  const std::u16string& text() const { return text_; }

 private:
  std::u16string text_;
};

void BM_ListTextWrite(benchmark::State& state) {
  core::InterfacePtr<ReusedTextSink> sink(new ReusedTextSink);
  for (auto _ : state) {
    sink->clear();
    core::ListOutStream out(sink.get());
    write_document(out);
    out.close();
    benchmark::DoNotOptimize(sink->text().data());
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<int64_t>(text_document().size() * sizeof(char16_t)));
  state.counters["doc_bytes"] = static_cast<double>(text_document().size() * sizeof(char16_t));
}
BENCHMARK(BM_ListTextWrite)->Unit(benchmark::kMillisecond);

void BM_ListTextRead(benchmark::State& state) {
  const core::String& text = text_document();
  for (auto _ : state) {
    core::InterfacePtr<core::IReader> reader(new core::StringReader(text));
    core::ListInStream in(reader.get());
    benchmark::DoNotOptimize(read_document(in));
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<int64_t>(text.size() * sizeof(char16_t)));
}
BENCHMARK(BM_ListTextRead)->Unit(benchmark::kMillisecond);

void BM_ListBinaryWrite(benchmark::State& state) {
  core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile);
  for (auto _ : state) {
    file->seek(0);
    core::ListOutStream out(file.get());
    write_document(out);
    out.close();
    benchmark::DoNotOptimize(file->bytes().data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(binary_document().size()));
  state.counters["doc_bytes"] = static_cast<double>(binary_document().size());
}
BENCHMARK(BM_ListBinaryWrite)->Unit(benchmark::kMillisecond);

void BM_ListBinaryRead(benchmark::State& state) {
  const std::string& bytes = binary_document();
  // Read again from the start each round, as the text is: neither copies
  // its document.
  core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile(bytes));
  for (auto _ : state) {
    file->seek(0);
    core::ListInStream in(file.get());
    benchmark::DoNotOptimize(read_document(in));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(BM_ListBinaryRead)->Unit(benchmark::kMillisecond);

#ifdef CORE_BENCH_RAPIDJSON
// The same document as UTF-16 JSON, [[id,"text","guid",[7*id,-id,quarter]],...]
// with the GUID as its 36-character string: the peer of the text encoding,
// written by RapidJSON's writer and read by its in-situ parser.
using Json16 = rapidjson::UTF16<char16_t>;
using JsonBuffer16 = rapidjson::GenericStringBuffer<Json16>;
using JsonWriter16 = rapidjson::Writer<JsonBuffer16, Json16, Json16>;

// GUIDs converted up front, so that only the writer is timed, as the
// brace-list writer above is handed ready GUIDs.
const std::vector<core::String>& guid_texts() {
  static const std::vector<core::String> kTexts = [] {
    std::vector<core::String> texts;
    for (const Record& r : records()) texts.push_back(r.guid.toString());
    return texts;
  }();
  return kTexts;
}

void write_json(JsonWriter16& writer) {
  const std::vector<core::String>& guids = guid_texts();
  writer.StartArray();
  for (std::size_t i = 0; i < records().size(); ++i) {
    const Record& r = records()[i];
    writer.StartArray();
    writer.Int64(r.id);
    writer.String(r.text.data(), static_cast<rapidjson::SizeType>(r.text.size()));
    writer.String(guids[i].data(), static_cast<rapidjson::SizeType>(guids[i].size()));
    writer.StartArray();
    writer.Int64(r.id * 7);
    writer.Int64(-r.id);
    writer.Double(r.quarter);
    writer.EndArray();
    writer.EndArray();
  }
  writer.EndArray();
}

void BM_JsonWrite(benchmark::State& state) {
  guid_texts();
  std::size_t size = 0;
  JsonBuffer16 buffer;
  for (auto _ : state) {
    buffer.Clear();
    JsonWriter16 writer(buffer);
    write_json(writer);
    size = buffer.GetSize();
    benchmark::DoNotOptimize(buffer.GetString());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
  state.counters["doc_bytes"] = static_cast<double>(size);
}
BENCHMARK(BM_JsonWrite)->Unit(benchmark::kMillisecond);

// The parser works in place, so each round parses a fresh copy of the text;
// the copy is not timed.
void BM_JsonParse(benchmark::State& state) {
  JsonBuffer16 buffer;
  JsonWriter16 writer(buffer);
  write_json(writer);
  const std::u16string json(buffer.GetString(), buffer.GetSize() / sizeof(char16_t));
  std::u16string copy;
  for (auto _ : state) {
    state.PauseTiming();
    copy = json;
    state.ResumeTiming();
    rapidjson::GenericDocument<Json16> document;
    document.ParseInsitu(copy.data());
    long long sum = 0;
    for (const auto& record : document.GetArray()) {
      const auto& numbers = record[3];
      sum += record[0].GetInt64() + record[1].GetStringLength() + record[2].GetStringLength() +
             numbers[0].GetInt64() + numbers[1].GetInt64() +
             static_cast<long long>(numbers[2].GetDouble());
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<int64_t>(json.size() * sizeof(char16_t)));
}
BENCHMARK(BM_JsonParse)->Unit(benchmark::kMillisecond);
#endif

// 100,000 values through the persistence storage: Numbers (every other one
// with a fraction) or Strings.
constexpr int kValues = 100000;

std::vector<core::Value> sample_values(bool strings) {
  std::vector<core::Value> values;
  values.reserve(kValues);
  for (int i = 0; i < kValues; ++i) {
    if (strings) {
      values.emplace_back(core::String::fromUtf8("value " + std::to_string(i)));
    } else {
      values.emplace_back(i % 2 == 0 ? core::Numeric(i) : core::Numeric(i) / core::Numeric(8));
    }
  }
  return values;
}

void BM_PersistValues(benchmark::State& state) {
  const bool strings = state.range(0) != 0;
  const bool binary = state.range(1) != 0;
  const std::vector<core::Value> values = sample_values(strings);
  core::Value read;
  for (auto _ : state) {
    core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile);
    core::InterfacePtr<core::StringWriter> text(new core::StringWriter);
    {
      core::InterfacePtr<core::ListOutPersistenceStorage> out(new core::ListOutPersistenceStorage(
          binary ? core::ListOutStream(file.get()) : core::ListOutStream(text.get())));
      for (const core::Value& value : values) value.serialize(out.get());
      out->writer().close();
    }
    file->seek(0);
    core::InterfacePtr<core::IReader> reader(new core::StringReader(text->str()));
    core::InterfacePtr<core::ListInPersistenceStorage> in(new core::ListInPersistenceStorage(
        binary ? core::ListInStream(file.get()) : core::ListInStream(reader.get())));
    for (int i = 0; i < kValues; ++i) core::GenericValue::deserialize(in.get(), read);
    benchmark::DoNotOptimize(read.getIValue());
  }
  state.SetItemsProcessed(state.iterations() * kValues);
  state.SetLabel(std::string(strings ? "String" : "Number") + (binary ? ", binary" : ", text") +
                 ", write and read");
}
BENCHMARK(BM_PersistValues)
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({1, 0})
    ->Args({1, 1})
    ->Unit(benchmark::kMillisecond);

}  // namespace
