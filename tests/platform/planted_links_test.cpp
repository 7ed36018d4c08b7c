// Files made under a fixed name never write through a link planted at that name.
#include <gtest/gtest.h>

#include <filesystem>

#include "host/configuration.h"
#include "foundation/failure.h"
#include "host/ini.h"
#include "test_support.h"
#include "update/schedule.h"

namespace nv {
namespace {

#ifndef _WIN32  // Wine makes no link that Windows code sees as one

namespace fs = std::filesystem;

TEST(PlantedLinks, TheConfigurationsTemporaryNameIsNeverFollowed) {
  test::TempDir dir;
  const std::wstring settings = dir / L"settings.ini", elsewhere = dir / L"elsewhere.ini";
  test::write_bytes(elsewhere, "[Mine]\r\nKept=1\r\n");
  fs::create_symlink(test::to_fs(elsewhere), test::to_fs(settings + L".tmp"));
  HostAnalysis analysis;
  analysis.exe_path = L"C:\\P\\Paltalk.exe";
  analysis.hashes = L"a|b|c|d";
  analysis.analyzed = analysis.compatible = true;
  save_configuration(settings, analysis, false, L"");
  EXPECT_EQ(test::read_bytes(test::to_fs(elsewhere)), "[Mine]\r\nKept=1\r\n");
  EXPECT_EQ(read_ini_value(settings, L"Paltalk", L"Exe"), analysis.exe_path);
  EXPECT_FALSE(fs::exists(fs::symlink_status(test::to_fs(settings + L".tmp"))));
}

TEST(PlantedLinks, TheCheckStateIsNotWrittenThroughALinkedFolder) {
  test::TempDir dir;
  fs::create_directory(test::to_fs(dir / L"elsewhere"));
  fs::create_directory_symlink(test::to_fs(dir / L"elsewhere"), test::to_fs(dir / L"Updates"));
  const UpdateCheckState state = open_update_check_state(dir / L"Updates\\check.json");
  EXPECT_EQ(test::failure_of([&] { write_last_attempt(state, 1'700'000'000); }),
            failure::update_check_state);
  EXPECT_TRUE(fs::is_empty(test::to_fs(dir / L"elsewhere")));
}

#endif

}  // namespace
}  // namespace nv
