// The collections under the work script code gives them: Array Add and Get,
// Map Insert and Get of Number and of String keys, Structure Insert and
// Property of 30 keys. Each through the calling helper (by method index, as
// a compiled script calls), directly on the C++ objects, and on the
// standard container with the same hash and equality as the peer.
// bytes_per_element: the heap the filled container holds, per element.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "core/collections.h"
#include "core/nocase.h"

namespace {

using core::GenericValue;
using core::Value;

constexpr int kCount = 1000000;

struct ValueHash {
  std::size_t operator()(const Value& value) const { return core::MapKeyTraits::hash(value); }
};
struct ValueEqual {
  bool operator()(const Value& a, const Value& b) const { return a.equals(b); }
};
using ValueMap = std::unordered_map<Value, Value, ValueHash, ValueEqual>;

struct NameHash {
  std::size_t operator()(const core::String& name) const { return core::hash_nocase(name); }
};
struct NameEqual {
  bool operator()(const core::String& a, const core::String& b) const {
    return core::compare_nocase(a, b) == 0;
  }
};
using NameMap = std::unordered_map<core::String, Value, NameHash, NameEqual>;

const std::vector<Value>& numbers() {
  static const std::vector<Value> kValues = [] {
    std::vector<Value> values;
    values.reserve(kCount);
    for (int i = 0; i < kCount; ++i) values.emplace_back(i);
    return values;
  }();
  return kValues;
}

const std::vector<Value>& texts() {
  static const std::vector<Value> kValues = [] {
    std::vector<Value> values;
    values.reserve(kCount);
    for (int i = 0; i < kCount; ++i) {
      values.emplace_back(core::String(
          u"key" + std::u16string(std::to_string(i).begin(), std::to_string(i).end())));
    }
    return values;
  }();
  return kValues;
}

const std::vector<Value>& keys(const benchmark::State& state) {
  return state.range(0) == 0 ? numbers() : texts();
}

// Small blocks from the heap plus large ones mapped on their own.
std::size_t heap_in_use() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

void finish(benchmark::State& state, std::size_t elements, std::size_t held_bytes) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * elements));
  state.counters["bytes_per_element"] =
      static_cast<double>(held_bytes) / static_cast<double>(elements);
}

// A call by method index, as compiled script code makes it.
struct Caller {
  core::IContext* context;
  std::vector<GenericValue*> args;
  void operator()(int method, GenericValue* ret_val) {
    core::call_context_method(context, method, args, ret_val);
  }
};

// ---------------------------------------------------------------------------
// Array.

void BM_ArrayAddGet_Helper(benchmark::State& state) {
  const std::vector<Value>& items = numbers();
  std::size_t held = 0;
  for (auto _ : state) {
    const std::size_t before = heap_in_use();
    const core::InterfacePtr<core::Array> array = core::create_array();
    Caller call{array.get(), {nullptr}};
    for (const Value& item : items) {
      call.args[0] = const_cast<Value*>(&item);
      call(3, nullptr);  // Add
    }
    held = heap_in_use() - before;
    Value index;
    Value result;
    for (int i = 0; i < kCount; ++i) {
      index = items[static_cast<std::size_t>(i)];
      call.args[0] = &index;
      call(6, &result);  // Get
    }
    benchmark::DoNotOptimize(result.getIValue());
  }
  finish(state, kCount, held);
}
BENCHMARK(BM_ArrayAddGet_Helper)->Unit(benchmark::kMillisecond);

void BM_ArrayAddGet_Direct(benchmark::State& state) {
  const std::vector<Value>& items = numbers();
  std::size_t held = 0;
  for (auto _ : state) {
    const std::size_t before = heap_in_use();
    const core::InterfacePtr<core::Array> array = core::create_array();
    for (const Value& item : items) array->add(item);
    held = heap_in_use() - before;
    for (int i = 0; i < kCount; ++i) benchmark::DoNotOptimize(array->get(i).getIValue());
  }
  finish(state, kCount, held);
}
BENCHMARK(BM_ArrayAddGet_Direct)->Unit(benchmark::kMillisecond);

// The helper's work without the helper: the index read from a Value, the
// element taken into a Value. Against _Helper, the cost of the call alone.
void BM_ArrayAddGet_DirectHeld(benchmark::State& state) {
  const std::vector<Value>& items = numbers();
  for (auto _ : state) {
    const core::InterfacePtr<core::Array> array = core::create_array();
    for (const Value& item : items) array->add(item);
    Value index;
    Value result;
    for (int i = 0; i < kCount; ++i) {
      index = items[static_cast<std::size_t>(i)];
      result = array->get(core::collection_index_argument(index, 0));
    }
    benchmark::DoNotOptimize(result.getIValue());
  }
  finish(state, kCount, 0);
}
BENCHMARK(BM_ArrayAddGet_DirectHeld)->Unit(benchmark::kMillisecond);

void BM_ArrayAddGet_StdVector(benchmark::State& state) {
  const std::vector<Value>& items = numbers();
  std::size_t held = 0;
  for (auto _ : state) {
    const std::size_t before = heap_in_use();
    std::vector<Value> array;
    for (const Value& item : items) array.push_back(item);
    held = heap_in_use() - before;
    for (int i = 0; i < kCount; ++i) {
      benchmark::DoNotOptimize(array.at(static_cast<std::size_t>(i)).getIValue());
    }
  }
  finish(state, kCount, held);
}
BENCHMARK(BM_ArrayAddGet_StdVector)->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------------------
// Map: argument 0 Number keys, 1 String keys.

