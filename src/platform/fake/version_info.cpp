#include "platform/version_info.h"

#include "foundation/paths.h"
#include "platform/fake/fake_control.h"

namespace nv::fake {
std::map<std::wstring, platform::FixedFileInfo> fixed_file_infos;
namespace {
void reset() { fixed_file_infos.clear(); }
const ResetRegistration registration{&reset};
}  // namespace
}  // namespace nv::fake

namespace nv::platform {

FixedFileInfo read_fixed_file_info(const std::wstring& path) {
  auto it = fake::fixed_file_infos.find(folded_path(path));
  return it == fake::fixed_file_infos.end() ? FixedFileInfo{} : it->second;
}

}  // namespace nv::platform
