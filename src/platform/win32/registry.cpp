#include "platform/registry.h"

#include <windows.h>

#include "platform/win32/owners.h"

namespace nv::platform {
namespace {

HKEY root_key(RegistryRoot root) {
  return root == RegistryRoot::current_user ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
}

win32::UniqueRegKey open_key(RegistryRoot root, const std::wstring& subkey, unsigned access) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root_key(root), subkey.c_str(), 0, KEY_READ | access, &key) != ERROR_SUCCESS)
    return {};
  return win32::UniqueRegKey(key);
}

// A key that failed at every index would otherwise be enumerated for ever.
constexpr DWORD enumeration_limit = 1u << 20;

}  // namespace

std::optional<std::vector<std::wstring>> registry_subkeys(RegistryRoot root,
                                                          const std::wstring& subkey,
                                                          unsigned access) {
  win32::UniqueRegKey key = open_key(root, subkey, access);
  if (!key) return std::nullopt;
  std::vector<std::wstring> names;
  for (DWORD index = 0; index < enumeration_limit; ++index) {
    wchar_t name[512] = {};
    DWORD length = 512;
    const LSTATUS status =
        RegEnumKeyExW(key.get(), index, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) break;
    if (status != ERROR_SUCCESS) continue;
    names.emplace_back(name, length);
  }
  return names;
}

RegistryValue registry_value(RegistryRoot root, const std::wstring& subkey,
                             const std::wstring& name, unsigned access) {
  RegistryValue value;
  win32::UniqueRegKey key = open_key(root, subkey, access);
  if (!key) return value;
  std::vector<std::uint8_t> buffer(registry_value_bytes, 0);
  DWORD type = 0;
  DWORD size = static_cast<DWORD>(buffer.size());
  if (RegQueryValueExW(key.get(), name.c_str(), nullptr, &type, buffer.data(), &size) !=
      ERROR_SUCCESS)
    return value;
  buffer.resize(size);
  value.read = true;
  value.type = type;
  value.data = std::move(buffer);
  return value;
}

std::optional<std::uint32_t> registry_dword(RegistryRoot root, const std::wstring& subkey,
                                            const std::wstring& name) {
  DWORD value = 0;
  DWORD size = sizeof value;
  if (RegGetValueW(root_key(root), subkey.c_str(), name.c_str(), RRF_RT_REG_DWORD, nullptr, &value,
                   &size) != ERROR_SUCCESS)
    return std::nullopt;
  return value;
}

std::wstring expand_environment_strings(const std::wstring& text) {
  std::vector<wchar_t> buffer(32768, L'\0');
  const DWORD needed =
      ExpandEnvironmentStringsW(text.c_str(), buffer.data(), static_cast<DWORD>(buffer.size()));
  if (needed == 0 || needed > buffer.size()) return {};
  return std::wstring(buffer.data());
}

}  // namespace nv::platform