void BM_MapInsertGet_Helper(benchmark::State& state) {
  const std::vector<Value>& items = keys(state);
  std::size_t held = 0;
  for (auto _ : state) {
    const std::size_t before = heap_in_use();
    const core::InterfacePtr<core::Map> map = core::create_map();
    Caller call{map.get(), {nullptr, nullptr}};
    for (const Value& item : items) {
      call.args[0] = const_cast<Value*>(&item);
      call.args[1] = const_cast<Value*>(&item);
      call(1, nullptr);  // Insert
    }
    held = heap_in_use() - before;
    call.args.resize(1);
    Value result;
    for (const Value& item : items) {
      call.args[0] = const_cast<Value*>(&item);
      call(4, &result);  // Get
    }
    benchmark::DoNotOptimize(result.getIValue());
  }
  finish(state, kCount, held);
}
BENCHMARK(BM_MapInsertGet_Helper)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_MapInsertGet_Direct(benchmark::State& state) {
  const std::vector<Value>& items = keys(state);
  std::size_t held = 0;
  for (auto _ : state) {
    const std::size_t before = heap_in_use();
    const core::InterfacePtr<core::Map> map = core::create_map();
    for (const Value& item : items) map->insert(item, item);
    held = heap_in_use() - before;
    for (const Value& item : items) benchmark::DoNotOptimize(map->find(item));
  }
  finish(state, kCount, held);
}
BENCHMARK(BM_MapInsertGet_Direct)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The helper's work without the helper: the value found taken into a Value.
void BM_MapInsertGet_DirectHeld(benchmark::State& state) {
  const std::vector<Value>& items = keys(state);
  for (auto _ : state) {
    const core::InterfacePtr<core::Map> map = core::create_map();
    for (const Value& item : items) map->insert(item, item);
    Value result;
    for (const Value& item : items) {
      const Value* found = map->find(item);
      if (found == nullptr) {
        result.clear();
      } else {
        result = *found;
      }
    }
    benchmark::DoNotOptimize(result.getIValue());
  }
  finish(state, kCount, 0);
}
BENCHMARK(BM_MapInsertGet_DirectHeld)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_MapInsertGet_StdUnorderedMap(benchmark::State& state) {
  const std::vector<Value>& items = keys(state);
  std::size_t held = 0;
  for (auto _ : state) {
    const std::size_t before = heap_in_use();
    ValueMap map;
    for (const Value& item : items) map.insert_or_assign(item, item);
    held = heap_in_use() - before;
    for (const Value& item : items) {
      const auto found = map.find(item);
      benchmark::DoNotOptimize(found == map.end() ? nullptr : &found->second);
    }
  }
  finish(state, kCount, held);
}
BENCHMARK(BM_MapInsertGet_StdUnorderedMap)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------------------
// Structure: 30 keys inserted, then each read with Property.

constexpr int kKeys = 30;

const std::vector<Value>& names() {
  static const std::vector<Value> kNames = [] {
    std::vector<Value> values;
    for (int i = 0; i < kKeys; ++i) {
      const std::string name = "Field" + std::to_string(i);
      values.emplace_back(core::String(std::u16string(name.begin(), name.end())));
    }
    return values;
  }();
  return kNames;
}

void BM_StructureInsertProperty_Helper(benchmark::State& state) {
  const std::vector<Value>& keys_ = names();
  for (auto _ : state) {
    const core::InterfacePtr<core::Structure> structure = core::create_structure();
    Caller call{structure.get(), {nullptr, nullptr}};
    for (const Value& key : keys_) {
      call.args[0] = const_cast<Value*>(&key);
      call.args[1] = const_cast<Value*>(&key);
      call(1, nullptr);  // Insert
    }
    Value out;
    Value found;
    call.args[1] = &out;
    for (const Value& key : keys_) {
      call.args[0] = const_cast<Value*>(&key);
      call(4, &found);  // Property
    }
    benchmark::DoNotOptimize(found.getIValue());
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kKeys));
}
BENCHMARK(BM_StructureInsertProperty_Helper);

void BM_StructureInsertProperty_Direct(benchmark::State& state) {
  const std::vector<Value>& keys_ = names();
  for (auto _ : state) {
    const core::InterfacePtr<core::Structure> structure = core::create_structure();
    for (const Value& key : keys_) structure->insert(key, key);
    for (const Value& key : keys_) {
      benchmark::DoNotOptimize(structure->find(core::structure_key(key)));
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kKeys));
}
BENCHMARK(BM_StructureInsertProperty_Direct);

void BM_StructureInsertProperty_StdUnorderedMap(benchmark::State& state) {
  const std::vector<Value>& keys_ = names();
  for (auto _ : state) {
    NameMap structure;
    for (const Value& key : keys_) structure.insert_or_assign(core::structure_key(key), key);
    for (const Value& key : keys_) {
      benchmark::DoNotOptimize(structure.find(core::structure_key(key)));
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kKeys));
}
BENCHMARK(BM_StructureInsertProperty_StdUnorderedMap);

}  // namespace
