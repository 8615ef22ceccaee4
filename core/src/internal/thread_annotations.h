// Lock annotations that Clang's -Wthread-safety checks at compile time, and
// the small annotated mutexes they need: the standard library's mutexes carry
// no capability attributes, so a member guarded by one cannot be checked.
// Under other compilers the macros expand to nothing and the classes are thin
// forwarders to the standard ones.
//
//   detail::Mutex mutex_;
//   int count_ CORE_GUARDED_BY(mutex_);
//   void bump() { detail::MutexLock lock(mutex_); ++count_; }
#ifndef CORE_SRC_INTERNAL_THREAD_ANNOTATIONS_H_
#define CORE_SRC_INTERNAL_THREAD_ANNOTATIONS_H_

#include <mutex>
#include <shared_mutex>

#if defined(__clang__)
#define CORE_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define CORE_THREAD_ANNOTATION(x)
#endif

#define CORE_CAPABILITY(name) CORE_THREAD_ANNOTATION(capability(name))
#define CORE_SCOPED_CAPABILITY CORE_THREAD_ANNOTATION(scoped_lockable)
#define CORE_GUARDED_BY(mutex) CORE_THREAD_ANNOTATION(guarded_by(mutex))
#define CORE_REQUIRES(...) CORE_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define CORE_REQUIRES_SHARED(...) CORE_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define CORE_EXCLUDES(...) CORE_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define CORE_ACQUIRE(...) CORE_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define CORE_ACQUIRE_SHARED(...) CORE_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define CORE_RELEASE(...) CORE_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define CORE_RELEASE_SHARED(...) CORE_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))

namespace core::detail {

class CORE_CAPABILITY("mutex") Mutex {
 public:
  void lock() CORE_ACQUIRE() { mutex_.lock(); }
  void unlock() CORE_RELEASE() { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

class CORE_CAPABILITY("shared mutex") SharedMutex {
 public:
  void lock() CORE_ACQUIRE() { mutex_.lock(); }
  void unlock() CORE_RELEASE() { mutex_.unlock(); }
  void lockShared() CORE_ACQUIRE_SHARED() { mutex_.lock_shared(); }
  void unlockShared() CORE_RELEASE_SHARED() { mutex_.unlock_shared(); }

 private:
  std::shared_mutex mutex_;
};

// Holds a Mutex for its scope.
class CORE_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) CORE_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~MutexLock() CORE_RELEASE() { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

// Holds a SharedMutex exclusively for its scope.
class CORE_SCOPED_CAPABILITY WriterLock {
 public:
  explicit WriterLock(SharedMutex& mutex) CORE_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~WriterLock() CORE_RELEASE() { mutex_.unlock(); }
  WriterLock(const WriterLock&) = delete;
  WriterLock& operator=(const WriterLock&) = delete;

 private:
  SharedMutex& mutex_;
};

// Holds a SharedMutex shared for its scope.
class CORE_SCOPED_CAPABILITY ReaderLock {
 public:
  explicit ReaderLock(SharedMutex& mutex) CORE_ACQUIRE_SHARED(mutex) : mutex_(mutex) {
    mutex_.lockShared();
  }
  ~ReaderLock() CORE_RELEASE() { mutex_.unlockShared(); }
  ReaderLock(const ReaderLock&) = delete;
  ReaderLock& operator=(const ReaderLock&) = delete;

 private:
  SharedMutex& mutex_;
};

}  // namespace core::detail

#endif  // CORE_SRC_INTERNAL_THREAD_ANNOTATIONS_H_
