// Export control for the public API of libcore.
//
// Every exported class and free function is marked CORE_EXPORT. The library
// is built with hidden visibility, so the export list is the same on every
// platform: what is not marked stays internal.
#ifndef CORE_EXPORT_H_
#define CORE_EXPORT_H_

#if defined(CORE_SHARED_LIBRARY)
#if defined(_WIN32)
#if defined(CORE_COMPILE_LIBRARY)
#define CORE_EXPORT __declspec(dllexport)
#else
#define CORE_EXPORT __declspec(dllimport)
#endif
#else
#define CORE_EXPORT __attribute__((visibility("default")))
#endif
#else
#define CORE_EXPORT
#endif

#endif  // CORE_EXPORT_H_
