// The whole public API of librivet, the platform's low-level runtime: the
// heap, the memory manager, buffer pools and the monitor of suspended threads.
//
//   #include <rivet/rivet.h>
//   void* p = rivet_malloc(32);
//   rivet_free(p);
//
// Thread-safety: see each header; everything in rivet is safe to call from
// any thread.
#ifndef RIVET_RIVET_H_
#define RIVET_RIVET_H_

#include "rivet/buffer_pool.h"
#include "rivet/export.h"
#include "rivet/heap.h"
#include "rivet/memory_manager.h"
#include "rivet/suspend_monitor.h"

#endif  // RIVET_RIVET_H_
