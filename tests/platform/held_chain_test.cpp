// Held folders on the real backend: natively links are real and refused, under Wine the Windows
// API's sharing keeps every held folder where it is.
#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#endif

#include <filesystem>

#include "foundation/paths.h"
#include "platform/files.h"
#include "platform/held_folders.h"
#include "test_support.h"
#include "update/cache_chain.h"

namespace nv {
namespace {

namespace fs = std::filesystem;
using platform::Hold;

TEST(HeldFolders, MadeWhereMissingAndFoundByTheirResolvedPath) {
  test::TempDir dir;
  test::write_bytes(dir / L"file", "x");
  const auto chain = hold_cache_chain(dir.path, {L"Updates", L"stable", L"17"}, true);
  ASSERT_TRUE(chain);
  EXPECT_TRUE(fs::is_directory(test::to_fs(dir / L"Updates\\stable\\17")));
  EXPECT_TRUE(same_path(chain->path, dir / L"Updates\\stable\\17"));
  EXPECT_TRUE(chain->intact());
  EXPECT_EQ(platform::hold_folder(dir / L"file").status, Hold::not_folder);
  EXPECT_EQ(platform::hold_folder(dir / L"missing").status, Hold::missing);
  EXPECT_FALSE(hold_cache_chain(dir.path, {L"missing"}, false));
  EXPECT_FALSE(hold_cache_chain(dir.path, {L"file"}, true));
  for (const wchar_t* name : {L"..", L"a\\b", L"a/b", L""})
    EXPECT_EQ(platform::hold_folder_in(chain->innermost(), name, true).status, Hold::failed)
        << name;
}

TEST(HeldFolders, ATreeGoesWithAllItHolds) {
  test::TempDir dir;
  test::write_bytes(dir / L"U\\old\\deep\\file", "inside");
  test::write_bytes(dir / L"U\\old\\top", "inside");
  const auto chain = hold_cache_chain(dir / L"U", {}, false);
  ASSERT_TRUE(chain);
  platform::remove_held_entry(chain->innermost(), L"old");
  EXPECT_FALSE(fs::exists(test::to_fs(dir / L"U\\old\\top")));
  EXPECT_FALSE(fs::exists(test::to_fs(dir / L"U\\old")));
}

#ifdef _WIN32
// Another program's attempt, through a handle of its own.
bool renamed(const std::wstring& path) {
  return MoveFileExW(path.c_str(), (path + L"-moved").c_str(), 0) != 0;
}

TEST(HeldFolders, NoneCanBeRenamedOrDeletedWhileHeld) {
  test::TempDir dir;
  const std::vector<std::wstring> folders = {dir / L"U", dir / L"U\\s", dir / L"U\\s\\17"};
  {
    const auto chain = hold_cache_chain(folders[0], {L"s", L"17"}, true);
    ASSERT_TRUE(chain);
    for (const std::wstring& folder : folders) EXPECT_FALSE(renamed(folder)) << folder;
    EXPECT_FALSE(RemoveDirectoryW(folders[2].c_str()));
    EXPECT_TRUE(chain->intact());
  }
  EXPECT_TRUE(RemoveDirectoryW(folders[2].c_str()));  // once let go, both work
  EXPECT_TRUE(renamed(folders[1]));
}

// A folder that someone else holds open with delete access could be renamed later: not held.
TEST(HeldFolders, OpenToAnotherWithDeleteAccessIsInUse) {
  test::TempDir dir;
  fs::create_directory(test::to_fs(dir / L"U"));
  const HANDLE other = CreateFileW((dir / L"U").c_str(), DELETE,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  ASSERT_NE(other, INVALID_HANDLE_VALUE);
  EXPECT_EQ(platform::hold_folder(dir / L"U").status, Hold::in_use);
  CloseHandle(other);
  EXPECT_EQ(platform::hold_folder(dir / L"U").status, Hold::held);
}
#else
TEST(HeldFolders, LinksAboveAreFollowedAndLinksRemovedAsThemselves) {
  test::TempDir dir, outside;
  test::write_bytes(outside / L"keep\\file", "outside");
  const fs::path target = test::to_fs(outside / L"keep");
  fs::create_directory(test::to_fs(dir / L"U"));
  fs::create_directory_symlink(target, test::to_fs(dir / L"U\\linked"));
  fs::create_directory_symlink(target, test::to_fs(dir / L"link"));
  // Links above the first folder are followed.
  fs::create_directory(target / "inner");
  EXPECT_TRUE(hold_cache_chain(dir / L"link\\inner", {}, false));

  // A tree with links at two depths goes; what they name stays.
  test::write_bytes(dir / L"U\\old\\deep\\file", "inside");
  fs::create_directory_symlink(target, test::to_fs(dir / L"U\\old\\deep\\linked"));
  fs::create_symlink(test::to_fs(outside / L"keep\\file"), test::to_fs(dir / L"U\\old\\f"));
  const auto chain = hold_cache_chain(dir / L"U", {}, false);
  ASSERT_TRUE(chain);
  platform::remove_held_entry(chain->innermost(), L"old");
  platform::remove_held_entry(chain->innermost(), L"linked");
  EXPECT_FALSE(fs::exists(test::to_fs(dir / L"U\\old")));
  EXPECT_FALSE(fs::is_symlink(test::to_fs(dir / L"U\\linked")));
  EXPECT_TRUE(fs::exists(test::to_fs(outside / L"keep\\file")));
  platform::remove_tree(dir / L"link");
  EXPECT_FALSE(fs::is_symlink(test::to_fs(dir / L"link")));
  EXPECT_TRUE(fs::exists(test::to_fs(outside / L"keep\\file")));
}

// What a rename does natively, where nothing forbids it: the chain no longer holds.
TEST(HeldFolders, AChainMovedAwayIsNoLongerIntact) {
  test::TempDir dir;
  const auto chain = hold_cache_chain(dir.path, {L"U", L"s"}, true);
  ASSERT_TRUE(chain && chain->intact());
  fs::rename(test::to_fs(dir / L"U"), test::to_fs(dir / L"V"));
  fs::create_directories(test::to_fs(dir / L"U\\s"));
  EXPECT_FALSE(chain->intact());
}
#endif

}  // namespace
}  // namespace nv
