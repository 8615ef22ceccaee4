// Export control for the public API of librivet.
//
// Every exported class and free function is marked RIVET_EXPORT. The library
// is built with hidden visibility, so the export list is the same on every
// platform: what is not marked stays internal.
#ifndef RIVET_EXPORT_H_
#define RIVET_EXPORT_H_

#if defined(RIVET_SHARED_LIBRARY)
#if defined(_WIN32)
#if defined(RIVET_COMPILE_LIBRARY)
#define RIVET_EXPORT __declspec(dllexport)
#else
#define RIVET_EXPORT __declspec(dllimport)
#endif
#else
#define RIVET_EXPORT __attribute__((visibility("default")))
#endif
#else
#define RIVET_EXPORT
#endif

#endif  // RIVET_EXPORT_H_
