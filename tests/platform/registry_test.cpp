// Registry reads against the real registry: values this test writes under a
// key of its own in HKEY_CURRENT_USER, removed again afterwards.
#include "platform/registry.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>

#include <algorithm>
#include <random>

#include "host/discovery.h"
#include "platform/known_folders.h"

namespace nv {
namespace {

using platform::RegistryRoot;

class Registry : public ::testing::Test {
 protected:
  void SetUp() override {
    std::random_device random;
    key_ = L"Software\\Tenebrix Tests\\registry-" + std::to_wstring(random());
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, key_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &handle_,
                              nullptr),
              ERROR_SUCCESS);
  }
  void TearDown() override {
    if (handle_) RegCloseKey(handle_);
    RegDeleteTreeW(HKEY_CURRENT_USER, key_.c_str());
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\Tenebrix Tests");  // only when empty
  }

  void set(const std::wstring& name, DWORD type, const void* data, DWORD size) {
    ASSERT_EQ(RegSetValueExW(handle_, name.c_str(), 0, type, static_cast<const BYTE*>(data), size), ERROR_SUCCESS);
  }
  void set_text(const std::wstring& name, DWORD type, const std::wstring& text) {
    set(name, type, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  }
  void add_subkey(const std::wstring& name) {
    HKEY sub = nullptr;
    ASSERT_EQ(RegCreateKeyExW(handle_, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &sub, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(sub);
  }

  std::wstring key_;
  HKEY handle_ = nullptr;
};

const unsigned views[] = {0u, platform::key_wow64_32key, platform::key_wow64_64key};

TEST_F(Registry, ReadsTextInEveryView) {
  set_text(L"Text", REG_SZ, L"C:\\Program Files\\Paltalk");
  for (unsigned view : views)
    EXPECT_EQ(read_registry_text(RegistryRoot::current_user, key_, L"Text", view), L"C:\\Program Files\\Paltalk")
        << view;
}

TEST_F(Registry, ExpandsExpandableText) {
  set_text(L"Expand", REG_EXPAND_SZ, L"%SystemRoot%\\Paltalk %NV_NO_SUCH_VARIABLE%");
  wchar_t root[MAX_PATH] = {};
  ASSERT_GT(GetEnvironmentVariableW(L"SystemRoot", root, MAX_PATH), 0u);
  const std::wstring expected = std::wstring(root) + L"\\Paltalk %NV_NO_SUCH_VARIABLE%";
  for (unsigned view : views)
    EXPECT_EQ(read_registry_text(RegistryRoot::current_user, key_, L"Expand", view), expected) << view;
  // The same text as REG_SZ stays as written.
  set_text(L"Plain", REG_SZ, L"%SystemRoot%\\Paltalk");
  EXPECT_EQ(read_registry_text(RegistryRoot::current_user, key_, L"Plain", 0), L"%SystemRoot%\\Paltalk");
}

TEST_F(Registry, TextWithoutItsNulAndOtherTypes) {
  const std::wstring text = L"unterminated";
  set(L"NoNul", REG_SZ, text.c_str(), static_cast<DWORD>(text.size() * sizeof(wchar_t)));
  EXPECT_EQ(read_registry_text(RegistryRoot::current_user, key_, L"NoNul", 0), text);
  const DWORD number = 42;
  set(L"Number", REG_DWORD, &number, sizeof(number));
  EXPECT_EQ(read_registry_text(RegistryRoot::current_user, key_, L"Number", 0), L"");
  const platform::RegistryValue raw = platform::registry_value(RegistryRoot::current_user, key_, L"Number", 0);
  EXPECT_TRUE(raw.read);
  EXPECT_EQ(raw.type, platform::reg_dword);
  EXPECT_EQ(raw.data, (std::vector<std::uint8_t>{42, 0, 0, 0}));
  EXPECT_EQ(read_registry_text(RegistryRoot::current_user, key_, L"Missing", 0), L"");
  EXPECT_EQ(read_registry_text(RegistryRoot::current_user, key_ + L"\\Missing", L"Text", 0), L"");
}

TEST_F(Registry, ValueTooLargeForTheBufferIsAFailedRead) {
  const std::wstring big(platform::registry_value_bytes / 2 + 10, L'x');
  set_text(L"Big", REG_SZ, big);
  EXPECT_FALSE(platform::registry_value(RegistryRoot::current_user, key_, L"Big", 0).read);
  EXPECT_EQ(read_registry_text(RegistryRoot::current_user, key_, L"Big", 0), L"");
}

TEST_F(Registry, EnumeratesSubkeysInEveryView) {
  add_subkey(L"Paltalk");
  add_subkey(L"{0A1B2C3D-0000-0000-0000-000000000000}");
  for (unsigned view : views) {
    auto names = platform::registry_subkeys(RegistryRoot::current_user, key_, view);
    ASSERT_TRUE(names.has_value()) << view;
    std::sort(names->begin(), names->end());
    EXPECT_EQ(*names, (std::vector<std::wstring>{L"Paltalk", L"{0A1B2C3D-0000-0000-0000-000000000000}"})) << view;
  }
  EXPECT_FALSE(platform::registry_subkeys(RegistryRoot::current_user, key_ + L"\\Missing", 0).has_value());
}

TEST(KnownFolders, LocalAppDataAndProgramFilesExist) {
  for (auto folder : {platform::KnownFolder::local_app_data, platform::KnownFolder::program_files,
                      platform::KnownFolder::program_files_x86}) {
    const std::wstring path = platform::known_folder_path(folder);
    ASSERT_FALSE(path.empty()) << static_cast<int>(folder);
    const DWORD attributes = GetFileAttributesW(path.c_str());
    ASSERT_NE(attributes, INVALID_FILE_ATTRIBUTES) << path;
    EXPECT_TRUE(attributes & FILE_ATTRIBUTE_DIRECTORY) << path;
  }
}

}  // namespace
}  // namespace nv
#endif
