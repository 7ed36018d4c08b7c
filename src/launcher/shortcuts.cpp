#include "launcher/shortcuts.h"

#include "foundation/paths.h"
#include "platform/file_ops.h"
#include "platform/known_folders.h"
#include "platform/shell_links.h"

namespace nv {

namespace {

// Both layouts of the shortcuts an installer may have made: the older product
// name's and the current one's, so that one run cleans up either.
struct Candidate {
  platform::KnownFolder folder;
  const wchar_t* file;
};
constexpr Candidate candidates[] = {
    {platform::KnownFolder::desktop, L"\\Nightveil Mode.lnk"},
    {platform::KnownFolder::desktop, L"\\Tenebrix Dark Mode.lnk"},
    {platform::KnownFolder::programs, L"\\Nightveil Mode\\Nightveil Mode.lnk"},
    {platform::KnownFolder::programs, L"\\Nightveil Mode\\Paltalk Normal Mode.lnk"},
    {platform::KnownFolder::programs, L"\\Nightveil Mode\\Uninstall.lnk"},
    {platform::KnownFolder::programs, L"\\Tenebrix\\Tenebrix Dark Mode.lnk"},
    {platform::KnownFolder::programs, L"\\Tenebrix\\Tenebrix Normal Mode.lnk"},
    {platform::KnownFolder::programs, L"\\Tenebrix\\Tenebrix Support and Recovery.lnk"},
    {platform::KnownFolder::programs, L"\\Tenebrix\\Uninstall Tenebrix.lnk"},
};

}  // namespace

void remove_shortcuts(const std::wstring& root) {
  // A folder that cannot be had is the empty text; its candidates are tried all the same.
  const std::wstring desktop = platform::known_folder_path(platform::KnownFolder::desktop);
  const std::wstring programs = platform::known_folder_path(platform::KnownFolder::programs);
  const std::wstring launcher = folded_path(root + L"\\NightveilMode.exe");
  const std::wstring uninstaller = folded_path(root + L"\\Uninstall.exe");
  for (const Candidate& candidate : candidates) {
    const std::wstring path =
        (candidate.folder == platform::KnownFolder::desktop ? desktop : programs) + candidate.file;
    const auto target = platform::shell_link_raw_target(path);
    if (!target || target->empty()) continue;
    // A shortcut of a listed name that leads elsewhere is someone else's and stays.
    const std::wstring folded = folded_path(*target);
    if (folded == launcher || folded == uninstaller)
      platform::delete_file(path);  // a failure goes unnoticed
  }
}

}  // namespace nv
