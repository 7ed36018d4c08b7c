#include "platform/known_folders.h"

#include "platform/fake/fake_control.h"
#include "platform/fake/known_folders_control.h"

namespace nv::fake {
std::map<platform::KnownFolder, std::wstring> known_folders;
std::vector<platform::KnownFolder> known_folder_queries;
namespace {
void reset() {
  known_folders.clear();
  known_folder_queries.clear();
}
const ResetRegistration registration{&reset};
}  // namespace
}  // namespace nv::fake

namespace nv::platform {

std::wstring known_folder_path(KnownFolder folder) {
  fake::known_folder_queries.push_back(folder);
  auto it = fake::known_folders.find(folder);
  return it == fake::known_folders.end() ? std::wstring() : it->second;
}

}  // namespace nv::platform
