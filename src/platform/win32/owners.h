#pragma once
// Move-only owners of the handles the launcher touches, and a scope guard. Each
// owner knows its empty value and closes without disturbing GetLastError, so a
// failure can still be read after the owner has gone. Nothing here throws.
#include <windows.h>
#include <bcrypt.h>
#include <objbase.h>
#include <oleauto.h>
#include <winhttp.h>

#include <type_traits>
#include <utility>

namespace nv::platform::win32 {

template <typename Traits>
class Unique {
 public:
  using Type = typename Traits::Type;
  Unique() = default;
  explicit Unique(Type value) : value_(value) {}
  Unique(const Unique&) = delete;
  Unique& operator=(const Unique&) = delete;
  Unique(Unique&& other) noexcept : value_(other.release()) {}
  Unique& operator=(Unique&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  ~Unique() { reset(); }

  Type get() const { return value_; }
  explicit operator bool() const { return !Traits::empty(value_); }
  Type release() { return std::exchange(value_, Traits::invalid()); }
  // For the out-parameter of the call that opens the handle.
  Type* put() {
    reset();
    return &value_;
  }
  void reset(Type value = Traits::invalid()) {
    if (!Traits::empty(value_)) {
      const DWORD saved = GetLastError();
      Traits::close(value_);
      SetLastError(saved);
    }
    value_ = value;
  }

  // COM interfaces and structures owned through a pointer.
  Type operator->() const
    requires std::is_class_v<std::remove_pointer_t<Type>>
  {
    return value_;
  }
  void** put_void()
    requires std::is_class_v<std::remove_pointer_t<Type>>
  {
    return reinterpret_cast<void**>(put());
  }

 private:
  Type value_ = Traits::invalid();
};

// Most handles report failure, and are empty, as null.
template <typename T>
struct NullEmpty {
  using Type = T;
  static T invalid() { return nullptr; }
  static bool empty(T value) { return value == nullptr; }
};

// Process, thread, token, event, mutex.
struct KernelTraits : NullEmpty<HANDLE> {
  static void close(HANDLE h) { CloseHandle(h); }
};
// CreateFileW and CreateToolhelp32Snapshot report failure as
// INVALID_HANDLE_VALUE; null is never a handle of theirs either.
struct FileTraits : KernelTraits {
  static HANDLE invalid() { return INVALID_HANDLE_VALUE; }
  static bool empty(HANDLE h) { return h == nullptr || h == INVALID_HANDLE_VALUE; }
};
struct SnapshotTraits : FileTraits {};
struct FindTraits : FileTraits {
  static void close(HANDLE h) { FindClose(h); }
};
struct RegKeyTraits : NullEmpty<HKEY> {
  static void close(HKEY k) { RegCloseKey(k); }
};
struct InternetTraits : NullEmpty<HINTERNET> {
  static void close(HINTERNET h) { WinHttpCloseHandle(h); }
};
struct AlgorithmTraits : NullEmpty<BCRYPT_ALG_HANDLE> {
  static void close(BCRYPT_ALG_HANDLE h) { BCryptCloseAlgorithmProvider(h, 0); }
};
struct KeyTraits : NullEmpty<BCRYPT_KEY_HANDLE> {
  static void close(BCRYPT_KEY_HANDLE h) { BCryptDestroyKey(h); }
};
struct HashTraits : NullEmpty<BCRYPT_HASH_HANDLE> {
  static void close(BCRYPT_HASH_HANDLE h) { BCryptDestroyHash(h); }
};
struct LibraryTraits : NullEmpty<HMODULE> {
  static void close(HMODULE m) { FreeLibrary(m); }
};
struct BstrTraits : NullEmpty<BSTR> {
  static void close(BSTR s) { SysFreeString(s); }
};
struct EnvironmentTraits : NullEmpty<LPWCH> {
  static void close(LPWCH block) { FreeEnvironmentStringsW(block); }
};
template <typename I>
struct ComTraits : NullEmpty<I*> {
  static void close(I* p) { p->Release(); }
};
template <typename T>
struct TaskMemoryTraits : NullEmpty<T*> {
  static void close(T* p) { CoTaskMemFree(p); }
};
template <typename T>
struct LocalTraits : NullEmpty<T*> {
  static void close(T* p) { LocalFree(p); }
};

using UniqueHandle = Unique<KernelTraits>;
using UniqueFile = Unique<FileTraits>;
using UniqueSnapshot = Unique<SnapshotTraits>;
using UniqueFind = Unique<FindTraits>;
using UniqueRegKey = Unique<RegKeyTraits>;
using UniqueInternet = Unique<InternetTraits>;
using UniqueAlgorithm = Unique<AlgorithmTraits>;
using UniqueKey = Unique<KeyTraits>;
using UniqueHash = Unique<HashTraits>;
using UniqueLibrary = Unique<LibraryTraits>;
using UniqueBstr = Unique<BstrTraits>;
using UniqueEnvironment = Unique<EnvironmentTraits>;
template <typename I>
using ComPtr = Unique<ComTraits<I>>;
template <typename T>
using UniqueTaskMemory = Unique<TaskMemoryTraits<T>>;
template <typename T>
using UniqueLocal = Unique<LocalTraits<T>>;

// Runs its action on every way out of the scope, keeping GetLastError as the
// scope left it.
template <typename F>
class ScopeExit {
 public:
  explicit ScopeExit(F action) : action_(std::move(action)) {}
  ScopeExit(const ScopeExit&) = delete;
  ScopeExit& operator=(const ScopeExit&) = delete;
  ~ScopeExit() {
    const DWORD saved = GetLastError();
    action_();
    SetLastError(saved);
  }

 private:
  F action_;
};

}  // namespace nv::platform::win32
