#include "platform/processes.h"

#include <windows.h>
#include <restartmanager.h>
#include <tlhelp32.h>
#include <wtsapi32.h>

#include "platform/win32/owners.h"

// MinGW-w64's wtsapi32.h stops short of the extended process enumeration; its
// import library has the functions. The Windows SDK declares all of this
// together with WTS_ANY_SESSION, so its own declarations win when present.
#ifndef WTS_ANY_SESSION
#define WTS_ANY_SESSION (static_cast<DWORD>(-2))
typedef struct _WTS_PROCESS_INFO_EXW {
  DWORD SessionId;
  DWORD ProcessId;
  LPWSTR pProcessName;
  PSID pUserSid;
  DWORD NumberOfThreads;
  DWORD HandleCount;
  DWORD PagefileUsage;
  DWORD PeakPagefileUsage;
  DWORD WorkingSetSize;
  DWORD PeakWorkingSetSize;
  LARGE_INTEGER UserTime;
  LARGE_INTEGER KernelTime;
} WTS_PROCESS_INFO_EXW, *PWTS_PROCESS_INFO_EXW;
typedef enum _WTS_TYPE_CLASS {
  WTSTypeProcessInfoLevel0,
  WTSTypeProcessInfoLevel1,
  WTSTypeSessionInfoLevel1
} WTS_TYPE_CLASS;
extern "C" {
DECLSPEC_IMPORT BOOL WINAPI WTSEnumerateProcessesExW(HANDLE hServer, DWORD* pLevel, DWORD SessionId,
                                                     LPWSTR* ppProcessInfo, DWORD* pCount);
DECLSPEC_IMPORT BOOL WINAPI WTSFreeMemoryExW(WTS_TYPE_CLASS WTSTypeClass, PVOID pMemory,
                                             ULONG NumberOfEntries);
}
#endif

namespace nv::platform {
namespace {

win32::UniqueSnapshot snapshot(DWORD flags, DWORD process_id) {
  return win32::UniqueSnapshot(CreateToolhelp32Snapshot(flags, process_id));
}

}  // namespace

std::optional<std::vector<ProcessRecord>> list_processes() {
  const win32::UniqueSnapshot snap = snapshot(TH32CS_SNAPPROCESS, 0);
  if (!snap) return std::nullopt;
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  if (!Process32FirstW(snap.get(), &entry)) return std::nullopt;
  std::vector<ProcessRecord> records;
  do {
    records.push_back({entry.th32ProcessID, entry.th32ParentProcessID, entry.szExeFile});
    entry.dwSize = sizeof(entry);
  } while (Process32NextW(snap.get(), &entry));
  return records;
}

std::optional<std::uint32_t> current_session() {
  DWORD session = 0;
  if (!ProcessIdToSessionId(GetCurrentProcessId(), &session)) return std::nullopt;
  return session;
}

std::optional<std::vector<std::pair<std::uint32_t, std::uint32_t>>> session_records() {
  DWORD level = 1;
  WTS_PROCESS_INFO_EXW* info = nullptr;
  DWORD count = 0;
  // The list is freed as what it is, which takes its length.
  const win32::ScopeExit free_list([&] {
    if (info) WTSFreeMemoryExW(WTSTypeProcessInfoLevel1, info, count);
  });
  if (!WTSEnumerateProcessesExW(WTS_CURRENT_SERVER_HANDLE, &level, WTS_ANY_SESSION,
                                reinterpret_cast<LPWSTR*>(&info), &count))
    return std::nullopt;
  if (!info) return std::nullopt;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> records;
  records.reserve(count);
  for (DWORD i = 0; i < count; ++i) records.emplace_back(info[i].ProcessId, info[i].SessionId);
  return records;
}

std::optional<std::wstring> process_image_path(std::uint32_t process_id) {
  win32::UniqueHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process_id));
  if (!process) return std::nullopt;
  std::vector<wchar_t> buffer(32768, L'\0');
  DWORD size = static_cast<DWORD>(buffer.size());
  if (!QueryFullProcessImageNameW(process.get(), 0, buffer.data(), &size)) return std::nullopt;
  return std::wstring(buffer.data(), size);
}

std::optional<ProcessIdentity> process_identity(std::uint32_t process_id) {
  win32::UniqueHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process_id));
  if (!process) return std::nullopt;
  std::vector<wchar_t> buffer(32768, L'\0');
  DWORD size = static_cast<DWORD>(buffer.size());
  FILETIME created{}, exited{}, kernel{}, user{};
  if (!QueryFullProcessImageNameW(process.get(), 0, buffer.data(), &size) ||
      !GetProcessTimes(process.get(), &created, &exited, &kernel, &user))
    return std::nullopt;
  return ProcessIdentity{
      std::wstring(buffer.data(), size),
      (static_cast<std::uint64_t>(created.dwHighDateTime) << 32) | created.dwLowDateTime};
}

bool ask_to_close(const std::wstring& file,
                  const std::function<std::vector<RestartProcess>()>& collect) {
  DWORD session = 0;
  WCHAR key[CCH_RM_SESSION_KEY + 1] = {};
  if (RmStartSession(&session, 0, key) != ERROR_SUCCESS) return false;
  // A session handle of 0 is valid, so the session is ended by a guard rather than an owner.
  const win32::ScopeExit end_session([session] { RmEndSession(session); });
  std::vector<RM_UNIQUE_PROCESS> processes;
  for (const RestartProcess& process : collect()) {
    FILETIME created{static_cast<DWORD>(process.creation_time),
                     static_cast<DWORD>(process.creation_time >> 32)};
    processes.push_back({process.id, created});
  }
  LPCWSTR files[] = {file.c_str()};
  if (RmRegisterResources(session, 1, files, static_cast<UINT>(processes.size()),
                          processes.empty() ? nullptr : processes.data(), 0,
                          nullptr) == ERROR_SUCCESS)
    RmShutdown(session, 0, nullptr);
  return true;
}

ModuleList list_modules(std::uint32_t process_id) {
  ModuleList list;
  // A module snapshot of a process that is still loading may fail with
  // ERROR_BAD_LENGTH; the call is meant to be repeated then.
  win32::UniqueSnapshot snap;
  for (int attempt = 0; attempt < 8 && !snap; ++attempt) {
    snap = snapshot(TH32CS_SNAPMODULE | TH32CS_SNAPMODULE32, process_id);
    if (!snap && GetLastError() != ERROR_BAD_LENGTH) break;
  }
  if (!snap) return list;
  MODULEENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  if (!Module32FirstW(snap.get(), &entry)) {
    list.status = ModuleListing::no_first_module;
    return list;
  }
  list.status = ModuleListing::listed;
  do {
    list.modules.push_back({entry.szModule, entry.szExePath});
    entry.dwSize = sizeof(entry);
  } while (Module32NextW(snap.get(), &entry));
  return list;
}

}  // namespace nv::platform
