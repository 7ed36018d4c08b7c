#include "platform/named_mutex.h"

#include <windows.h>

#include "platform/win32/owners.h"

namespace nv::platform {

struct MutexObject {
  win32::UniqueHandle handle;
};

void MutexCloser::operator()(MutexObject* mutex) const { delete mutex; }

NamedMutex create_named_mutex(const std::wstring& name) {
  win32::UniqueHandle handle(CreateMutexW(nullptr, FALSE, name.c_str()));
  if (!handle) return nullptr;
  return NamedMutex(new MutexObject{std::move(handle)});
}

MutexWait try_take(MutexObject& mutex) {
  switch (WaitForSingleObject(mutex.handle.get(), 0)) {
    case WAIT_OBJECT_0:
      return MutexWait::taken;
    case WAIT_ABANDONED:
      return MutexWait::abandoned;
    case WAIT_TIMEOUT:
      return MutexWait::busy;
    default:
      return MutexWait::failed;
  }
}

void release(MutexObject& mutex) { ReleaseMutex(mutex.handle.get()); }

}  // namespace nv::platform
