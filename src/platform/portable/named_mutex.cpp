// Natively a named mutex is an advisory lock on a file of this user in the
// temporary folder: tried without waiting, and let go when its owner ends.
#include "platform/named_mutex.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <filesystem>

#include "platform/portable/native_path.h"

namespace nv::platform {

struct MutexObject {
  int fd = -1;
};

void MutexCloser::operator()(MutexObject* mutex) const {
  ::close(mutex->fd);
  delete mutex;
}

NamedMutex create_named_mutex(const std::wstring& name) {
  std::string file = "nv-" + std::to_string(::getuid()) + "-";
  for (char c : portable::narrow(name))
    file += std::isalnum(static_cast<unsigned char>(c)) || c == '.' ? c : '_';
  const std::string path = (std::filesystem::temp_directory_path() / (file + ".lock")).string();
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0) return nullptr;
  return NamedMutex(new MutexObject{fd});
}

MutexWait try_take(MutexObject& mutex) {
  if (::flock(mutex.fd, LOCK_EX | LOCK_NB) == 0) return MutexWait::taken;
  return errno == EWOULDBLOCK ? MutexWait::busy : MutexWait::failed;
}

void release(MutexObject& mutex) { ::flock(mutex.fd, LOCK_UN); }

}  // namespace nv::platform
