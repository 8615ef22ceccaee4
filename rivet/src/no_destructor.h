// NoDestructor<T>: a process-wide object built on first use and never
// destroyed, so it stays usable from other objects' static destructors and
// from allocations made during static initialization.
#ifndef RIVET_SRC_NO_DESTRUCTOR_H_
#define RIVET_SRC_NO_DESTRUCTOR_H_

#include <new>
#include <utility>

namespace rivet::detail {

template <typename T>
class NoDestructor {
 public:
  template <typename... Args>
  explicit NoDestructor(Args&&... args) {
    ::new (static_cast<void*>(storage_)) T(std::forward<Args>(args)...);
  }
  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;

  T* get() noexcept { return std::launder(reinterpret_cast<T*>(storage_)); }
  T* operator->() noexcept { return get(); }
  T& operator*() noexcept { return *get(); }

 private:
  alignas(T) unsigned char storage_[sizeof(T)];
};

}  // namespace rivet::detail

#endif  // RIVET_SRC_NO_DESTRUCTOR_H_
