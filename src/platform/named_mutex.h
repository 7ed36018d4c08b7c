#pragma once
// A named lock that other processes of the same user can see.
#include <memory>
#include <string>

namespace nv::platform {

struct MutexObject;  // the backend's handle
struct MutexCloser {
  void operator()(MutexObject* mutex) const;  // CloseHandle
};
using NamedMutex = std::unique_ptr<MutexObject, MutexCloser>;

// CreateMutexW(no security attributes, not initially owned, name); null when
// it cannot be had.
NamedMutex create_named_mutex(const std::wstring& name);

// WaitForSingleObject with a time-out of 0.
enum class MutexWait {
  taken,
  abandoned,  // taken; the previous owner ended without releasing it
  busy,       // another owner holds it
  failed,
};
MutexWait try_take(MutexObject& mutex);
void release(MutexObject& mutex);  // ReleaseMutex

}  // namespace nv::platform
