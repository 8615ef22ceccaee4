// The cost of a library error, from the throw helper to the catch block.
#include <benchmark/benchmark.h>

#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/parameter_errors.h"

namespace {

// The common path: a description from the bundle, the stack captured (the
// exception has no cause), thrown and caught.
void BM_ParameterTypeMismatchThrowCatch(benchmark::State& state) {
  for (auto _ : state) {
    try {
      core::parameter_type_mismatch(2);
    } catch (const core::ContextException& e) {
      benchmark::DoNotOptimize(e.descr().data());
    }
  }
}
BENCHMARK(BM_ParameterTypeMismatchThrowCatch);

// The same with a cause, which captures no stack: the difference is the
// price of the creation trace.
void BM_PropertyValueMismatchWithCauseThrowCatch(benchmark::State& state) {
  const core::InterfacePtr<core::IExceptionObject> cause =
      core::IllegalArgumentException(core::String(u"cause")).object();
  for (auto _ : state) {
    try {
      core::property_value_mismatch(cause.get());
    } catch (const core::ContextException& e) {
      benchmark::DoNotOptimize(e.descr().data());
    }
  }
}
BENCHMARK(BM_PropertyValueMismatchWithCauseThrowCatch);

// Rendering the creation trace, which happens only when someone asks.
void BM_RenderCreationTrace(benchmark::State& state) {
  const core::Exception e(u"trace");
  for (auto _ : state) {
    benchmark::DoNotOptimize(e.creationStackTrace());
  }
}
BENCHMARK(BM_RenderCreationTrace);

}  // namespace
