#pragma once
// Test control of the scriptable registry (see fake_control.h for reset_all).
// Key paths and value names are matched without regard to ASCII case.
// HKEY_LOCAL_MACHINE keeps a 32-bit and a 64-bit view apart; an open without a
// view flag sees the 64-bit one, as a 64-bit program does. The software keys of
// HKEY_CURRENT_USER are shared by both views, so there the view is ignored.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/registry.h"

namespace nv::fake {

enum class RegistryView { view32, view64 };

// Creates the key and every key above it.
void add_registry_key(platform::RegistryRoot root, RegistryView view, const std::wstring& key);
// Stores a value as RegSetValueExW would: creates the key; the data as given.
void set_registry_value(platform::RegistryRoot root, RegistryView view, const std::wstring& key,
                        const std::wstring& name, std::uint32_t type, const std::vector<std::uint8_t>& data);
// A text value in UTF-16LE with its terminating NUL.
void set_registry_text(platform::RegistryRoot root, RegistryView view, const std::wstring& key,
                       const std::wstring& name, const std::wstring& text,
                       std::uint32_t type = platform::reg_sz);
// Both views at once (a 64-bit and a 32-bit installer writing alike).
void set_registry_text_both_views(platform::RegistryRoot root, const std::wstring& key, const std::wstring& name,
                                  const std::wstring& text);

// Every key open, in order: enumerations and value reads alike, failed or not.
struct RegistryOpen {
  platform::RegistryRoot root = platform::RegistryRoot::current_user;
  std::wstring key;
  unsigned access = 0;  // the extra flags; KEY_READ is always added
};
extern std::vector<RegistryOpen> registry_opens;

// The environment that ExpandEnvironmentStringsW sees; names match without case.
extern std::map<std::wstring, std::wstring> environment_variables;

}  // namespace nv::fake
