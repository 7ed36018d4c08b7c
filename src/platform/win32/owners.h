#pragma once
// Move-only owners of the handles the launcher touches. Each knows its empty
// value and closes without disturbing GetLastError, so a failure can still be
// read after the owner has gone.
#include <windows.h>
#include <objbase.h>

#include <utility>

namespace nv::platform::win32 {

template <typename T, T Empty, typename Close>
class Owner {
 public:
  Owner() = default;
  explicit Owner(T value) : value_(value) {}
  Owner(const Owner&) = delete;
  Owner& operator=(const Owner&) = delete;
  Owner(Owner&& other) noexcept : value_(std::exchange(other.value_, Empty)) {}
  Owner& operator=(Owner&& other) noexcept {
    if (this != &other) {
      reset();
      value_ = std::exchange(other.value_, Empty);
    }
    return *this;
  }
  ~Owner() { reset(); }

  T get() const { return value_; }
  explicit operator bool() const { return value_ != Empty; }
  T* put() {
    reset();
    return &value_;
  }
  void reset() {
    if (value_ != Empty) {
      const DWORD saved = GetLastError();
      Close{}(value_);
      SetLastError(saved);
      value_ = Empty;
    }
  }

 private:
  T value_ = Empty;
};

struct CloseHandleFn {
  void operator()(HANDLE h) const { CloseHandle(h); }
};
struct CloseRegKeyFn {
  void operator()(HKEY k) const { RegCloseKey(k); }
};
struct LocalFreeFn {
  void operator()(void* p) const { LocalFree(p); }
};
struct CoTaskMemFreeFn {
  void operator()(void* p) const { CoTaskMemFree(p); }
};

// Process, thread, token: null is empty. (Toolhelp snapshots report failure as
// INVALID_HANDLE_VALUE; callers turn that into null before storing it here.)
using UniqueHandle = Owner<HANDLE, nullptr, CloseHandleFn>;
using UniqueRegKey = Owner<HKEY, nullptr, CloseRegKeyFn>;
using UniqueLocal = Owner<void*, nullptr, LocalFreeFn>;
using UniqueTaskMemory = Owner<void*, nullptr, CoTaskMemFreeFn>;

// CreateFileW reports failure as INVALID_HANDLE_VALUE, which is not a constant
// expression, so the file owner is written out.
class UniqueFile {
 public:
  UniqueFile() = default;
  explicit UniqueFile(HANDLE h) : h_(h) {}
  UniqueFile(const UniqueFile&) = delete;
  UniqueFile& operator=(const UniqueFile&) = delete;
  UniqueFile(UniqueFile&& o) noexcept : h_(std::exchange(o.h_, INVALID_HANDLE_VALUE)) {}
  UniqueFile& operator=(UniqueFile&& o) noexcept {
    if (this != &o) {
      reset();
      h_ = std::exchange(o.h_, INVALID_HANDLE_VALUE);
    }
    return *this;
  }
  ~UniqueFile() { reset(); }
  HANDLE get() const { return h_; }
  explicit operator bool() const { return h_ != INVALID_HANDLE_VALUE && h_ != nullptr; }
  void reset() {
    if (h_ != INVALID_HANDLE_VALUE && h_ != nullptr) {
      const DWORD saved = GetLastError();
      CloseHandle(h_);
      SetLastError(saved);
    }
    h_ = INVALID_HANDLE_VALUE;
  }

 private:
  HANDLE h_ = INVALID_HANDLE_VALUE;
};

// A COM interface pointer: released once, on every way out.
template <typename I>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  ComPtr(ComPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  ~ComPtr() { reset(); }
  I* get() const { return p_; }
  I* operator->() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }
  I** put() {
    reset();
    return &p_;
  }
  void** put_void() { return reinterpret_cast<void**>(put()); }
  void reset() {
    if (p_) p_->Release();
    p_ = nullptr;
  }

 private:
  I* p_ = nullptr;
};

}  // namespace nv::platform::win32
