#include "platform/file_range.h"

#include <climits>
#include <cstdio>
#include <memory>

#include "platform/portable/native_path.h"

namespace nv::platform {
namespace {
struct CloseFileFn {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
}  // namespace

bool read_file_range(const std::wstring& path, std::uint64_t offset, std::size_t count,
                     unsigned char* out) {
  std::unique_ptr<std::FILE, CloseFileFn> file(std::fopen(portable::to_native(path).c_str(), "rb"));
  if (!file) return false;
  if (offset > static_cast<std::uint64_t>(LONG_MAX) ||
      std::fseek(file.get(), static_cast<long>(offset), SEEK_SET) != 0) {
    return false;
  }
  return std::fread(out, 1, count, file.get()) == count;
}

}  // namespace nv::platform
