#pragma once
// Reading the registry. Keys are opened with KEY_READ plus the caller's extra
// access flags (the WOW64 view flags below).
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace nv::platform {

enum class RegistryRoot { current_user, local_machine };

// The values of the Windows constants, so that decisions can name them anywhere.
inline constexpr unsigned key_wow64_64key = 0x0100;
inline constexpr unsigned key_wow64_32key = 0x0200;
inline constexpr std::uint32_t reg_sz = 1;
inline constexpr std::uint32_t reg_expand_sz = 2;
inline constexpr std::uint32_t reg_binary = 3;
inline constexpr std::uint32_t reg_dword = 4;
inline constexpr std::uint32_t reg_multi_sz = 7;

// The size of the buffer a value is read into.
inline constexpr std::size_t registry_value_bytes = 65536;

// The names of a key's direct subkeys, by RegEnumKeyExW from index 0 into a
// buffer of 512 characters. An index that fails with anything but
// ERROR_NO_MORE_ITEMS is skipped. nullopt when the key cannot be opened.
std::optional<std::vector<std::wstring>> registry_subkeys(RegistryRoot root,
                                                          const std::wstring& subkey,
                                                          unsigned access);

struct RegistryValue {
  bool read = false;               // the key opened and RegQueryValueExW succeeded
  std::uint32_t type = 0;          // REG_* type
  std::vector<std::uint8_t> data;  // the bytes the call reported, at most registry_value_bytes
};
// RegOpenKeyExW and RegQueryValueExW into a buffer of registry_value_bytes.
// A value that does not fit is a failed read.
RegistryValue registry_value(RegistryRoot root, const std::wstring& subkey,
                             const std::wstring& name, unsigned access);

// RegGetValueW with RRF_RT_REG_DWORD; nullopt when the value cannot be read as one.
std::optional<std::uint32_t> registry_dword(RegistryRoot root, const std::wstring& subkey,
                                            const std::wstring& name);

// ExpandEnvironmentStringsW into a buffer of 32,768 characters; empty when the
// call fails or the result does not fit.
std::wstring expand_environment_strings(const std::wstring& text);

}  // namespace nv::platform
