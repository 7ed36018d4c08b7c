// The process backend against the real system: the test process looks at itself.
#include "platform/processes.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>

#include <algorithm>

#include "foundation/paths.h"
#include "platform/system.h"

namespace nv {
namespace {

std::uint32_t own_id() { return GetCurrentProcessId(); }

bool running_under_wine() {
  HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return ntdll && GetProcAddress(ntdll, "wine_get_version");
}

TEST(Processes, ListIncludesThisProcess) {
  const auto processes = platform::list_processes();
  ASSERT_TRUE(processes.has_value());
  auto self = std::find_if(processes->begin(), processes->end(),
                           [](const platform::ProcessRecord& r) { return r.id == own_id(); });
  ASSERT_NE(self, processes->end());
  EXPECT_EQ(fold_ascii(self->file_name), fold_ascii(name_of(platform::module_path())));
  EXPECT_GT(processes->size(), 1u);
}

TEST(Processes, ImagePathOfThisProcess) {
  const auto image = platform::process_image_path(own_id());
  ASSERT_TRUE(image.has_value());
  EXPECT_TRUE(is_absolute_path(*image)) << *image;
  EXPECT_TRUE(same_path(*image, platform::module_path())) << *image;
}

TEST(Processes, NoImagePathOfAProcessThatDoesNotExist) {
  const auto processes = platform::list_processes();
  ASSERT_TRUE(processes.has_value());
  std::uint32_t unused = 0x7FFFFFF0;
  while (std::any_of(processes->begin(), processes->end(),
                     [&](const platform::ProcessRecord& r) { return r.id == unused; }))
    unused -= 4;
  EXPECT_FALSE(platform::process_image_path(unused).has_value());
  EXPECT_EQ(platform::list_modules(unused).status, platform::ModuleListing::no_snapshot);
}

TEST(Processes, SessionOfThisProcess) {
  const auto session = platform::current_session();
  ASSERT_TRUE(session.has_value());
  DWORD expected = 0;
  ASSERT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &expected));
  EXPECT_EQ(*session, expected);
  const auto records = platform::session_records();
  if (running_under_wine()) {
    // Wine 8 answers WTSEnumerateProcessesExW at level 1 with a failure: the
    // backend must say so rather than hand back an empty map.
    EXPECT_FALSE(records.has_value());
    return;
  }
  ASSERT_TRUE(records.has_value());
  auto self = std::find_if(records->begin(), records->end(), [](const auto& r) { return r.first == own_id(); });
  ASSERT_NE(self, records->end());
  EXPECT_EQ(self->second, *session);
}

TEST(Processes, ModulesOfThisProcessIncludeItsOwnImage) {
  const platform::ModuleList list = platform::list_modules(own_id());
  ASSERT_EQ(list.status, platform::ModuleListing::listed);
  const std::wstring own = platform::module_path();
  auto exe = std::find_if(list.modules.begin(), list.modules.end(),
                          [&](const platform::ModuleRecord& m) { return same_path(m.full_path, own); });
  ASSERT_NE(exe, list.modules.end());
  EXPECT_EQ(fold_ascii(exe->base_name), fold_ascii(name_of(own)));
  EXPECT_TRUE(std::any_of(list.modules.begin(), list.modules.end(), [](const platform::ModuleRecord& m) {
    return fold_ascii(m.base_name) == L"kernel32.dll";
  }));
}

// A child of this process, held suspended for as long as the test needs it.
class SuspendedChild {
 public:
  SuspendedChild() {
    std::wstring command = L"\"" + platform::module_path() + L"\" --gtest_list_tests";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    started_ = CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED, nullptr,
                              nullptr, &startup, &info_) != FALSE;
  }
  SuspendedChild(const SuspendedChild&) = delete;
  SuspendedChild& operator=(const SuspendedChild&) = delete;
  ~SuspendedChild() {
    if (!started_) return;
    TerminateProcess(info_.hProcess, 0);
    WaitForSingleObject(info_.hProcess, 10000);
    CloseHandle(info_.hThread);
    CloseHandle(info_.hProcess);
  }
  bool started() const { return started_; }
  std::uint32_t id() const { return info_.dwProcessId; }

 private:
  PROCESS_INFORMATION info_{};
  bool started_ = false;
};

TEST(Processes, ChildNamesThisProcessAsItsParent) {
  SuspendedChild child;
  ASSERT_TRUE(child.started());
  const auto processes = platform::list_processes();
  ASSERT_TRUE(processes.has_value());
  auto record = std::find_if(processes->begin(), processes->end(),
                             [&](const platform::ProcessRecord& r) { return r.id == child.id(); });
  ASSERT_NE(record, processes->end());
  EXPECT_EQ(record->parent_id, own_id());
  const auto image = platform::process_image_path(child.id());
  ASSERT_TRUE(image.has_value());
  EXPECT_TRUE(same_path(*image, platform::module_path()));
}

}  // namespace
}  // namespace nv
#endif
